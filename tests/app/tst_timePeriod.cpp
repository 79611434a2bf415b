#include "app/timePeriod.h"

#include <QtTest>

namespace {
timePeriod fromXml(const char *text)
{
    QDomDocument document;
    if (!document.setContent(QByteArray(text)))
        qFatal("bad XML in the test");
    timePeriod period;
    period.readXML(document.documentElement());
    return period;
}

timePeriod starting(int hour, int minute, int duration)
{
    timePeriod period;
    period.startHour = quint8(hour);
    period.startMinute = quint8(minute);
    period.duration = quint16(duration);
    return period;
}
}

class tst_timePeriod : public QObject
{
    Q_OBJECT
private slots:
    void describesWhatItRead_data()
    {
        QTest::addColumn<QByteArray>("xml");
        QTest::addColumn<QString>("description");
        const auto row = [](const char *name, const char *xml, const char *description) {
            QTest::newRow(name) << QByteArray(xml) << QString::fromUtf8(description);
        };
        row("whole",
            "<period><title>Morning</title><daymask>31</daymask><starthour>6</starthour>"
            "<startminute>30</startminute><duration>90</duration></period>",
            "Morning - On Mo Tu We Th Fr From 6:30 for 90 minutes");
        row("nothing given", "<period/>", "No title - On Mo Tu We Th Fr Sa Su From 0:0 for 0 minutes");
        row("tags in any case, comments between",
            "<Period><!-- a --><StartHour>6</StartHour><!-- b --><STARTMINUTE>5</STARTMINUTE></Period>",
            "No title - On Mo Tu We Th Fr Sa Su From 6:5 for 0 minutes");
        row("no days", "<period><daymask>0</daymask></period>", "No title - On From 0:0 for 0 minutes");
        row("numbers are cut to their width",
            "<period><daymask>257</daymask><starthour>262</starthour><duration>65546</duration></period>",
            "No title - On Mo From 6:0 for 10 minutes");
        row("bad numbers are 0",
            "<period><daymask>x</daymask><starthour>0x6</starthour><duration>9 h</duration></period>",
            "No title - On From 0:0 for 0 minutes");
        row("title that looks like a place holder",
            "<period><title>%1 %n</title><daymask>64</daymask></period>",
            "%1 %n - On Su From 0:0 for 0 minutes");
    }
    void describesWhatItRead()
    {
        QFETCH(QByteArray, xml);
        QTEST(fromXml(xml).description(), "description");
    }

    void isOnWithinItsMinutes_data()
    {
        QTest::addColumn<int>("mask");
        QTest::addColumn<int>("hour");
        QTest::addColumn<int>("minute");
        QTest::addColumn<int>("duration");
        QTest::addColumn<QString>("when"); // 2026-01-12 is a Monday
        QTest::addColumn<bool>("on");
        QTest::newRow("first second") << 127 << 6 << 30 << 90 << "2026-01-12T06:30:00" << true;
        QTest::newRow("second before") << 127 << 6 << 30 << 90 << "2026-01-12T06:29:59" << false;
        QTest::newRow("last second") << 127 << 6 << 30 << 90 << "2026-01-12T07:59:59" << true;
        QTest::newRow("end") << 127 << 6 << 30 << 90 << "2026-01-12T08:00:00" << false;
        QTest::newRow("before midnight") << 127 << 23 << 0 << 120 << "2026-01-12T23:59:59" << true;
        QTest::newRow("cut off at midnight") << 127 << 23 << 0 << 120 << "2026-01-13T00:30:00" << false;
        QTest::newRow("other day") << int(timePeriod::Tuesday) << 6 << 30 << 90 << "2026-01-12T07:00:00"
                                   << false;
        QTest::newRow("Sunday") << int(timePeriod::Sunday) << 6 << 30 << 90 << "2026-01-18T07:00:00" << true;
        QTest::newRow("hour out of range") << 127 << 255 << 0 << 65535 << "2026-01-12T07:00:00" << false;
    }
    void isOnWithinItsMinutes()
    {
        QFETCH(int, mask);
        QFETCH(int, hour);
        QFETCH(int, minute);
        QFETCH(int, duration);
        QFETCH(QString, when);
        timePeriod period = starting(hour, minute, duration);
        period.day = quint8(mask);
        QTEST(period.isOn(QDateTime::fromString(when, Qt::ISODate)), "on");
    }

    void showsItsEnd_data()
    {
        QTest::addColumn<int>("hour");
        QTest::addColumn<int>("minute");
        QTest::addColumn<int>("duration");
        QTest::addColumn<QString>("end");
        QTest::newRow("morning") << 6 << 0 << 90 << " 7:30am";
        QTest::newRow("noon stays am") << 11 << 0 << 75 << "12:15am";
        QTest::newRow("one o'clock") << 12 << 0 << 60 << " 1:00pm";
        QTest::newRow("end of the day") << 23 << 30 << 60 << "12:30pm";
        QTest::newRow("past midnight") << 23 << 0 << 120 << "13:00pm";
    }
    void showsItsEnd()
    {
        QFETCH(int, hour);
        QFETCH(int, minute);
        QFETCH(int, duration);
        QTEST(starting(hour, minute, duration).offTime(), "end");
    }
};

QTEST_GUILESS_MAIN(tst_timePeriod)
#include "tst_timePeriod.moc"
