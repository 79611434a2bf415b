#include "lib/support/powerControl.h"

#include "lib/communications/debugComponent.h"
#include "lib/types/datastore.h"
#include "tests/support/expire.h"
#include "tests/support/fakeHost.h"
#include "tests/support/launch.h"
#include "tests/support/logSink.h"
#include "tests/support/onThread.h"
#include "tests/support/warnings.h"

#include <QTest>
#include <QTimer>

namespace {
const QString valueFile = QStringLiteral("/sys/class/gpio/gpio4/value");

struct testedControl : powerControl {
    using powerControl::forceOff;
    using powerControl::forceOn;
    using powerControl::powerControl;
    QTimer *onTimer() const { return powerOnTimer.get(); }
    QTimer *offTimer() const { return powerOffTimer.get(); }
};

struct fixture {
    fakeHost host;
    datastore store;
    logSink log;
    testedControl tested{nullptr, host.system()};
    QStringList results;

    explicit fixture(const QByteArray &keys)
    {
        host.write(valueFile, "");
        tested.debug->registerWithClient(&log);
        const auto note = [this](const QString &key, const QVariant &value) {
            results.append(key + '=' + value.toString());
        };
        QObject::connect(&tested, &powerControl::resultAvailable, &tested, note);
        tested.setDataStore(&store); // as the instrument does: before the rules are known
        tested.configure(xml("<Power><pin>4</pin>" + keys + "</Power>"));
    }
    QByteArray pin() const { return host.read(valueFile).value_or("missing"); }
    QString take() { return std::exchange(results, {}).join(' '); }
};

const QString switchedOn = "power=true";
const QString switchedOff = "powerOnDuration=%1 power=false";

QByteArray ruleOf(const char *script)
{
    return QByteArray("<rule><expression>") + script + "</expression></rule>";
}
}

class tst_powerControl : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase() { qRegisterMetaType<datastoreElementType>(); } // as main() does

    void cycles()
    {
        fixture f("<on><mode>1</mode><interval>60000</interval></on><off><mode>0</mode></off><invert>TRUE</"
                  "invert>");
        f.tested.start();
        QCOMPARE(f.log.texts(), (QStringList{"Pin 4", "Power system started", "Pin 4 - Power on"}));
        QCOMPARE(f.tested.onTimer()->interval(), 60000);
        QCOMPARE(f.tested.offTimer()->interval(), 300000);
        for (int cycle = 0; cycle < 2; ++cycle) {
            QCOMPARE(f.take(), switchedOn);
            QCOMPARE(f.pin(), QByteArray("0\n"));
            expire(f.tested.onTimer()); // already on
            f.host.advance(300999);
            expire(f.tested.offTimer());
            QCOMPARE(f.take(), switchedOff.arg(300));
            QCOMPARE(f.pin(), QByteArray("1\n"));
            expire(f.tested.onTimer());
        }
    }

    void obeysTheModes()
    {
        const QList<std::tuple<int, int, bool, bool>> modes{{0, 3, false, true}, {0, 2, false, false},
            {0, 4, false, false}, {1, 4, false, true}, {2, 3, true, true}}; // on, off, off by time, by rule
        for (const auto &[on, off, byTime, byRule] : modes) {
            fixture f("<on><mode>" + QByteArray::number(on) + "</mode></on><off><mode>"
                + QByteArray::number(off) + "</mode>" + ruleOf("level +") + ruleOf("level &gt; 3")
                + "</off>");
            f.tested.start();
            QCOMPARE(f.tested.onTimer()->isActive(), on != 0);
            QCOMPARE(f.tested.offTimer()->isActive(), byTime);
            f.take();
            f.log.clear();
            f.store.store("level", 4);
            QCOMPARE(f.take(), byRule ? switchedOff.arg(0) : QString());
            QCOMPARE(f.log.texts().mid(0, 3).join("; "),
                "Rule[0] Result 0 - OK 0; Rule[1] Result 1 - OK 1; Power off condition rules matched");
            QVERIFY(!f.tested.offTimer()->isActive());
        }
    }

    void doesNothingWithoutAPinOrWhenForced()
    {
        fixture f("<pin>-1</pin>");
        f.tested.start();
        f.tested.configure(xml("<supply><pin>4</pin></supply>"));
        QVERIFY(!f.tested.hasPin() && !f.tested.isPowered());
        f.tested.configure(xml("<power><pin>4</pin></power>"));
        f.tested.forceOff = true;
        f.tested.powerOn();
        QVERIFY(!f.tested.isPowered());
        f.tested.forceOff = false;
        f.tested.forceOn = true;
        f.tested.powerOn();
        f.tested.powerOff();
        QCOMPARE(f.take(), switchedOn);
    }

    void sharesWithItsCopyWhateverEndsFirst()
    {
        fixture f("");
        {
            fixture origin("<on><mode>1</mode></on><off>" + ruleOf("a == 1") + "</off>");
            origin.tested.start();
            f.tested.copyPowerControl(&origin.tested);
        }
        f.tested.setDataStore(&f.store);
        f.store.store("a", 0);
        QVERIFY(f.tested.isPowered() && f.tested.offTimer());
    }

    void followsTheStoreOnTheThreadThatStartedIt()
    {
        const warnings seen;
        {
            fixture f("<on><mode>1</mode></on><off><mode>4</mode>" + ruleOf("level &gt; 3") + "</off>");
            QThread thread;
            QList<QThread *> threads; // of the switching on and off
            const auto store = [&f] { f.store.store("level", 4); };
            const auto note = [&threads] { threads.append(QThread::currentThread()); };
            connect(&f.tested, &powerControl::powerIsOn, &f.store, store, Qt::QueuedConnection);
            connect(&f.tested, &powerControl::powerIsOn, &f.tested, note, Qt::DirectConnection);
            connect(&f.tested, &powerControl::powerIsOff, &f.tested, note, Qt::DirectConnection);
            runOnThread(
                thread, [&f] { f.tested.start(); }, &f.tested, &powerControl::powerIsOff);
            QCOMPARE(threads, (QList<QThread *>{&thread, &thread}));
            QVERIFY(f.tested.onTimer()->thread() == &thread && !f.tested.onTimer()->isActive());
        }
        QCOMPARE(seen.count(), 0);
    }
};

QTEST_GUILESS_MAIN(tst_powerControl)
#include "tst_powerControl.moc"
