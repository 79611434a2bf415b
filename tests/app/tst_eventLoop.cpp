#include "app/eventLoop.h"

#include "app/mainWindow.h"
#include "app/timer.h"
#include "lib/communications/debugComponent.h"
#include "lib/communications/netActionInfo.h"
#include "lib/types/datastore.h"
#include "tests/support/fakeHost.h"
#include "tests/support/refusal.h"

#include <QDomElement>
#include <QTest>

namespace {
struct fixture {
    fakeHost host; // for its folder only
    debugComponent root;
    datastore store;
    timer water{&store, QStringLiteral("waterTimer"), QString(), nullptr};
    timer heat{&store, QStringLiteral("heatTimer"), QString(), nullptr};
    mainWindow window{&store, &water, &heat, nullptr};
    eventLoop loader{&store, &root, &window, &water, &heat, nullptr};

    bool load(const QByteArray &children)
    {
        host.write("/config.xml", "<telemetrydevice>" + children + "</telemetrydevice>");
        return loader.configureSystem(host.path("/config.xml"));
    }
    /// Components below "Samplers" (1) or "Instruments" (2); a '*' stands behind each that has found its bus.
    QString created(int group) const
    {
        QStringList names;
        for (const debugComponent *each : root.childComponents()[group]->childComponents())
            names.append(each->name() + (each->childComponents().isEmpty() ? "" : "*"));
        return names.join(", ");
    }
};
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

    void createsWhatItKnowsFromAGoodFileOnly()
    {
        fixture f;
        QVERIFY(f.load("<!-- --><modem/><sampler/><instrument/><interface type=\"usb\"/>text"
                       "<sampler type=\"TCP\"/><Sampler type=\"tcp\"/><instrument type=\"tcp\"/>"
                       "<INSTRUMENT type=\"DS18B20\"/><instrument type=\"valve\"/>"));
        QCOMPARE(f.created(1), QString("TCP Sampler")); // sampler types alone have a case
        QCOMPARE(f.created(2), QString("DS18B20, Valve logic"));
    }

    /// Recursive readers of the document would run out of stack, whatever else is wrong with it.
    void refusesDeepNesting()
    {
        const QByteArray deep = QByteArray("<a>").repeated(50000) + QByteArray("</a>").repeated(50000);
        for (const char *document : {"<telemetrydevice><instrument type='valve'/><x:y/>@</telemetrydevice>",
                 "<?xml version='1.1'?><t>@</t>", "<t b='' b=''>@</t>", "<t>&none;@</t>", "<t>\x01@</t>",
                 "<t>\xFF@</t>", "<t><a:b:c/>@</t>", "<!DOCTYPE t [<!ENTITY e '@'>]><t>&e;</t>",
                 "<!DOCTYPE t [<!ELEMENT t ((@"}) {
            fixture f;
            const QByteArray deepest
                = QByteArray(document).endsWith("((@") ? QByteArray("(").repeated(200000) : deep;
            f.host.write("/config.xml", QByteArray(document).replace("@", deepest));
            QVERIFY2(!f.loader.configureSystem(f.host.path("/config.xml")), document);
            QVERIFY2(f.root.lastLog().endsWith("nested too deeply"), qPrintable(document + f.root.lastLog()));
            QVERIFY(f.created(2).isEmpty());
        }
    }

    void loadsTheExampleInstallation()
    {
        fixture f;
        QVERIFY(f.loader.configureSystem(QStringLiteral(CALORIX_SOURCE_DIR "/config/config.xml")));
        QCOMPARE(f.root.lastLog(), QString("Loaded configuration file."));
        QCOMPARE(f.created(1), QString("Thingsboard Sampler, TCP Sampler"));
        QCOMPARE(f.created(2),
            QString("Boiler Switch Board*, Boiler Switch Board*, Boiler Switch Board*, Control Logic, "
                    "Valve logic, DS18B20, DS18B20, BME-280 Sensor*, Internal Sensors, "
                    "Internal Sensors"));
    }

    void givesEveryInstrumentAThreadOfItsOwnSoonerOrLater()
    {
        fixture f;
        f.loader.addInstrument(QDomElement(), &f.water);
        f.loader.addInstrument(QDomElement(), &f.heat);
        refused = true;
        f.loader.start();
        refused = false;
        for (const char *key : {"heatTimerOn", "waterTimerOn"})
            QTRY_VERIFY2(f.store.query(key).isValid(), key);
        QVERIFY(f.water.thread() != f.heat.thread() && f.water.thread() != thread());
    }
};

QTEST_MAIN(tst_eventLoop)
#include "tst_eventLoop.moc"
