#include "app/timePeriod.h"

#include <QtTest>

class tst_timePeriod : public QObject
{
    Q_OBJECT
private slots:
    void describesWhatItRead_data()
    {
        QTest::addColumn<QByteArray>("xml");
        QTest::addColumn<QString>("description");
        QTest::newRow("tags in any case, comments between")
            << QByteArray("<Period><!-- a --><StartHour>6</StartHour><!-- b "
                          "--><STARTMINUTE>5</STARTMINUTE></Period>")
            << "No title - On Mo Tu We Th Fr Sa Su From 6:5 for 0 minutes";
        QTest::newRow("numbers are cut to their width") << QByteArray(
            "<period><daymask>257</daymask><starthour>262</starthour><duration>65546</duration></period>")
                                                        << "No title - On Mo From 6:0 for 10 minutes";
        QTest::newRow("title that looks like a place holder")
            << QByteArray("<period><title>%1 %n</title><daymask>64</daymask></period>")
            << "%1 %n - On Su From 0:0 for 0 minutes";
    }
    void describesWhatItRead()
    {
        QFETCH(QByteArray, xml);
        QDomDocument document;
        QVERIFY(document.setContent(xml));
        timePeriod period;
        period.readXML(document.documentElement());
        QTEST(period.description(), "description");
    }

    void isOnWithinItsMinutes_data()
    {
        QTest::addColumn<int>("mask");
        QTest::addColumn<int>("hour");     // for two hours
        QTest::addColumn<QString>("when"); // 2026-01-12 is a Monday
        QTest::addColumn<bool>("on");
        QTest::newRow("second before") << 127 << 6 << "2026-01-12T05:59:59" << false;
        QTest::newRow("first second") << 127 << 6 << "2026-01-12T06:00:00" << true;
        QTest::newRow("end") << 127 << 6 << "2026-01-12T08:00:00" << false;
        QTest::newRow("cut off at midnight") << 127 << 23 << "2026-01-13T00:30:00" << false;
        QTest::newRow("other day") << 63 << 6 << "2026-01-18T07:00:00" << false;
        QTest::newRow("Sunday") << 64 << 6 << "2026-01-18T07:00:00" << true;
        QTest::newRow("hour out of range") << 127 << 255 << "2026-01-12T07:00:00" << false;
    }
    void isOnWithinItsMinutes()
    {
        QFETCH(int, mask);
        QFETCH(int, hour);
        QFETCH(QString, when);
        timePeriod period;
        period.day = quint8(mask);
        period.startHour = quint8(hour);
        period.duration = 120;
        QTEST(period.isOn(QDateTime::fromString(when, Qt::ISODate)), "on");
    }

    void endsAtThirteenWhenPastMidnight()
    {
        timePeriod period;
        period.startHour = 23;
        period.duration = 120;
        QCOMPARE(period.offTime(), QStringLiteral("13:00pm"));
    }
};

QTEST_GUILESS_MAIN(tst_timePeriod)
#include "tst_timePeriod.moc"
