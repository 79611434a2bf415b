#include "app/timer.h"

#include "lib/communications/debugComponent.h"
#include "tests/support/expire.h"
#include "tests/support/fakeHost.h"
#include "tests/support/logSink.h"

#include <QtTest>

#include <ctime>

namespace {
const char ctlFile[] = "/etc/heatTimer.xml";

const char weekdayMorning[] = "<heatingtimer><period><title>Morning</title><daymask>31</daymask>"
                              "<starthour>6</starthour><startminute>30</startminute><duration>90</duration>"
                              "</period><note/><Period><title>Late</title><starthour>11</starthour>"
                              "<duration>60</duration></Period></heatingtimer>";

struct fixture {
    fakeHost host;
    logSink sink;
    timer programme{nullptr, QStringLiteral("heatTimer"), host.path(ctlFile), nullptr, host.system()};
    QSignalSpy results{&programme, &instrument::resultAvailable};

    explicit fixture(const QByteArray &xml = {})
    {
        programme.debug->registerWithClient(&sink);
        if (!xml.isEmpty())
            host.write(ctlFile, xml);
    }
    /// Sets the clock; \a local is "2026-01-12T06:30:00", a Monday in winter.
    void at(const char *local)
    {
        host.setUtc(QDateTime::fromString(QString::fromLatin1(local), Qt::ISODate).toUTC());
    }
    QString loading() const { return QStringLiteral("Loading control file %1...").arg(host.path(ctlFile)); }
};

const QString &started()
{
    static const QString text = QStringLiteral("Timer started with following periods defined:");
    return text;
}
}

class tst_timer : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase()
    {
        qputenv("TZ", "Europe/London");
        tzset();
    }

    void listsItsProgrammeAndPublishesEverySecond()
    {
        fixture f(weekdayMorning);
        f.programme.start();
        QCOMPARE(f.sink.texts(),
            (QStringList{f.loading(), started(), "Morning - On Mo Tu We Th Fr From 6:30 for 90 minutes",
                "Late - On Mo Tu We Th Fr Sa Su From 11:0 for 60 minutes"}));
        QCOMPARE(f.programme.debug->name(), QStringLiteral("Time Period Control (heatTimer)"));
        auto *const second = f.programme.findChild<QTimer *>();
        QCOMPARE(second->interval(), 1000);

        f.at("2026-01-12T06:29:59");
        expire(second);
        f.at("2026-01-12T06:30:00");
        expire(second);
        QCOMPARE(f.results.count(), 2);
        QCOMPARE(f.results[0], (QVariantList{"heatTimerOn", false}));
        QCOMPARE(f.results[1], (QVariantList{"heatTimerOn", true}));
    }

    void startsWithoutAUsableFile_data()
    {
        QTest::addColumn<QByteArray>("xml");
        QTest::addColumn<QString>("complaint");
        QTest::newRow("missing") << QByteArray() << "Could not open file.";
        QTest::newRow("wrong root") << QByteArray("<timer/>") << "This is not a heating timer control file.";
        QTest::newRow("error on line 2") << QByteArray("<heatingtimer>\n<period></heatingtimer>")
                                         << "Parse error at line 2, column 23: tag mismatch";
        QTest::newRow("root in capitals") << QByteArray("<HeatingTimer/>") << QString();
    }
    void startsWithoutAUsableFile()
    {
        QFETCH(QByteArray, xml);
        QFETCH(QString, complaint);
        fixture f(xml);
        f.programme.start();
        QStringList expected{f.loading(), complaint, started()};
        expected.removeAll(QString());
        QCOMPARE(f.sink.texts(), expected);
        expire(f.programme.findChild<QTimer *>());
        QCOMPARE(f.results.value(0), (QVariantList{"heatTimerOn", false}));
        f.programme.boost();
        QVERIFY(f.programme.isOn());
    }

    void boostGrowsByAnHourAndTheFourthPressCancels()
    {
        fixture f;
        f.at("2026-01-12T10:00:00");
        f.programme.boost();
        QCOMPARE(f.programme.operationText(), QStringLiteral("Boost until 11:00am"));
        f.at("2026-01-12T10:30:00");
        f.programme.boost();
        QCOMPARE(f.programme.operationText(), QStringLiteral("Boost until 12:30am"));
        f.at("2026-01-12T12:29:59");
        QVERIFY(f.programme.isOn());
        f.programme.boost();
        QCOMPARE(f.programme.operationText(), QStringLiteral("Boost until  3:29pm"));
        f.programme.boost();
        QCOMPARE(f.programme.operationText(), QStringLiteral("Off"));
        QVERIFY(!f.programme.isOn());
    }

    void saysWhatIsOn()
    {
        fixture f(weekdayMorning);
        f.programme.start();
        f.at("2026-01-12T08:00:00");
        f.programme.advance(); // does nothing
        QCOMPARE(f.programme.operationText(), QStringLiteral("Off"));
        f.at("2026-01-17T11:15:00"); // Saturday
        QCOMPARE(f.programme.operationText(), QStringLiteral("Standard timing until 12:00am"));
        f.programme.boost();
        QCOMPARE(f.programme.operationText(), QStringLiteral("Boost until 12:15am"));
    }

    void onlyIsOnClearsAnExpiredBoost()
    {
        fixture f;
        f.at("2026-01-12T10:00:00");
        f.programme.boost();
        f.at("2026-01-12T11:00:00");
        QCOMPARE(f.programme.operationText(), QStringLiteral("Off"));
        f.programme.boost(); // the old hour still counts
        QCOMPARE(f.programme.operationText(), QStringLiteral("Boost until  1:00pm"));
        f.at("2026-01-12T13:00:00");
        QVERIFY(!f.programme.isOn());
        f.programme.boost();
        QCOMPARE(f.programme.operationText(), QStringLiteral("Boost until  2:00pm"));
    }

    void boostEndsAtMidnight()
    {
        fixture f;
        f.at("2026-01-12T23:30:00");
        f.programme.boost();
        QCOMPARE(f.programme.operationText(), QStringLiteral("Boost until 12:30pm"));
        f.at("2026-01-12T23:59:59");
        QVERIFY(f.programme.isOn());
        f.at("2026-01-13T00:00:00");
        QVERIFY(!f.programme.isOn());
    }

    void followsLocalTime_data()
    {
        QTest::addColumn<QString>("utc");
        QTest::addColumn<bool>("on"); // the period is 06:30 to 08:00 on weekdays
        QTest::newRow("winter") << "2026-03-27T06:30:00Z" << true;
        QTest::newRow("winter, before") << "2026-03-27T05:30:00Z" << false;
        QTest::newRow("summer") << "2026-03-30T05:30:00Z" << true;
        QTest::newRow("summer, over") << "2026-03-30T07:00:00Z" << false;
    }
    void followsLocalTime()
    {
        QFETCH(QString, utc);
        fixture f(weekdayMorning);
        f.programme.start();
        f.host.setUtc(QDateTime::fromString(utc, Qt::ISODate));
        QTEST(f.programme.isOn(), "on");
    }
};

QTEST_GUILESS_MAIN(tst_timer)
#include "tst_timer.moc"
