#include "app/eventLoop.h"

#include "app/mainWindow.h"
#include "app/timer.h"
#include "lib/communications/debugComponent.h"
#include "lib/communications/netActionInfo.h"
#include "lib/types/datastore.h"
#include "tests/support/fakeHost.h"
#include "tests/support/logSink.h"
#include "tests/support/warnings.h"

#include <QSemaphore>
#include <QTabWidget>
#include <QtTest>

namespace {
const char configFile[] = "/config.xml";

/// An instrument whose thread is busy until it is released.
class busyInstrument : public instrument
{
public:
    busyInstrument()
        : instrument(nullptr, nullptr, nullptr)
    {
    }
    void start() override
    {
        m_started.release();
        m_released.acquire();
    }

    QSemaphore m_started;
    QSemaphore m_released;
};

struct fixture {
    fakeHost host; // for its folder only
    logSink sink;
    debugComponent root;
    datastore store;
    timer water{&store, QStringLiteral("waterTimer"), QString(), nullptr};
    timer heat{&store, QStringLiteral("heatTimer"), QString(), nullptr};
    mainWindow window{&store, &water, &heat, nullptr};
    busyInstrument busy;
    eventLoop loader{&store, &root, &window, &water, &heat, nullptr};

    fixture()
    {
        loader.addInstrument(QDomElement(), &water);
        loader.addInstrument(QDomElement(), &heat);
        root.registerWithClient(&sink);
    }
    QString path() const { return host.path(configFile); }
    bool load(const QByteArray &xml)
    {
        host.write(configFile, xml);
        return loader.configureSystem(path());
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

    void hangsItsComponentsBelowTheRoot()
    {
        fixture f;
        QStringList names;
        for (const debugComponent *each : f.root.childComponents())
            names.append(each->name());
        QCOMPARE(names, (QStringList{"Network", "Samplers", "Instruments"}));
        QCOMPARE(f.loader.systemDebug, &f.root);
    }

    void refusesWhatItCannotRead_data()
    {
        QTest::addColumn<QByteArray>("xml");
        QTest::addColumn<QString>("complaint");
        const QString wrongRoot = QStringLiteral("This is not a telemetry device configuration file.");
        const QByteArray valid = "<instrument type=\"valve\"/>";
        QTest::newRow("no file") << QByteArray() << "Could not open file.";
        QTest::newRow("empty file") << QByteArray(" ")
                                    << "Parse error at line 1, column 2: unexpected end of file";
        QTest::newRow("syntax error") << "<telemetrydevice>\n" + valid + "\n  <a><b></a>\n</telemetrydevice>"
                                      << "Parse error at line 3, column 12: tag mismatch";
        QTest::newRow("cut short") << "<telemetrydevice>" + valid
                                   << "Parse error at line 1, column 44: unexpected end of file";
        QTest::newRow("other root") << QByteArray("<heatingtimer/>") << wrongRoot;
        QTest::newRow("root in capitals") << "<TelemetryDevice>" + valid + "</TelemetryDevice>" << wrongRoot;
        QTest::newRow("10,000 nested elements")
            << device(QByteArray("<a>").repeated(10000) + QByteArray("</a>").repeated(10000))
            << "Parse error at line 1, column 785: elements are nested too deeply";
    }
    void refusesWhatItCannotRead()
    {
        QFETCH(QByteArray, xml);
        QFETCH(QString, complaint);
        fixture f;
        QVERIFY(!(xml.isEmpty() ? f.loader.configureSystem(f.path()) : f.load(xml)));
        QCOMPARE(f.sink.texts(),
            (QStringList{
                "Loading configuration...", QStringLiteral("Trying %1...").arg(f.path()), complaint}));
        QVERIFY(f.created(1).isEmpty());
        QVERIFY(f.created(2).isEmpty());
    }

    void createsWhatItKnows_data()
    {
        QTest::addColumn<QByteArray>("children");
        QTest::addColumn<QStringList>("samplers");
        QTest::addColumn<QStringList>("instruments");
        const QStringList none;
        QTest::newRow("nothing") << QByteArray() << none << none;
        QTest::newRow("samplers") << QByteArray("<sampler type=\"tcp\"/><sampler type=\"thingsboardjson\"/>")
                                  << QStringList{"TCP Sampler", "Thingsboard Sampler"} << none;
        QTest::newRow("sampler types have a case")
            << QByteArray("<sampler type=\"TCP\"/><sampler type=\"Thingsboardjson\"/>") << none << none;
        QTest::newRow("tags and other types have none")
            << QByteArray("<Sampler type=\"tcp\"/><INSTRUMENT type=\"DS18B20\"/>")
            << QStringList{"TCP Sampler"} << QStringList{"DS18B20"};
        QTest::newRow("instruments in file order")
            << QByteArray("<instrument type=\"valve\"/><instrument type=\"internal\"/>"
                          "<instrument type=\"boilerswitchboard\"/><instrument type=\"bme280\"/>"
                          "<instrument type=\"ds18b20\"/><instrument type=\"controllogic\"/>")
            << none
            << QStringList{"Valve logic", "Internal Sensors", "Boiler Switch Board", "BME-280 Sensor",
                   "DS18B20", "Control Logic"};
        QTest::newRow("what nobody knows") << QByteArray(
            "<!-- --><modem/><sampler/><instrument/><interface/><sampler type=\"mqtt\"/>"
            "<instrument type=\"tcp\"/><interface type=\"usb\"/>text<instrument type=\"valve\"/>")
                                           << none << QStringList{"Valve logic"};
        QTest::newRow("10 MB") << "<!--" + QByteArray(10000000, 'x') + "--><instrument type=\"valve\"/>"
                               << none << QStringList{"Valve logic"};
    }
    void createsWhatItKnows()
    {
        QFETCH(QByteArray, children);
        fixture f;
        QVERIFY(f.load(device(children)));
        QCOMPARE(f.sink.texts().first(), QStringLiteral("Loading configuration..."));
        QCOMPARE(f.sink.texts().last(), QStringLiteral("Loaded configuration file."));
        QTEST(f.created(1), "samplers");
        QTEST(f.created(2), "instruments");
    }

    void interfacesAreFoundByName_data()
    {
        QTest::addColumn<QByteArray>("interfaces");
        QTest::addColumn<bool>("found");
        const QByteArray inside = "<name>Bus</name></interface>";
        QTest::newRow("i2c") << "<interface type=\"i2c\">" + inside << true;
        QTest::newRow("serial") << "<interface type=\"serial\">" + inside << true;
        QTest::newRow("tcp in capitals") << "<interface type=\"TCP\">" + inside << true;
        QTest::newRow("other name") << QByteArray("<interface type=\"i2c\"><name>bus</name></interface>")
                                    << false;
        QTest::newRow("unknown type") << "<interface type=\"spi\">" + inside << false;
    }
    void interfacesAreFoundByName()
    {
        QFETCH(QByteArray, interfaces);
        fixture f;
        QVERIFY(f.load(device(
            interfaces + "<instrument type=\"boilerswitchboard\"><interface>Bus</interface></instrument>")));
        // An instrument takes the log of its interface below its own.
        const debugComponent *board = f.root.childComponents()[2]->childComponents().last();
        QTEST(!board->childComponents().isEmpty(), "found");
    }

    void showsControlWidgetsUnderTheInstrumentsName()
    {
        fixture f;
        QVERIFY(f.load(device("<instrument type=\"valve\"><name>Zone valve</name></instrument>")));
        QStringList titles;
        for (const QTabWidget *tabs : f.window.findChildren<QTabWidget *>()) {
            for (int i = 0; i < tabs->count(); ++i)
                titles.append(tabs->tabText(i));
        }
        QVERIFY2(titles.contains("Zone valve"), qPrintable(titles.join(',')));
    }

    void startsEverythingOnThreadsOfItsOwn()
    {
        fixture f;
        QVERIFY(f.load(device("<sampler type=\"tcp\"><port>0</port><period>60000</period></sampler>"
                              "<instrument type=\"controllogic\"><period>10</period></instrument>"
                              "<instrument type=\"valve\"><period>10</period></instrument>")));
        f.sink.clear();
        f.loader.start();
        const QStringList texts = f.sink.texts();
        QStringList own;
        for (const QString &text : texts) {
            if (text.startsWith("Starting"))
                own.append(text);
        }
        QCOMPARE(own,
            (QStringList{"Starting system", "Starting data sampler 0", "Starting instrument 0",
                "Starting instrument 1", "Starting instrument 2", "Starting instrument 3"}));
        for (const char *key : {"NoBoiler", "NoPump", "NoCardPower0Demand", "heatTimerOn", "waterTimerOn"})
            QTRY_VERIFY2(f.store.query(key).isValid(), key);
        QCOMPARE(f.store.query("heatTimerOn"), QVariant(false));
        QVERIFY(f.water.thread() != f.heat.thread());
        QVERIFY(f.water.thread() != thread());
    }

    void leadsUploadsToTheQueue()
    {
        fixture f;
        f.store.store("edge", false);
        QVERIFY(f.load(device("<sampler type=\"thingsboardjson\"><period>60000</period>"
                              "<key triggerVariable=\"edge\">value</key></sampler>")));
        f.store.store("value", 1);
        f.loader.start();
        bool edge = false;
        // The sampler listens once its thread runs.
        QTRY_VERIFY(
            (f.store.store("edge", edge = !edge), f.store.query("networkMessagesRemaining").toInt() > 0));
    }

    void finishesWhenNoWorkerIsBlocked()
    {
        fixture f;
        f.loader.addInstrument(QDomElement(), &f.busy);
        QVERIFY(f.load(device("<sampler type=\"tcp\"><port>0</port></sampler>"
                              "<instrument type=\"valve\"/><instrument type=\"controllogic\"/>")));
        f.loader.start();
        f.busy.m_started.acquire();
        QVERIFY(!f.loader.finish(QDeadlineTimer(1)));
        f.busy.m_released.release();
        QVERIFY(f.loader.finish(QDeadlineTimer(QDeadlineTimer::Forever)));
        for (const timer *each : {&f.water, &f.heat}) {
            QVERIFY(each->thread()->isFinished());
            QVERIFY(!each->findChild<QTimer *>()->isActive());
        }
    }

    void leavesInSilenceAtAnyMoment()
    {
        const warnings seen;
        for (int i = 0; i < 20; ++i) {
            fixture f;
            QVERIFY(f.load(device("<sampler type=\"tcp\"><port>0</port></sampler>"
                                  "<instrument type=\"valve\"><period>1</period></instrument>"
                                  "<instrument type=\"controllogic\"><period>1</period></instrument>")));
            f.loader.start();
            for (int turn = 0; turn < i; ++turn)
                QCoreApplication::processEvents();
            f.loader.finish(QDeadlineTimer(QDeadlineTimer::Forever));
        }
        QCOMPARE(seen.count(), 0);
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

    void exampleProgrammesHeatMorningAndEvening_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("heating") << "heatTimer";
        QTest::newRow("hot water") << "waterTimer";
    }
    void exampleProgrammesHeatMorningAndEvening()
    {
        QFETCH(QString, name);
        fakeHost host;
        timer programme(nullptr, name, QStringLiteral(CALORIX_SOURCE_DIR "/config/%1.xml").arg(name), nullptr,
            host.system());
        programme.readCtrlFile();
        const auto isOnAt = [&](int day, int hour) { // 2026-01-12 is a Monday
            host.setUtc(QDateTime(QDate(2026, 1, 11 + day), QTime(hour, 45)));
            return programme.isOn();
        };
        for (int day = 1; day <= 7; ++day) {
            QVERIFY(!isOnAt(day, 3));
            QVERIFY(isOnAt(day, day < 6 ? 6 : (name == "heatTimer" ? 9 : 6)));
            QVERIFY(isOnAt(day, 18));
            QVERIFY(!isOnAt(day, 23));
        }
    }
};

QTEST_MAIN(tst_eventLoop)
#include "tst_eventLoop.moc"
