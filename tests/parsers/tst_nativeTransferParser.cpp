#include "lib/parsers/nativeTransferParser.h"

#include "tests/support/fakeInterface.h"

#include <QTest>

namespace {
using blocks = QList<QByteArray>;

/// A message of \a length bytes; the content does not matter to the parser.
QByteArray message(int length, char fill = 'x')
{
    const auto size = qint32(length);
    return QByteArray("\xAB\xCD") + QByteArray(reinterpret_cast<const char *>(&size), sizeof size)
        + QByteArray(qMax(0, length - 6), fill);
}

struct fixture {
    fakeInterface line{"line"};
    nativeTransferParser parser{&line, nullptr};
    blocks messages;

    fixture()
    {
        QObject::connect(
            &parser, &parser::dataOut, &parser, [this](const QByteArray &data) { messages.append(data); });
        line.receive("before the connection");
        line.open(QIODevice::ReadWrite);
    }
};
}

class tst_nativeTransferParser : public QObject
{
    Q_OBJECT
private slots:
    void cutsWholeMessages()
    {
        const QByteArray m25 = message(25, 'a');
        const QByteArray m40 = message(40, 'b');
        const QByteArray m2000 = message(2000);
        const QList<QPair<blocks, blocks>> rows{// what is read, and the messages in it
            {{m25 + m40}, {m25, m40}}, {{"\x01\x02\x03" + m25}, {m25}},
            {{message(6) + m25}, {message(6), m25}}, // the shortest
            {{message(5) + m25}, {m25}}, {{message(-1) + m25}, {m25}}, {{"\xAB" + m25}, {m25}},
            {{"noise\xAB", m25.mid(1), m40}, {m40}}, // a start that is split after noise is lost ...
            {{"nois\xAB", m25.mid(1)}, {m25}},       // ... except with fewer than six bytes
            {{"noise" + m25.left(4), m25.mid(4)}, {m25}}, {{m2000 + m25}, {m2000, m25}},
            {{m2000.left(1000), m2000.mid(1000), m25}, {m25}}}; // longer than the buffer
        for (const auto &[reads, messages] : rows) {
            fixture f;
            for (const QByteArray &read : reads)
                f.line.receive(read);
            QVERIFY2(f.messages == messages, reads.join(' ').left(100).toHex(' '));
        }
    }

    void takesAnyMessagesInAnyPieces()
    {
        QByteArray stream;
        blocks expected;
        for (int length = 6; length < 200; length += 7) {
            expected.append(message(length, char(length)));
            stream += expected.last();
        }
        for (int size = 1; size <= 300; ++size) {
            fixture f;
            for (int at = 0; at < stream.size(); at += size)
                f.line.receive(stream.mid(at, size));
            QVERIFY2(f.messages == expected, qPrintable(QString("pieces of %1 bytes").arg(size)));
        }
    }
};

QTEST_GUILESS_MAIN(tst_nativeTransferParser)
#include "tst_nativeTransferParser.moc"
