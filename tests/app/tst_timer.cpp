#include "app/timer.h"

#include "lib/communications/debugComponent.h"
#include "tests/support/expire.h"
#include "tests/support/fakeHost.h"
#include "tests/support/logSink.h"
#include "tests/support/results.h"

#include <QTest>
#include <QTimer>

namespace {
struct fixture {
    fakeHost host;
    timer programme{nullptr, QStringLiteral("heatTimer"), host.path("/heatTimer.xml"), nullptr, host};

    /// Sets the clock; \a local is "2026-01-12T06:30:00", a Monday.
    void at(const char *local)
    {
        host.setUtc(QDateTime::fromString(QString::fromLatin1(local), Qt::ISODate).toUTC());
    }
    QString boost()
    {
        programme.boost();
        return programme.operationText();
    }
};
}

class tst_timer : public QObject
{
    Q_OBJECT
private slots:
    void publishesWhatItsFileSays()
    {
        fixture f;
        f.host.write("/heatTimer.xml",
            "<heatingtimer><Period><!-- a --><StartHour>6</StartHour><!-- b --><STARTMINUTE>5</STARTMINUTE>"
            "</Period><note/><period><title>%1 %n</title><daymask>64</daymask></period>"
            "<period><daymask>257</daymask><starthour>262</starthour><duration>65546</duration></period>"
            "</heatingtimer>");
        logSink log;
        f.programme.debug->registerWithClient(&log);
        f.programme.start();
        QCOMPARE(log.texts().mid(2),
            (QStringList{"No title - On Mo Tu We Th Fr Sa Su From 6:5 for 0 minutes",
                "%1 %n - On Su From 0:0 for 0 minutes",
                "No title - On Mo From 6:0 for 10 minutes"})); // numbers are cut to their width
        results published(f.programme);
        auto *const second = f.programme.findChild<QTimer *>();
        QCOMPARE(second->interval(), 1000);
        for (const char *time : {"2026-01-12T06:10:00", "2026-01-12T06:05:00", "2026-01-13T06:05:00"}) {
            f.at(time);
            expire(second);
        }
        QCOMPARE(published.take(), QString("heatTimerOn=false heatTimerOn=true heatTimerOn=false"));
    }

    void isOnWithinItsMinutes()
    {
        const QList<std::tuple<int, int, const char *, bool>> rows{// days, hour of the start, now
            {127, 6, "2026-01-12T05:59:59", false}, {127, 6, "2026-01-12T06:00:00", true},
            {127, 6, "2026-01-12T07:59:59", true}, {127, 6, "2026-01-12T08:00:00", false},
            {127, 23, "2026-01-13T00:30:00", false}, // cut off at midnight
            {63, 6, "2026-01-18T07:00:00", false}, {64, 6, "2026-01-18T07:00:00", true},
            {127, 255, "2026-01-12T07:00:00", false}};
        for (const auto &[days, hour, now, on] : rows) {
            timePeriod period;
            period.day = quint8(days);
            period.startHour = quint8(hour);
            period.duration = 120;
            QVERIFY2(period.isOn(QDateTime::fromString(now, Qt::ISODate)) == on, now);
            QVERIFY(hour != 23 || period.offTime() == "13:00pm");
        }
    }

    void boostGrowsByAnHourAndTheFourthPressCancels()
    {
        fixture f;
        f.at("2026-01-12T10:30:00");
        QCOMPARE(f.boost(), QString("Boost until 11:30am"));
        QCOMPARE(f.boost(), QString("Boost until 12:30am"));
        f.at("2026-01-12T12:29:59");
        QVERIFY(f.programme.isOn());
        QCOMPARE(f.boost(), QString("Boost until  3:29pm"));
        QCOMPARE(f.boost(), QString("Off"));
        QVERIFY(!f.programme.isOn());
        QCOMPARE(f.boost(), QString("Boost until  1:29pm"));
        f.at("2026-01-12T13:29:00");
        QCOMPARE(f.programme.operationText(), QString("Off"));
        QCOMPARE(f.boost(), QString("Boost until  3:29pm")); // Kept: the old hour still counts ...
        f.at("2026-01-12T15:29:00");
        QVERIFY(!f.programme.isOn());
        QCOMPARE(f.boost(), QString("Boost until  4:29pm")); // ... until somebody asks whether it is on
    }
};

QTEST_GUILESS_MAIN(tst_timer)
#include "tst_timer.moc"
