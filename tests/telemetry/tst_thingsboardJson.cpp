#include "lib/encoders/thingsboardJson.h"

#include "lib/types/datastore.h"
#include "tests/support/fakeHost.h"

#include <QtTest>

#include <cmath>
#include <limits>
#include <random>

namespace {
struct fixture {
    fakeHost host;
    datastore store{nullptr, host.system()};
    thingsboardJson encoder{host.system()};
};
}

class tst_thingsboardJson : public QObject
{
    Q_OBJECT
private slots:
    void writesEachTypeInItsOwnWay_data()
    {
        QTest::addColumn<QVariant>("value");
        QTest::addColumn<QByteArray>("text"); // null: the key is left out

        QTest::newRow("whole double") << QVariant(21.0) << QByteArray("21");
        QTest::newRow("half") << QVariant(12.5) << QByteArray("12.5");
        QTest::newRow("negative") << QVariant(-0.25) << QByteArray("-0.25");
        QTest::newRow("negative zero") << QVariant(-0.0) << QByteArray("-0");
        QTest::newRow("last before the exponent form") << QVariant(999999.0) << QByteArray("999999");
        QTest::newRow("rounded into the exponent form") << QVariant(999999.5) << QByteArray("1e+06");
        QTest::newRow("large") << QVariant(1234567.0) << QByteArray("1.23457e+06");
        QTest::newRow("smallest without exponent") << QVariant(0.0001) << QByteArray("0.0001");
        QTest::newRow("small") << QVariant(0.000012) << QByteArray("1.2e-05");
        QTest::newRow("three-digit exponent") << QVariant(1.5e-300) << QByteArray("1.5e-300");
        QTest::newRow("a third") << QVariant(1.0 / 3.0) << QByteArray("0.333333");
        QTest::newRow("infinite") << QVariant(-std::numeric_limits<double>::infinity()) << QByteArray("-inf");
        QTest::newRow("float") << QVariant(0.1F) << QByteArray("0.1");
        QTest::newRow("float, large") << QVariant(16777216.0F) << QByteArray("1.67772e+07");
        QTest::newRow("int") << QVariant(std::numeric_limits<int>::min()) << QByteArray("-2147483648");
        QTest::newRow("true") << QVariant(true) << QByteArray("1");
        QTest::newRow("false") << QVariant(false) << QByteArray("0");
        QTest::newRow("text") << QVariant("on") << QByteArray("\"on\"");
        QTest::newRow("empty text") << QVariant("") << QByteArray("\"\"");
        QTest::newRow("text is not escaped") << QVariant("a\"b\\\n") << QByteArray("\"a\"b\\\n\"");
        QTest::newRow("text in Latin-1") << QVariant(QString(QChar(0xB0))) << QByteArray("\"\xB0\"");
        QTest::newRow("unsigned") << QVariant(7U) << QByteArray();
        QTest::newRow("64 bits") << QVariant(qlonglong(7)) << QByteArray();
        QTest::newRow("date") << QVariant(QDateTime::fromMSecsSinceEpoch(0)) << QByteArray();
        QTest::newRow("bytes") << QVariant(QByteArray("x")) << QByteArray();
        QTest::newRow("nothing") << QVariant() << QByteArray();
    }
    void writesEachTypeInItsOwnWay()
    {
        QFETCH(QVariant, value);
        QFETCH(QByteArray, text);
        QCOMPARE(thingsboardJson::convertVariant(value), text);
        QCOMPARE(thingsboardJson::convertVariant(value).isNull(), text.isNull());
    }

    void printsNumbersLikePrintf()
    {
        std::mt19937_64 random(4711); // NOLINT(bugprone-random-generator-seed): the same numbers every time
        for (int i = 0; i < 20000; ++i) {
            const quint64 bits = random();
            double value = 0;
            memcpy(&value, &bits, sizeof value);
            if (i % 2 == 0) // the range that sensors have
                value = std::ldexp(double(bits % 2000000) - 1000000, -int(random() % 24));
            char expected[64];
            snprintf(expected, sizeof expected, "%lg", value);
            QCOMPARE(thingsboardJson::convertVariant(value), QByteArray(expected));
        }
    }

    void buildsTheMessageInTheOrderOfTheKeys()
    {
        fixture f;
        f.store.store(QStringLiteral("cpu"), 12.5);
        f.store.store(QStringLiteral("procMem"), 10344.0);
        f.store.store(QStringLiteral("ticks"), 3U);
        f.store.store(QStringLiteral("networkMessagesRemaining"), 0);
        // The fake clock stands at 2026-01-15 10:30:00 UTC.
        QCOMPARE(f.encoder.buildMessage(
                     &f.store, {"ticks", "procMem", "missing", "CPU", "networkMessagesRemaining", "cpu"}),
            QByteArray("{\"ts\":1768473000000,\"values\":{\"procMem\":10344,\"CPU\":12.5,"
                       "\"networkMessagesRemaining\":0,\"cpu\":12.5}}"));
    }

    void buildsNothingOutOfNothing()
    {
        fixture f;
        f.store.store(QStringLiteral("ticks"), 3U);
        QVERIFY(f.encoder.buildMessage(&f.store, {}).isEmpty());
        QVERIFY(f.encoder.buildMessage(&f.store, {"ticks", "missing"}).isEmpty());
    }
};

QTEST_GUILESS_MAIN(tst_thingsboardJson)
#include "tst_thingsboardJson.moc"
