#include "lib/instruments/ds18b20.h"

#include "tests/support/testedDevice.h"

#include <QTest>

class tst_ds18b20 : public QObject
{
    Q_OBJECT
private slots:
    void publishesAReadingOrSaysWhyThereIsNone()
    {
        const QString file = "/sys/bus/w1/devices/28-2/w1_slave";
        testedDevice<ds18b20> f;
        for (const char *device : {"28-1", "10-3", "w1_bus_master1"})
            f.host.write(QString("/sys/bus/w1/devices/%1/id").arg(device), "");
        f.host.write(file, "YES\nt=1000\n");
        f.start("<device>28-2</device>");
        QCOMPARE(f.published.take(), QString("ds18b20temperature=1")); // at once
        const QStringList listed = f.log.texts().mid(1);
        QVERIFY(listed.size() == 2 && listed.contains("28-1") && listed.contains("28-2"));

        const QList<QPair<QByteArray, QString>> failures{
            {"ff : crc=1c NO\nff t=21437\n", "Checksum incorrect"}, {"crc=1c YES", "Failed to read any data"},
            {"crc=1c YES\nff t=inf\n", "Failed to read any data"}};
        for (const auto &[content, logged] : failures) {
            f.host.write(file, content);
            QCOMPARE(f.sample(), QString());
            QCOMPARE(f.device.debug->lastLog(), logged);
        }
        f.host.write(file, "YES\nt=-1250\n");
        QCOMPARE(f.sample(), QString("ds18b20temperature=-1.25"));
    }
};

QTEST_GUILESS_MAIN(tst_ds18b20)
#include "tst_ds18b20.moc"
