#include "app/eventLoop.h"

#include "app/mainWindow.h"
#include "app/timer.h"
#include "lib/communications/debugComponent.h"
#include "lib/communications/netActionInfo.h"
#include "lib/types/datastore.h"
#include "tests/support/fakeHost.h"
#include "tests/support/logSink.h"

#include <QtTest>

namespace {
const char configFile[] = "/config.xml";

struct fixture {
    fakeHost host; // for its folder only
    logSink sink;
    debugComponent root;
    datastore store;
    timer water{&store, QStringLiteral("waterTimer"), QString(), nullptr};
    timer heat{&store, QStringLiteral("heatTimer"), QString(), nullptr};
    mainWindow window{&store, &water, &heat, nullptr};
    eventLoop loader{&store, &root, &window, &water, &heat, nullptr};

    fixture()
    {
        loader.addInstrument(QDomElement(), &water);
        loader.addInstrument(QDomElement(), &heat);
        root.registerWithClient(&sink);
    }
    bool load(const QByteArray &xml)
    {
        host.write(configFile, xml);
        return loader.configureSystem(host.path(configFile));
    }
    /// Names of the components below "Samplers" (1) or "Instruments" (2), without the two timers.
    QStringList created(int group) const
    {
        QStringList names;
        for (const debugComponent *each : root.childComponents()[group]->childComponents())
            names.append(each->name());
        return names.mid(group == 2 ? 2 : 0);
    }
};

QByteArray device(const QByteArray &children)
{
    return "<telemetrydevice>" + children + "</telemetrydevice>";
}
}

class tst_eventLoop : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase()
    {
        qRegisterMetaType<datastoreElementType>("datastoreElementType");
        qRegisterMetaType<netActionInfo>("netActionInfo");
    }

    void refusesAFileWithAnyError()
    {
        fixture f;
        QVERIFY(!f.load("<telemetrydevice>\n<instrument type=\"valve\"/><a></b>"));
        QCOMPARE(f.sink.texts().last(), QStringLiteral("Parse error at line 2, column 33: tag mismatch"));
        QVERIFY(!f.load(device(QByteArray("<a>").repeated(10000) + QByteArray("</a>").repeated(10000))));
        QVERIFY(f.sink.texts().last().endsWith("elements are nested too deeply"));
        QVERIFY(f.created(2).isEmpty());
    }

    void createsWhatItKnowsAndSkipsTheRest()
    {
        fixture f;
        QVERIFY(f.load(device("<!-- --><modem/><sampler/><instrument/><interface type=\"usb\"/>text"
                              "<sampler type=\"TCP\"/><Sampler type=\"tcp\"/><instrument type=\"tcp\"/>"
                              "<INSTRUMENT type=\"DS18B20\"/><instrument type=\"valve\"/>")));
        QCOMPARE(f.created(1), QStringList{"TCP Sampler"}); // sampler types alone have a case
        QCOMPARE(f.created(2), (QStringList{"DS18B20", "Valve logic"}));
    }

    void startsEverythingOnThreadsOfItsOwn()
    {
        fixture f;
        f.store.store("edge", false);
        QVERIFY(f.load(device("<sampler type=\"thingsboardjson\"><period>60000</period>"
                              "<key triggerVariable=\"edge\">value</key></sampler>"
                              "<instrument type=\"controllogic\"><period>10</period></instrument>"
                              "<instrument type=\"valve\"><period>10</period></instrument>")));
        f.store.store("value", 1);
        f.loader.start();
        for (const char *key : {"NoBoiler", "NoPump", "NoCardPower0Demand", "heatTimerOn", "waterTimerOn"})
            QTRY_VERIFY2(f.store.query(key).isValid(), key);
        QVERIFY(f.water.thread() != f.heat.thread());
        QVERIFY(f.water.thread() != thread());
        bool edge = false;
        // An upload reaches the queue once the sampler's thread listens.
        QTRY_VERIFY(
            (f.store.store("edge", edge = !edge), f.store.query("networkMessagesRemaining").toInt() > 0));
    }

    void loadsTheExampleInstallation()
    {
        fixture f;
        QVERIFY(f.loader.configureSystem(QStringLiteral(CALORIX_SOURCE_DIR "/config/config.xml")));
        QCOMPARE(f.sink.texts().last(), QStringLiteral("Loaded configuration file."));
        QCOMPARE(f.created(1), (QStringList{"Thingsboard Sampler", "TCP Sampler"}));
        const QString board = QStringLiteral("Boiler Switch Board");
        QCOMPARE(f.created(2),
            (QStringList{board, board, board, "Control Logic", "Valve logic", "DS18B20", "DS18B20",
                "BME-280 Sensor", "Internal Sensors"}));
        int busUsers = 0;
        for (const debugComponent *each : f.root.childComponents()[2]->childComponents())
            busUsers += each->childComponents().isEmpty() ? 0 : 1;
        QCOMPARE(busUsers, 4); // every interface name in the file is one that exists
    }
};

QTEST_MAIN(tst_eventLoop)
#include "tst_eventLoop.moc"
