#include "lib/parsers/nativeTransferParser.h"

#include "tests/support/fakeInterface.h"

#include <QtTest>

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
        line.open(QIODevice::ReadWrite);
    }
    void receive(const blocks &reads)
    {
        for (const QByteArray &read : reads)
            line.receive(read);
    }
};
}

class tst_nativeTransferParser : public QObject
{
    Q_OBJECT
private slots:
    void cutsWholeMessages_data()
    {
        QTest::addColumn<blocks>("reads");
        QTest::addColumn<blocks>("messages");
        const QByteArray m25 = message(25, 'a');
        const QByteArray m40 = message(40, 'b');
        QTest::newRow("two in one read") << blocks{m25 + m40} << blocks{m25, m40};
        QTest::newRow("noise before") << blocks{"\x01\x02\x03" + m25} << blocks{m25};
        QTest::newRow("shortest") << blocks{message(6) + m25} << blocks{message(6), m25};
        QTest::newRow("length below the header") << blocks{message(5) + m25} << blocks{m25};
        QTest::newRow("negative length") << blocks{message(-1) + m25} << blocks{m25};
        QTest::newRow("first start byte twice") << blocks{"\xAB" + m25} << blocks{m25};
        QTest::newRow("start split after noise is lost")
            << blocks{"noise\xAB", m25.mid(1), m40} << blocks{m40};
        QTest::newRow("start split with fewer than 6 bytes") << blocks{"nois\xAB", m25.mid(1)} << blocks{m25};
        QTest::newRow("header incomplete after noise")
            << blocks{"noise" + m25.left(4), m25.mid(4)} << blocks{m25};
        QTest::newRow("long, in one read") << blocks{message(2000) + m25} << blocks{message(2000), m25};
        QTest::newRow("long, in two reads loses its start")
            << blocks{message(2000).left(1000), message(2000).mid(1000), m25} << blocks{m25};
    }
    void cutsWholeMessages()
    {
        QFETCH(blocks, reads);
        fixture f;
        f.receive(reads);
        QTEST(f.messages, "messages");
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
                f.receive({stream.mid(at, size)});
            QVERIFY2(f.messages == expected, qPrintable(QString("pieces of %1 bytes").arg(size)));
        }
    }
};

QTEST_GUILESS_MAIN(tst_nativeTransferParser)
#include "tst_nativeTransferParser.moc"
