#include "lib/parsers/nativeTransferParser.h"

#include "lib/types/datastoreElementType.h"
#include "tests/support/fakeInterface.h"

#include <QTest>
#include <QtEndian>

#include <random>

namespace {
using blocks = QList<QByteArray>;

/// A message of \a length bytes; the content does not matter to the parser.
QByteArray message(int length, char fill = 'x')
{
    const auto size = qint32(length);
    return QByteArray("\xAB\xCD") + QByteArray(reinterpret_cast<const char *>(&size), sizeof size)
        + QByteArray(qMax(0, length - 6), fill);
}

/// Elements with up to five bytes of noise between them, among them starts of nothing.
QByteArray recorded(int elements)
{
    std::mt19937 random(1); // the same stream every time
    const QByteArray noise("\xAB\xCD\x07\0\0\0x\xCD\xAB", 9);
    QByteArray stream;
    for (int i = 0; i < elements; ++i) {
        stream += noise.mid(int(random() % 9), int(random() % 6));
        stream += datastoreElementType(QStringLiteral("key%1").arg(random() % 1000), double(random()))
                      .serialise();
    }
    return stream;
}

/// What must come of it, said plainly: after every read the bytes at hand are searched from their front.
blocks byTheRules(const QByteArray &stream, int readSize)
{
    blocks messages;
    QByteArray bytes;
    for (int at = 0; at < stream.size(); at += readSize) {
        bytes = (bytes + stream.mid(at, readSize)).right(1024);
        while (bytes.size() >= 6) {
            const int start = bytes.indexOf("\xAB\xCD");
            bytes.remove(0, start < 0 ? bytes.size() : start);
            if (bytes.size() < 6)
                break;
            const int length = qFromLittleEndian<qint32>(bytes.constData() + 2);
            if (length > bytes.size())
                break;
            if (length >= 6)
                messages.append(bytes.left(length));
            bytes.remove(0, length < 6 ? 2 : length);
        }
    }
    return messages;
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

    void takesARecordedStreamInAnyPieces()
    {
        const QByteArray stream = recorded(3000);
        for (int size = 1; size <= 64; ++size) {
            fixture f;
            for (int at = 0; at < stream.size(); at += size)
                f.line.receive(stream.mid(at, size));
            QVERIFY2(f.messages == byTheRules(stream, size), qPrintable(QString("pieces of %1").arg(size)));
            QVERIFY(f.messages.size() > 1500);
        }
    }
};

QTEST_GUILESS_MAIN(tst_nativeTransferParser)
#include "tst_nativeTransferParser.moc"
