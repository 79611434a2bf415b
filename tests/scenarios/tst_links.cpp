#include "lib/communications/debugComponent.h"
#include "lib/instruments/nativeTransferInstrument.h"
#include "lib/interfaces/serialInterface.h"
#include "lib/interfaces/tcpInterface.h"
#include "lib/types/datastore.h"
#include "tests/support/launch.h"
#include "tests/support/scenario.h"

#include <QFile>
#include <QTest>

namespace {
/// A link's near end, as the controller would use it. The far end is the simulator's, a process of its own.
struct link {
    scenario run;
    datastore store;
    QByteArray name;
    std::unique_ptr<interface> line;
    QList<interface *> lines;
    std::unique_ptr<nativeTransferInstrument> device;

    explicit link(const QByteArray &name)
        : name(name)
    {
    }
    bool prepare()
    {
        const QByteArray port = QByteArray::number(scenario::freePort());
        const QString path = run.path(QStringLiteral("line"));
        if (!run.startDevices({"--tcp-peer", port, "--pty", path}))
            return false;
        run.tell("fix outsideTemperature 12.5");
        run.tell("thermostat room on");
        run.tell("link " + name + " every 100");
        if (name == "tcp")
            line = std::make_unique<tcpInterface>();
        else
            line = std::make_unique<serialInterface>();
        line->configure(xml("<interface><name>far</name><device>" + QFile::encodeName(path)
            + "</device><mode>client</mode><ip>127.0.0.1</ip><port>" + port + "</port></interface>"));
        lines = {line.get()};
        device = std::make_unique<nativeTransferInstrument>(&store, &lines, nullptr);
        device->configure(
            xml("<instrument><interface>far</interface><dataprepend>p</dataprepend></instrument>"));
        return true;
    }
    /// Opens it as an instrument does.
    bool open() { return line->open(QIODevice::ReadWrite); }
    QVariant value(const char *key) const { return store.query(QString::fromLatin1(name + key)); }
    /// More than \a rounds rounds arrive, with the house's values.
    bool brings(int rounds)
    {
        const int before = value("Count").toInt();
        return scenario::waitFor([&] { return value("Count").toInt() > before + rounds; })
            && value("OutsideTemperature") == QVariant(12.5) && value("RoomCalls") == QVariant(true);
    }
};
}

/// Elements from other controllers over both kinds of link, whatever happens to them on the way.
class tst_links : public QObject
{
    Q_OBJECT
private slots:
    void carriesTheValues_data()
    {
        QTest::addColumn<QByteArray>("name");
        QTest::addColumn<QByteArray>("condition");
        for (const char *name : {"serial", "tcp"}) {
            for (const char *condition : {"good", "noise", "split", "cut"})
                QTest::addRow("%s %s", name, condition) << QByteArray(name) << QByteArray(condition);
        }
    }
    void carriesTheValues()
    {
        QFETCH(QByteArray, name);
        QFETCH(QByteArray, condition);
        link far(name);
        QVERIFY(far.prepare());
        far.run.tell("link " + name + ' ' + condition);
        far.device->start();
        QVERIFY(far.brings(5));
        // Nothing but what was sent, each key whole and without the prefix.
        QStringList keys = far.store.getKeys();
        keys.sort();
        const QString prefix = QString::fromLatin1(name);
        QCOMPARE(keys,
            (QStringList{prefix + "Count", prefix + "OutsideTemperature", prefix + "RoomCalls",
                prefix + "RoomTemperature", prefix + "TankTemperature"}));
        far.run.tell("link " + name + " good");
        QVERIFY(far.brings(3));
    }

    void staysIdleWithoutALine()
    {
        datastore store;
        QList<interface *> none;
        nativeTransferInstrument device(&store, &none, nullptr);
        launch(device, "<instrument><interface>far</interface></instrument>");
        QCOMPARE(device.debug->lastLog(), QString("Interface not defined for instrument"));
    }

    void comesBackAfterBeingUnplugged_data()
    {
        QTest::addColumn<QByteArray>("name");
        QTest::newRow("serial") << QByteArray("serial");
        QTest::newRow("tcp") << QByteArray("tcp");
    }
    void comesBackAfterBeingUnplugged()
    {
        QFETCH(QByteArray, name);
        link far(name);
        QVERIFY(far.prepare());
        far.run.tell("link " + name + " absent");
        far.device->start();
        QVERIFY(!far.open() && !far.line->isOpen()); // absent from the start
        far.run.tell("link " + name + " good");
        QVERIFY(far.open() && far.brings(3));

        far.run.tell("link " + name + " absent");
        if (name == "tcp") {
            QVERIFY(scenario::waitFor([&] { return !far.line->isOpen(); }));
            QVERIFY(!far.open());
        } else {
            // Nobody notices that a serial line is gone; it has to be closed before it can be opened again.
            QVERIFY(far.open());
            far.line->close();
            QVERIFY(!far.open());
        }
        const int before = far.value("Count").toInt();
        far.run.tell("link " + name + " good");
        QVERIFY(far.open() && far.brings(3));
        QVERIFY(far.value("Count").toInt() > before);
    }
};

QTEST_GUILESS_MAIN(tst_links)
#include "tst_links.moc"
