#include "lib/support/powerControl.h"

#include "lib/communications/debugComponent.h"
#include "lib/interfaces/gpioInterface.h"
#include "lib/types/datastore.h"
#include "tests/support/expire.h"
#include "tests/support/fakeHost.h"
#include "tests/support/launch.h"
#include "tests/support/logSink.h"
#include "tests/support/warnings.h"

#include <QTest>
#include <QThread>
#include <QTimer>

namespace {
const QString valueFile = QStringLiteral("/sys/class/gpio/gpio4/value");

class testedControl : public powerControl
{
public:
    explicit testedControl(const hostSystem &host)
        : powerControl(nullptr, host)
    {
    }
    using powerControl::forceOff;
    using powerControl::forceOn;
    QTimer *onTimer() const { return powerOnTimer.get(); }
    QTimer *offTimer() const { return powerOffTimer.get(); }

    QStringList events;

protected:
    void beforePowerOn() override { events.append("before on"); }
    void afterPowerOn() override { events.append("after on"); }
    void beforePowerOff() override { events.append("before off"); }
    void afterPowerOff() override { events.append("after off"); }
};

struct fixture {
    fakeHost host;
    datastore store;
    logSink log;
    testedControl tested{host.system()};

    explicit fixture(const QByteArray &keys)
    {
        host.write("/sys/class/gpio/export", "");
        host.write("/sys/class/gpio/gpio4/direction", "");
        host.write(valueFile, "");
        tested.debug->registerWithClient(&log);
        QObject::connect(&tested, &powerControl::resultAvailable, &tested,
            [this](const QString &key, const QVariant &value) {
                tested.events.append(key + '=' + value.toString());
            });
        QObject::connect(
            &tested, &powerControl::powerIsOn, &tested, [this] { tested.events.append("is on"); });
        QObject::connect(
            &tested, &powerControl::powerIsOff, &tested, [this] { tested.events.append("is off"); });
        tested.setDataStore(&store); // as the instrument does: before the rules are known
        tested.configure(xml("<Power>" + keys + "</Power>"));
    }
    QByteArray pin() const { return host.read(valueFile).value_or("missing"); }
    QStringList take() { return std::exchange(tested.events, {}); }
};

const QStringList switchedOn{"before on", "power=true", "after on", "is on"};

QStringList switchedOff(int seconds)
{
    return {"before off", QStringLiteral("powerOnDuration=%1").arg(seconds), "power=false", "after off",
        "is off"};
}

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

    void switchesOnAtStart()
    {
        fixture f("<Pin>4</Pin>");
        QVERIFY(!f.tested.isPowered() && f.tested.powerOnTime().isNull());
        f.tested.start();
        QCOMPARE(f.take(), switchedOn);
        QCOMPARE(f.pin(), QByteArray("1\n"));
        QCOMPARE(f.tested.powerOnTime(), f.host.now());
        QCOMPARE(f.log.texts(), (QStringList{"Pin 4", "Power system started", "Pin 4 - Power on"}));
        QCOMPARE(f.log.messages()[0].level, 2U);
        QCOMPARE(f.log.messages()[1].level, 0U);
        QVERIFY(!f.tested.onTimer()->isActive() && !f.tested.offTimer()->isActive());
        f.tested.powerOn();
        QCOMPARE(f.take(), QStringList());
    }

    void invertsThePin()
    {
        fixture f("<pin>4</pin><invert>TRUE</invert>");
        f.tested.start();
        QCOMPARE(f.pin(), QByteArray("0\n"));
    }

    void recordsTheStateThoughThePinFails()
    {
        fixture f("<pin>5</pin>");
        f.tested.start();
        QCOMPARE(f.take(), switchedOn);
        QCOMPARE(f.log.texts().last(), QStringLiteral("Could not set pin direction (GPIO5)"));
    }

    void cycles()
    {
        fixture f("<pin>4</pin><on><mode>1</mode><interval>600000</interval></on>"
                  "<off><mode>0</mode><interval>300000</interval></off>");
        f.tested.start();
        QCOMPARE(f.tested.onTimer()->interval(), 600000);
        QCOMPARE(f.tested.offTimer()->interval(), 300000);
        for (int cycle = 0; cycle < 2; ++cycle) {
            QCOMPARE(f.take(), switchedOn);
            f.host.advance(300999);
            expire(f.tested.offTimer());
            QCOMPARE(f.take(), switchedOff(300));
            QCOMPARE(f.pin(), QByteArray("0\n"));
            f.host.advance(300000);
            expire(f.tested.onTimer());
            QVERIFY(f.tested.offTimer()->isActive());
        }
        f.take();
        expire(f.tested.onTimer()); // already on
        QCOMPARE(f.take(), QStringList());
    }

    void obeysTheModes_data()
    {
        QTest::addColumn<int>("onMode");
        QTest::addColumn<int>("offMode");
        QTest::addColumn<bool>("timedOff");
        QTest::addColumn<bool>("ruleOff");
        QTest::newRow("once, off by a rule") << 0 << 3 << false << true;
        QTest::newRow("once, never off") << 0 << 2 << false << false;
        QTest::newRow("once, never off, mode 4") << 0 << 4 << false << false;
        QTest::newRow("repeated, off by a rule only") << 1 << 4 << false << true;
        QTest::newRow("repeated, timed") << 2 << 3 << true << true;
    }
    void obeysTheModes()
    {
        QFETCH(int, onMode);
        QFETCH(int, offMode);
        QFETCH(bool, ruleOff);
        fixture f("<pin>4</pin><on><mode>" + QByteArray::number(onMode) + "</mode></on><off><mode>"
            + QByteArray::number(offMode) + "</mode>" + ruleOf("level &gt; 3") + "</off>");
        f.tested.start();
        QCOMPARE(f.tested.onTimer()->isActive(), onMode != 0);
        QTEST(f.tested.offTimer()->isActive(), "timedOff");
        f.take();
        f.store.store("level", 4);
        QCOMPARE(f.take(), ruleOff ? switchedOff(0) : QStringList());
        QVERIFY(f.log.texts().contains("Power off condition rules matched"));
        QVERIFY(!f.tested.offTimer()->isActive());
    }

    void evaluatesEveryRuleWhileOn()
    {
        fixture f("<pin>4</pin><off>" + ruleOf("a == 1") + ruleOf("a +") + ruleOf("a + b == 2") + "</off>");
        f.store.store("b", 1);
        QCOMPARE(f.log.texts(), QStringList()); // off
        f.tested.start();
        f.log.clear();
        f.store.store("a", 0);
        f.store.store("a", 1);
        QCOMPARE(f.log.texts(),
            (QStringList{"Rule[0] Result 0 - OK 1", "Rule[1] Result 0 - OK 0", "Rule[2] Result 0 - OK 1",
                "Rule[0] Result 1 - OK 1", "Rule[1] Result 0 - OK 0", "Rule[2] Result 1 - OK 1",
                "Power off condition rules matched", "Pin 4 - Power off"}));
        f.log.clear();
        f.store.store("a", 1);
        QCOMPARE(f.log.texts(), QStringList());
    }

    void doesNothingWithoutAPinOrWhenForced()
    {
        fixture f("<on><mode>1</mode></on>");
        f.tested.start();
        f.tested.powerOff();
        QVERIFY(!f.tested.hasPin() && !f.tested.isPowered());
        f.tested.configure(xml("<supply><pin>4</pin></supply>"));
        QVERIFY(!f.tested.hasPin());
        f.tested.configure(xml("<power><pin>4</pin></power>"));
        f.tested.forceOff = true;
        f.tested.powerOn();
        QVERIFY(!f.tested.isPowered());
        f.tested.forceOff = false;
        f.tested.powerOn();
        f.take();
        f.tested.forceOn = true;
        f.tested.powerOff();
        QCOMPARE(f.take(), QStringList());
    }

    void drivesTheGivenPinDriver()
    {
        fixture f("<pin>4</pin>");
        gpioInterface other(f.host.system());
        other.invert = true;
        f.tested.setGpio(&other);
        f.tested.start();
        QCOMPARE(f.pin(), QByteArray("0\n"));
    }

    void sharesWithItsCopyWhateverEndsFirst()
    {
        fixture f("");
        {
            fixture origin("<pin>4</pin><on><mode>1</mode></on><off>" + ruleOf("a == 1") + "</off>");
            origin.tested.start();
            f.tested.copyPowerControl(&origin.tested);
            QCOMPARE(f.tested.offTimer(), origin.tested.offTimer());
        }
        QVERIFY(f.tested.isPowered());
        f.tested.setDataStore(&f.store);
        f.store.store("a", 0);
        QVERIFY(f.tested.isPowered());
    }

    void followsTheStoreOnTheThreadThatStartedIt()
    {
        const warnings seen;
        {
            fixture f("<pin>4</pin><on><mode>1</mode><interval>5</interval></on><off><mode>4</mode>"
                + ruleOf("level &gt; 3") + "</off>");
            QThread thread;
            QObject worker;
            worker.moveToThread(&thread);
            QEventLoop loop;
            QList<QThread *> threads; // of the switching on, off, and on again by the timer
            connect(
                &f.tested, &powerControl::powerIsOn, &loop,
                [&] {
                    f.store.store("level", 0);
                    f.store.store("level", 4);
                },
                Qt::QueuedConnection);
            connect(
                &f.tested, &powerControl::resultAvailable, &worker,
                [&](const QString &key) {
                    if (key == QLatin1String("power"))
                        threads.append(QThread::currentThread());
                    if (threads.count() == 3)
                        thread.quit();
                },
                Qt::DirectConnection);
            connect(&thread, &QThread::finished, &loop, &QEventLoop::quit, Qt::QueuedConnection);
            connect(&thread, &QThread::started, &worker, [&] { f.tested.start(); });
            thread.start();
            loop.exec();
            thread.wait();
            QCOMPARE(threads, (QList<QThread *>{&thread, &thread, &thread}));
            QVERIFY(!f.tested.onTimer()->isActive());
        }
        QCOMPARE(seen.count(), 0);
    }
};

QTEST_GUILESS_MAIN(tst_powerControl)
#include "tst_powerControl.moc"
