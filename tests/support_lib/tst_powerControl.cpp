#include "lib/support/powerControl.h"

#include "lib/types/datastore.h"
#include "tests/support/expire.h"
#include "tests/support/fakeHost.h"
#include "tests/support/launch.h"
#include "tests/support/results.h"

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
    testedControl tested{nullptr, host};
    results published{tested};

    explicit fixture(const QByteArray &keys)
    {
        host.write(valueFile, "");
        tested.setDataStore(&store); // as the instrument does: before the rules are known
        tested.configure(xml("<Power><pin>4</pin>" + keys + "</Power>"));
    }
    QByteArray pin() const { return host.read(valueFile).value_or("missing"); }
};

const QString switchedOn = "power=true";
const QString switchedOff = "powerOnDuration=%1 power=false";
}

class tst_powerControl : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase() { qRegisterMetaType<datastoreElementType>(); } // as main() does

    void cycles()
    {
        fixture f("<on><mode>1</mode><interval>60000</interval></on><off><mode>0</mode><interval>5 "
                  "min</interval></off>"
                  "<invert>TRUE</invert>");
        f.tested.start();
        QCOMPARE(f.tested.onTimer()->interval(), 60000);
        QCOMPARE(f.tested.offTimer()->interval(), 300000);
        for (int cycle = 0; cycle < 2; ++cycle) {
            QCOMPARE(f.published.take(), switchedOn);
            QCOMPARE(f.pin(), QByteArray("0\n"));
            expire(f.tested.onTimer()); // already on
            f.host.advance(300999);
            expire(f.tested.offTimer());
            QCOMPARE(f.published.take(), switchedOff.arg(300));
            QCOMPARE(f.pin(), QByteArray("1\n"));
            expire(f.tested.onTimer());
        }
        f.tested.powerOff(); // by a rule
        QVERIFY(!f.tested.offTimer()->isActive());
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
        QCOMPARE(f.published.take(), switchedOn);
    }
};

QTEST_GUILESS_MAIN(tst_powerControl)
#include "tst_powerControl.moc"
