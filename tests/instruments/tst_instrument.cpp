#include "lib/instruments/instrument.h"

#include "lib/support/powerControl.h"
#include "tests/support/fakeInterface.h"
#include "tests/support/onThread.h"
#include "tests/support/testedDevice.h"

#include <QTest>
#include <QThread>

namespace {
/// Opens up what instruments inherit.
class probe : public instrument
{
public:
    probe(datastore *store, QList<interface *> *interfaces, QObject *parent, const hostSystem &)
        : instrument(store, interfaces, parent)
    {
    }
    using instrument::decoderResult;
    using instrument::iface;
    using instrument::startInterfacePower;
};

struct fixture : testedDevice<probe> {
    fakeInterface line{"line", host};

    fixture() { interfaces = {&line}; }
};
}

class tst_instrument : public QObject
{
    Q_OBJECT
private slots:
    void readsTheCommonKeys()
    {
        // R stands for the three common keys. Then: the name, a result, the interface.
        const QList<QPair<QByteArray, QString>> rows{{"<Instrument>R</Instrument>", "N pT=1 line"},
            {"<sampler>R</sampler>", "Instrument T=1 none"},
            {"<instrument><name>M</name><active>false</active><active>true</active>R</instrument>",
                "M T=1 none"},
            {"<instrument>R<active>no</active></instrument>", "N pT=1 line"},
            {"<instrument>R<interface>LINE</interface></instrument>", "N pT=1 none"}}; // the last one wins
        for (const auto &[block, expected] : rows) {
            fixture f;
            const char common[] = "<dataprepend>p</dataprepend><name>N</name><interface>line</interface>";
            f.device.configure(xml(QByteArray(block).replace("R", common)));
            f.device.decoderResult("T", 1);
            const QString used = f.device.iface ? f.device.iface->name() : "none";
            QCOMPARE(f.device.name + ' ' + f.published.take() + ' ' + used, expected);
        }
    }

    void leavesASharedSupplyToTheThreadThatStartedIt()
    {
        qRegisterMetaType<datastoreElementType>(); // as main() does
        fixture f;
        // The element counts wherever it stands.
        f.device.configure(xml("<instrument><power><pin>4</pin><on><mode>1</mode></on><off><mode>4</mode>"
                               "<rule><expression>level &gt; 3</expression></rule></off></power>"
                               "<interface>line</interface></instrument>"));
        probe second{&f.store, &f.interfaces, nullptr, f.host};
        powerControl *const supply = f.line.power.get();
        QThread thread;
        QList<QThread *> threads; // of the switching on and off
        const auto note = [&threads] { threads.append(QThread::currentThread()); };
        connect(supply, &powerControl::powerIsOn, supply, note, Qt::DirectConnection);
        connect(supply, &powerControl::powerIsOff, supply, note, Qt::DirectConnection);
        const auto useToo = [&] {
            second.startInterfacePower(&f.line);
            f.store.store("level", 4);
        };
        connect(supply, &powerControl::powerIsOn, &f.store, useToo, Qt::QueuedConnection);
        const auto use = [&] { f.device.startInterfacePower(&f.line); };
        runOnThread(thread, use, supply, &powerControl::powerIsOff);
        QCOMPARE(threads, (QList<QThread *>{&thread, &thread}));
    }
};

QTEST_MAIN(tst_instrument)
#include "tst_instrument.moc"
