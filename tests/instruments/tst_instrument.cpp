#include "lib/instruments/instrument.h"

#include "lib/communications/debugComponent.h"
#include "lib/interfaces/interface.h"
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

#include <future>

namespace {
/// Opens up what instruments inherit.
class probe : public instrument
{
public:
    using instrument::commsHealthCheck;
    using instrument::decoderResult;
    using instrument::iface;
    using instrument::instrument;
    using instrument::startInterfacePower;
};

struct fixture {
    fakeHost host;
    datastore store{nullptr, host};
    fakeInterface line{"line", host};
    QList<interface *> ifaces{&line};
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
        QTest::addColumn<QByteArray>("block"); // R stands for the three common keys
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("key"); // of a result "T"
        QTest::addColumn<QString>("uses");
        QTest::newRow("all") << QByteArray("<Instrument>R</Instrument>") << "N"
                             << "pT"
                             << "line";
        QTest::newRow("wrong tag") << QByteArray("<sampler>R</sampler>") << "Instrument"
                                   << "T"
                                   << "";
        QTest::newRow("inactive in the middle") << QByteArray(
            "<instrument><name>M</name><active>false</active><active>true</active>R</instrument>")
                                                << "M"
                                                << "T"
                                                << "";
        QTest::newRow("active") << QByteArray("<instrument>R<active>no</active></instrument>") << "N"
                                << "pT"
                                << "line";
        QTest::newRow("last interface wins, even an unknown one")
            << QByteArray("<instrument>R<interface>LINE</interface></instrument>") << "N"
            << "pT"
            << "";
    }
    void readsTheCommonKeys()
    {
        QFETCH(QByteArray, block);
        fixture f;
        f.device.configure(
            xml(block.replace("R", "<dataprepend>p</dataprepend><name>N</name><interface>line</interface>")));
        QTEST(f.device.name, "name");
        QTEST(f.device.iface ? f.device.iface->name() : QString(), "uses");
        f.device.decoderResult("T", 1);
        QTEST(f.results.value(0).value(0).toString(), "key");
    }

    void checksItsPort()
    {
        fixture f;
        f.line.opens = false;
        f.line.error = "broken";
        launch(f.device, "<instrument><interface>line</interface></instrument>");
        QCOMPARE(f.sink.texts(), QStringList{"Failed to open instrument port - broken"});
        f.device.commsHealthCheck->start();
        expire(f.device.commsHealthCheck);
        QCOMPARE(f.sink.texts().mid(1),
            (QStringList{"Instrument port error string:", "broken", "Instrument port has an error - broken",
                "Trying to reconnect", "Failed to open instrument port"}));
        f.line.opens = true;
        expire(f.device.commsHealthCheck);
        QCOMPARE(f.sink.texts().last(), QString("Successfully opened instrument port"));
        f.line.error = "Operation timed out"; // a silent device only
        expire(f.device.commsHealthCheck);
        QCOMPARE(f.line.openModes.size(), 3);
        QCOMPARE(f.published(), QString("commsState=Closed commsState=Closed"));
    }

    void leavesASharedSupplyToTheThreadThatStartedIt()
    {
        qRegisterMetaType<datastoreElementType>(); // as main() does
        fixture f;
        // The element counts wherever it stands.
        f.device.configure(
            xml("<instrument><power><pin>4</pin><off><rule><expression>level &gt; 3</expression>"
                "</rule></off></power><interface>line</interface></instrument>"));
        probe second{&f.store, &f.ifaces, nullptr};
        QThread thread;
        QObject worker;
        worker.moveToThread(&thread);
        std::promise<void> started;
        connect(&thread, &QThread::started, &worker, [&] {
            f.device.startInterfacePower(&f.line);
            started.set_value();
        });
        thread.start();
        started.get_future().wait();
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
        QVERIFY(thread.wait(QDeadlineTimer(5000)));
        QCOMPARE(switchedOffOn, &thread);
    }
};

QTEST_MAIN(tst_instrument)
#include "tst_instrument.moc"
