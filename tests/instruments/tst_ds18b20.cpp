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
    void start(const QByteArray &device)
    {
        launch(sensor, "<instrument><device>" + device + "</device></instrument>");
    }
};
}

class tst_ds18b20 : public QObject
{
    Q_OBJECT
private slots:
    void logsAReadingThatFails_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QString>("logged");
        QTest::newRow("bad CRC") << QByteArray("ff : crc=1c NO\nff t=21437\n") << "Checksum incorrect";
        QTest::newRow("one line") << QByteArray("crc=1c YES") << "Failed to read any data";
        QTest::newRow("infinite") << QByteArray("crc=1c YES\nff t=inf\n") << "Failed to read any data";
    }
    void logsAReadingThatFails()
    {
        QFETCH(QByteArray, content);
        fixture f;
        f.host.write(sensorFile, content);
        f.start("28-0316a2795eff");
        QTEST(f.sensor.debug->lastLog(), "logged");
        QCOMPARE(f.results.count(), 0);
        f.host.write(sensorFile, "YES\nt=-1250\n");
        expire(f.sensor.findChild<QTimer *>());
        QCOMPARE(f.results.value(0), (QVariantList{"ds18b20temperature", -1.25}));
    }

    void listsTheSensorsOnTheBus()
    {
        fixture f;
        for (const char *device : {"28-1", "28-2", "10-3", "w1_bus_master1"})
            f.host.write(QString("/sys/bus/w1/devices/%1/id").arg(device), "");
        f.host.write("/sys/bus/w1/devices/28-2/w1_slave", "YES\nt=1000\n");
        f.start("28-2");
        QCOMPARE(f.results.value(0), (QVariantList{"ds18b20temperature", 1.0})); // at once
        QStringList listed = f.sink.texts();
        QCOMPARE(listed.takeFirst(), heading);
        listed.sort();
        QCOMPARE(listed, (QStringList{"28-1", "28-2"}));
    }
};

QTEST_GUILESS_MAIN(tst_ds18b20)
#include "tst_ds18b20.moc"
