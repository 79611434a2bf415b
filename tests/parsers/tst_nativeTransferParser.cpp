#include "lib/parsers/nativeTransferParser.h"

#include "tests/support/fakeInterface.h"

#include <QtTest>

#include <cstring>
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

/// The framing as it is meant: whole messages are taken off the front, one after the other.
struct model {
    QByteArray held;
    blocks messages;

    void receive(const QByteArray &read)
    {
        held = held.right(qMax(0, 1024 - read.size())) + read;
        while (held.size() >= 6) {
            const int start = held.indexOf("\xAB\xCD");
            held = start < 0 ? QByteArray() : held.mid(start);
            if (held.size() < 6)
                return;
            qint32 length = 0;
            std::memcpy(&length, held.constData() + 2, sizeof length);
            if (length >= 6 && length > held.size())
                return;
            if (length >= 6)
                messages.append(held.left(length));
            held = held.mid(length >= 6 ? length : 2);
        }
    }
};

/// Messages, noise, false starts and lengths that never end or never were.
QByteArray noisyStream(std::mt19937 &random)
{
    const auto upTo = [&random](int most) { return int(random() % unsigned(most + 1)); };
    QByteArray stream;
    for (int i = 0; i < 150; ++i) {
        switch (upTo(9)) {
        case 0:
            stream += message(upTo(8) - 2);
            break;
        case 1:
            stream += QByteArray("\xAB\xCD").left(upTo(2));
            break;
        case 2:
            stream += message(600 + upTo(900)).left(6);
            break;
        case 3:
            for (int n = upTo(20); n > 0; --n)
                stream += char(random());
            break;
        default:
            stream += message(6 + upTo(60), char(random()));
        }
    }
    return stream;
}
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
        QTest::newRow("in two reads") << blocks{m25.left(10), m25.mid(10)} << blocks{m25};
        QTest::newRow("header in two reads") << blocks{m25.left(5), m25.mid(5)} << blocks{m25};
        QTest::newRow("shortest") << blocks{message(6) + m25} << blocks{message(6), m25};
        QTest::newRow("length 0") << blocks{message(0) + m25} << blocks{m25};
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

    void readsNothingTwiceAfterAReconnection()
    {
        fixture f;
        f.line.open(QIODevice::ReadWrite);
        f.receive({message(30)});
        QCOMPARE(f.messages, blocks{message(30)});
    }

    void survivesAnyStreamInAnyPieces()
    {
        for (int size = 1; size <= 64; ++size) {
            std::mt19937 random{unsigned(size)};
            const QByteArray stream = noisyStream(random);
            fixture f;
            model expected;
            for (int at = 0; at < stream.size(); at += size) {
                f.receive({stream.mid(at, size)});
                expected.receive(stream.mid(at, size));
            }
            QVERIFY(expected.messages.size() > 10);
            QVERIFY2(f.messages == expected.messages, qPrintable(QString("pieces of %1 bytes").arg(size)));
        }
    }

    void parseBufferSaysWhetherItCut()
    {
        struct open : nativeTransferParser {
            using nativeTransferParser::buffer;
            using nativeTransferParser::nativeTransferParser;
        };
        fakeInterface line("line");
        open p(&line, nullptr);
        p.buffer = "no" + message(8) + message(9);
        int status = -1;
        QCOMPARE(p.parseBuffer(&status), message(8));
        QCOMPARE(status, 0);
        QCOMPARE(p.parseBuffer(&status), message(9));
        p.buffer = "no start here\xAB";
        QVERIFY(p.parseBuffer(&status).isEmpty());
        QCOMPARE(status, 3);
        QVERIFY(p.buffer.isEmpty());
    }
};

QTEST_GUILESS_MAIN(tst_nativeTransferParser)
#include "tst_nativeTransferParser.moc"
