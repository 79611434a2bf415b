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
};
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

    void publishesItsProgrammeEverySecond()
    {
        fixture f(weekdayMorning);
        f.programme.start();
        QCOMPARE(f.sink.texts().mid(1),
            (QStringList{"Timer started with following periods defined:",
                "Morning - On Mo Tu We Th Fr From 6:30 for 90 minutes",
                "Late - On Mo Tu We Th Fr Sa Su From 11:0 for 60 minutes"}));
        auto *const second = f.programme.findChild<QTimer *>();
        QCOMPARE(second->interval(), 1000);
        f.at("2026-01-12T06:29:59");
        expire(second);
        f.at("2026-07-13T06:30:00"); // local time, summer
        expire(second);
        QCOMPARE(f.results.count(), 2);
        QCOMPARE(f.results[0], (QVariantList{"heatTimerOn", false}));
        QCOMPARE(f.results[1], (QVariantList{"heatTimerOn", true}));
    }

    void boostGrowsByAnHourAndTheFourthPressCancels()
    {
        fixture f;
        f.at("2026-01-12T10:30:00");
        f.programme.boost();
        QCOMPARE(f.programme.operationText(), QStringLiteral("Boost until 11:30am"));
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
};

QTEST_GUILESS_MAIN(tst_timer)
#include "tst_timer.moc"
