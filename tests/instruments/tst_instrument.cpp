#include "lib/instruments/instrument.h"

#include "lib/communications/debugComponent.h"
#include "lib/decoders/decoder.h"
#include "lib/instruments/visibilityFlag.h"
#include "lib/interfaces/interface.h"
#include "lib/protocols/protocol.h"
#include "lib/support/powerControl.h"
#include "lib/types/datastore.h"
#include "tests/support/expire.h"
#include "tests/support/fakeHost.h"
#include "tests/support/fakeInterface.h"
#include "tests/support/launch.h"
#include "tests/support/logSink.h"

#include <QSignalSpy>
#include <QThread>
#include <QTimer>
#include <QtTest>

namespace {
/// Opens up what instruments inherit.
class probe : public instrument
{
public:
    using instrument::CDS;
    using instrument::commsHealthCheck;
    using instrument::decode;
    using instrument::decoderResult;
    using instrument::directStoreUpdate;
    using instrument::iface;
    using instrument::instrument;
    using instrument::proto;
    using instrument::startInterfacePower;

    void configureInstrument(QDomElement block) override { blockKept = !block.isNull(); }

    bool blockKept = false;
};

class countingProtocol : public protocol
{
public:
    using protocol::protocol;
    void start() override { ++starts; }
    int starts = 0;
};

class echoDecoder : public decoder
{
public:
    using decoder::decoder;
    void decode(const QByteArray &data) override { emit resultAvailable("echo", data); }
};

struct fixture {
    fakeHost host;
    datastore store{nullptr, host};
    fakeInterface line{"line", host};
    fakeInterface other{"other", host};
    QList<interface *> ifaces{&line, &other};
    logSink sink;
    probe device{&store, &ifaces, nullptr};
    QSignalSpy results{&device, &instrument::resultAvailable};

    fixture() { device.debug->registerWithClient(&sink); }
    QString published() const
    {
        QStringList all;
        for (const QList<QVariant> &result : results)
            all << result[0].toString() + '=' + result[1].toString();
        return all.join(' ');
    }
};
}

class tst_instrument : public QObject
{
    Q_OBJECT
private slots:
    void readsTheCommonKeys_data()
    {
        QTest::addColumn<QByteArray>("block");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("key"); // of a result "T"
        QTest::addColumn<QString>("uses");
        QTest::addColumn<bool>("kept");
        QTest::addColumn<QStringList>("logged");
        const auto row
            = [](const char *title, const QByteArray &block, const QString &name, const QString &key,
                  const QString &uses, bool kept, const QStringList &logged = {}) {
                  QTest::newRow(title) << block << name << key << uses << kept << logged;
              };
        const QByteArray rest = "<dataprepend>p</dataprepend><name>N</name><interface>line</interface>";
        row("all", "<Instrument>" + rest + "</Instrument>", "N", "pT", "line", true);
        row("none", "<instrument/>", "Instrument", "T", "", true);
        row("empty prefix", "<instrument><dataprepend/></instrument>", "Instrument", "T", "", true);
        row("wrong tag", "<sampler>" + rest + "</sampler>", "Instrument", "T", "", false,
            {"This is not an instrument configuration block"});
        row("inactive first", "<instrument><active>FALSE</active>" + rest + "</instrument>", "Instrument",
            "T", "", false);
        row("inactive in the middle",
            "<instrument><name>N</name><active>false</active><active>true</active>" + rest + "</instrument>",
            "N", "T", "", false);
        row("active", "<instrument>" + rest + "<active>no</active></instrument>", "N", "pT", "line", true);
        row("last interface wins",
            "<instrument><interface>line</interface><interface>other</interface></instrument>", "Instrument",
            "T", "other", true);
        row("even an unknown one",
            "<instrument><interface>line</interface><interface>LINE</interface></instrument>", "Instrument",
            "T", "", true);
    }
    void readsTheCommonKeys()
    {
        QFETCH(QByteArray, block);
        fixture f;
        f.device.configure(xml(block));
        QTEST(f.sink.texts(), "logged");
        QTEST(f.device.name, "name");
        QTEST(f.device.iface ? f.device.iface->name() : QString(), "uses");
        f.device.start();
        QTEST(f.device.blockKept, "kept");
        f.results.clear();
        f.device.decoderResult("T", 1);
        QTEST(f.results.value(0).value(0).toString(), "key");
    }

    void staysIdleWithoutAnInterface()
    {
        fixture f;
        launch(f.device, "<instrument><power><pin>4</pin></power></instrument>");
        QCOMPARE(f.sink.texts(), QStringList{"Interface not defined for instrument"});
        QVERIFY(!f.device.commsHealthCheck);
    }

    void opensItsInterfaceAndStartsItsStages_data()
    {
        QTest::addColumn<bool>("opens");
        QTest::newRow("opens") << true;
        QTest::newRow("fails to open") << false;
    }
    void opensItsInterfaceAndStartsItsStages()
    {
        QFETCH(bool, opens);
        fixture f;
        countingProtocol source(&f.line, nullptr);
        echoDecoder echo(&source, nullptr);
        f.device.proto = &source;
        f.device.decode.append(&echo);
        f.line.opens = opens;
        f.line.error = "gone";
        launch(f.device, "<instrument><interface>line</interface><dataprepend>p</dataprepend></instrument>");
        QCOMPARE(f.line.openModes, QList<QIODevice::OpenMode>{QIODevice::ReadWrite});
        QCOMPARE(
            f.sink.texts(), opens ? QStringList() : QStringList{"Failed to open instrument port - gone"});
        QCOMPARE(source.starts, 1);
        emit source.dataOut("hello");
        QCOMPARE(f.published(), QString("pecho=hello"));
        QVERIFY(f.device.debug->childComponents().contains(echo.debug.get()));
        QCOMPARE(f.device.commsHealthCheck->interval(), 5000);
        QVERIFY(!f.device.commsHealthCheck->isActive());
    }

    void checksItsPort_data()
    {
        QTest::addColumn<QString>("error");
        QTest::addColumn<bool>("reopens");
        QTest::addColumn<QStringList>("logged");
        const QString heading = "Instrument port error string:";
        QTest::newRow("fine") << "No error" << true << QStringList{heading, "No error"};
        QTest::newRow("silent device")
            << "Operation timed out" << true << QStringList{heading, "Operation timed out"};
        const QStringList broken{
            heading, "broken", "Instrument port has an error - broken", "Trying to reconnect"};
        QTest::newRow("reopened") << "broken" << true
                                  << broken + QStringList{"Successfully opened instrument port"};
        QTest::newRow("still broken")
            << "broken" << false << broken + QStringList{"Failed to open instrument port"};
    }
    void checksItsPort()
    {
        QFETCH(QString, error);
        QFETCH(bool, reopens);
        QFETCH(QStringList, logged);
        fixture f;
        launch(f.device, "<instrument><interface>line</interface></instrument>");
        f.line.openModes.clear();
        f.line.error = error;
        f.line.opens = reopens;
        f.device.commsHealthCheck->start();
        expire(f.device.commsHealthCheck);
        QCOMPARE(f.sink.texts(), logged);
        const bool reconnected = logged.size() > 2;
        QCOMPARE(f.line.openModes.size(), reconnected ? 1 : 0);
        QCOMPARE(f.published(), QString(reconnected ? "commsState=Closed" : ""));
    }

    void switchesTheSupplyOfItsInterfaceOnce()
    {
        for (const bool declaredLater : {false, true}) {
            fixture f;
            for (const char *file : {"export", "gpio4/direction", "gpio4/value"})
                f.host.write(QString("/sys/class/gpio/%1").arg(file), "");
            if (declaredLater) {
                f.line.configure(xml("<interface><name>line</name><power><pin>4</pin></power></interface>"));
                f.ifaces.clear();
            }
            // The element counts wherever it stands.
            f.device.configure(xml("<instrument><dataprepend>p</dataprepend><power><pin>4</pin></power>"
                                   "<interface>line</interface></instrument>"));
            f.device.startInterfacePower(&f.line);
            f.device.startInterfacePower(&f.line);
            QCOMPARE(f.published(), QString("ppower=true"));
            QCOMPARE(f.host.hostSystem::read("/sys/class/gpio/gpio4/value").value(), QByteArray("1\n"));
        }
    }

    void leavesASharedSupplyToTheThreadThatStartedIt()
    {
        qRegisterMetaType<datastoreElementType>(); // as main() does
        fixture f;
        f.line.configure(xml("<interface><power><pin>4</pin><off><rule><expression>level &gt; 3</expression>"
                             "</rule></off></power></interface>"));
        probe second{&f.store, &f.ifaces, nullptr};
        QThread thread;
        QObject worker;
        worker.moveToThread(&thread);
        thread.start();
        QMetaObject::invokeMethod(
            &worker, [&f] { f.device.startInterfacePower(&f.line); }, Qt::BlockingQueuedConnection);
        second.startInterfacePower(&f.line);
        QThread *switchedOffOn = nullptr;
        connect(
            f.line.power.get(), &powerControl::powerIsOff, this,
            [&] {
                switchedOffOn = QThread::currentThread();
                thread.quit();
            },
            Qt::DirectConnection);
        f.store.store("level", 4);
        QVERIFY(thread.wait(5000));
        QCOMPARE(switchedOffOn, &thread);
    }

    void storesDirectlyWhenToldTo()
    {
        fixture f;
        f.device.directStoreUpdate = true;
        f.device.decoderResult("T", 4);
        QCOMPARE(f.store.query("T").toInt(), 4);
        QCOMPARE(f.results.count(), 0);
    }

    void decoderIsSilentUntilDebugIsConfigured()
    {
        decoder d(nullptr, nullptr);
        d.debug->log("before");
        d.configure(xml("<decoder><DEBUG/></decoder>"));
        QCOMPARE(d.debug->lastLog(), QString());
        d.debug->log("after");
        QCOMPARE(d.debug->lastLog(), QString("after"));
    }

    void knowsWhetherItsWidgetIsOnScreen()
    {
        QWidget page;
        auto *const control = new QWidget(&page);
        const visibilityFlag shown(control);
        QVERIFY(!shown.isVisible());
        page.show();
        QVERIFY(shown.isVisible());
        control->hide();
        QVERIFY(!shown.isVisible());
        control->show();
        page.hide();
        QVERIFY(!shown.isVisible());
    }
};

QTEST_MAIN(tst_instrument)
#include "tst_instrument.moc"
