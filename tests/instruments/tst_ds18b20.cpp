#include "lib/instruments/ds18b20.h"

#include "lib/communications/debugComponent.h"
#include "tests/support/expire.h"
#include "tests/support/fakeHost.h"
#include "tests/support/launch.h"
#include "tests/support/logSink.h"

#include <QSignalSpy>
#include <QTimer>
#include <QtTest>

namespace {
const char sensorFile[] = "/sys/bus/w1/devices/28-0316a2795eff/w1_slave";
const QString heading = "The following one-wire addresses are available (they may not all be DS18B20s)";

struct fixture {
    fakeHost host;
    logSink sink;
    ds18b20 sensor{nullptr, nullptr, nullptr, host.system()};
    QSignalSpy results{&sensor, &instrument::resultAvailable};

    fixture() { sensor.debug->registerWithClient(&sink); }
    void start(const QByteArray &children = "<device>28-0316a2795eff</device>")
    {
        launch(sensor, "<instrument>" + children + "</instrument>");
    }
    QTimer *timer() { return sensor.findChild<QTimer *>(); }
};
}

class tst_ds18b20 : public QObject
{
    Q_OBJECT
private slots:
    void publishesTheTemperature_data()
    {
        QTest::addColumn<QByteArray>("secondLine");
        QTest::addColumn<double>("celsius");
        QTest::newRow("warm") << QByteArray("50 05 4b 46 7f ff 0c 10 1c t=21437\n") << 21.437;
        QTest::newRow("cold") << QByteArray("ec ff 4b 46 7f ff 0c 10 1c t=-1250") << -1.25;
    }
    void publishesTheTemperature()
    {
        QFETCH(QByteArray, secondLine);
        fixture f;
        f.host.write(sensorFile, "50 05 4b 46 7f ff 0c 10 1c : crc=1c YES\n" + secondLine);
        f.start();
        QCOMPARE(f.results.count(), 1); // at once
        expire(f.timer());
        QCOMPARE(f.results.count(), 2);
        QCOMPARE(f.results[1][0].toString(), QString("ds18b20temperature"));
        QTEST(f.results[1][1].toDouble(), "celsius");
    }

    void logsAReadingThatFails_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QString>("logged");
        QTest::newRow("bad CRC") << QByteArray("ff : crc=1c NO\nff t=21437\n") << "Checksum incorrect";
        QTest::newRow("verdict is case-sensitive") << QByteArray("yes\nt=21437\n") << "Checksum incorrect";
        QTest::newRow("empty") << QByteArray() << "Checksum incorrect";
        QTest::newRow("one line") << QByteArray("crc=1c YES") << "Failed to read any data";
        QTest::newRow("no temperature") << QByteArray("crc=1c YES\nff ff\n") << "Failed to read any data";
        QTest::newRow("no number") << QByteArray("crc=1c YES\nff t=\n") << "Failed to read any data";
        QTest::newRow("infinite") << QByteArray("crc=1c YES\nff t=inf\n") << "Failed to read any data";
    }
    void logsAReadingThatFails()
    {
        QFETCH(QByteArray, content);
        fixture f;
        f.host.write(sensorFile, content);
        f.start();
        QTEST(f.sensor.debug->lastLog(), "logged");
        QCOMPARE(f.results.count(), 0);
        f.host.write(sensorFile, "YES\nt=1000\n");
        expire(f.timer());
        QCOMPARE(f.results.count(), 1);
    }

    void asksForADeviceEveryTick()
    {
        fixture f;
        f.start("<SamplePeriod>700</SamplePeriod>");
        QCOMPARE(f.timer()->interval(), 700);
        expire(f.timer());
        const QString failed = "Failed to read /sys/bus/w1/devices//w1_slave";
        QCOMPARE(f.sink.texts(), (QStringList{heading, failed, failed}));
    }

    void listsTheSensorsOnTheBus()
    {
        fixture f;
        for (const char *device : {"28-1", "28-2", "10-3", "w1_bus_master1"})
            f.host.write(QString("/sys/bus/w1/devices/%1/id").arg(device), "");
        f.host.write("/sys/bus/w1/devices/28-2/w1_slave", "YES\nt=1000\n");
        f.start("<device>28-2</device>");
        QStringList listed = f.sink.texts();
        QCOMPARE(listed.takeFirst(), heading);
        listed.sort();
        QCOMPARE(listed, (QStringList{"28-1", "28-2"}));
    }
};

QTEST_GUILESS_MAIN(tst_ds18b20)
#include "tst_ds18b20.moc"
