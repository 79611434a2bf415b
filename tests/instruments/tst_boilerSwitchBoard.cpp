#include "lib/instruments/interfaceCard/boilerSwitchBoard.h"

#include "lib/instruments/interfaceCard/bsbGuiCtrlChan.h"
#include "tests/support/fakeInterface.h"
#include "tests/support/testedDevice.h"

#include <QTest>

#include <limits>

namespace {
constexpr int card = 0x30;
const QString readings = "02 12 01 11 21 22 34 44 32 42 33 43 ";

QByteArray bytes(float value)
{
    return QByteArray(reinterpret_cast<const char *>(&value), sizeof value);
}

struct fixture : testedDevice<boilerSwitchBoard> {
    explicit fixture(const QByteArray &keys = {}) { start("<interface>i2c</interface>" + keys); }
    /// What one more sample publishes under keys that begin with "boiler" and \a prefix.
    QString sample(const QString &prefix)
    {
        return testedDevice::sample().split(' ').filter("boiler" + prefix).join(' ').remove("boiler");
    }
    /// What went over the bus to the card.
    QString traffic() { return host.takeTraffic().remove(QString::number(card, 16) + ':'); }
};
}

class tst_boilerSwitchBoard : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase() { qRegisterMetaType<datastoreElementType>(); }

    void publishesWhatTheCardMeasures()
    {
        struct row {
            int command;
            QByteArray answer;
            QString key;
            QString published;
            int retries = 0;
        };
        const QList<row> rows{{0x02, "\xFF", "Prs1", ""},
            {0x02, "\x82", "Prs1", "Prs1State=130 Prs1Fault=false Prs1Low=true Prs1OK=false Prs1High=false"},
            {0x02, "\x0C", "Prs1", "Prs1State=12 Prs1Fault=false Prs1Low=false Prs1OK=true Prs1High=true"},
            {0x12, "\x05", "Prs2", "Prs2State=5 Prs2Fault=true Prs2Low=false Prs2OK=true Prs2High=false"},
            {0x32, "\1", "Power1C", "Power1Control=true"},
            {0x01, bytes(3.875F), "Pressure1", "Pressure1=3.875"}, {0x11, bytes(3.91F), "Pressure2", ""},
            {0x22, bytes(50.1F), "Flowrate2", ""}, {0x34, bytes(-0.0625F), "Current1", "Current1=-0.0625"},
            {0x34, bytes(-0.1F), "Current1", "", 5}, {0x44, bytes(15.1F), "Current2", ""},
            {0x01, bytes(std::numeric_limits<float>::quiet_NaN()), "Pressure1", "", 5}};
        for (const row &each : rows) {
            fixture f;
            f.host.setRegisters(card, each.command, each.answer);
            QCOMPARE(f.sample(each.key), each.published);
            QCOMPARE(f.host.sleptMs(), 10 * each.retries);
        }
    }

    void givesTheBusBackInBetweenAndOnEveryFailure()
    {
        fixture f;
        const int opens = f.host.opens();
        f.sample("");
        QCOMPARE(f.host.opens() - opens, 14); // others may use the bus in between
        f.host.refusedTransfers = 5;          // five attempts, then the sample goes on
        const QString published = f.sample("Prs");
        QVERIFY(!published.contains("Prs1State") && published.contains("Prs2State"));
        QCOMPARE(f.host.sleptMs(), 50);
        f.host.shortTransfers = 1;
        QVERIFY(!f.sample("Prs1State").isEmpty());
        f.host.refusesAddresses = true;
        QCOMPARE(f.sample(""), QString());
        QCOMPARE(f.device.debug->lastLog(), QString("Failed to set address on I2C bus"));
        f.host.refusedOpens = 1000;
        QCOMPARE(f.sample(""), QString());
        QCOMPARE(f.device.debug->lastLog(), QString("Failed to grab I2C bus"));
        QVERIFY(f.host.isFree());
    }

    void answersDoNotWaitForASlowOne()
    {
        fixture f;
        f.host.setRegisters(card, 0x01, bytes(std::numeric_limits<float>::quiet_NaN())); // asked five times
        QMap<QString, qint64> sleptBefore;
        connect(&f.device, &instrument::resultAvailable, &f.device,
            [&](const QString &key) { sleptBefore[key] = f.host.sleptMs(); });
        f.sample("");
        QCOMPARE(sleptBefore["boilerPrs2High"], qint64(0));
        QCOMPARE(sleptBefore["boilerPressure2"], qint64(50));
    }

    void debouncesTheMainsSense()
    {
        const QList<QPair<QByteArray, QByteArray>> rows{// samples, F is 0xFF; . nothing, 1 true, 0 false
            {"111111110000000000000", ".....111...........00"}, // six, then twelve from clamp to clamp
            {"111111011F1", ".....1.11.1"}};                    // a spike; a missing value says nothing
        for (const auto &[input, output] : rows) {
            fixture f;
            QByteArray published;
            for (const char level : input) {
                f.host.setRegisters(card, 0x43, QByteArray(1, level == 'F' ? '\xFF' : char(level - '0')));
                const QString result = f.sample("Power2Sense");
                published += result.isEmpty() ? '.' : result == "Power2Sense=true" ? '1' : '0';
            }
            QCOMPARE(published, output);
        }
    }

    void relaysFollowTheStoredDemands()
    {
        fixture f("<chan1default>1</chan1default><chan2default>0</chan2default><period>1 "
                  "s</period><chan1name>Pump</chan1name>");
        QCOMPARE(f.device.control->findChild<bsbGuiCtrlChan *>()->title(), QString("Pump"));
        QCOMPARE(f.traffic(), QString("3101 4100")); // at once
        QCOMPARE(f.published.take(), QString("boilerPower1Demand=true boilerPower2Demand=false"));
        f.store.store("boilerPower1Demand", false);
        f.store.store("boilerPower2Demand", 1);
        for (int sample = 0; sample < 2; ++sample) { // written again, changed or not
            f.sample("");
            QCOMPARE(f.traffic(), readings + "3100 4101");
        }
        f.device.stop();
        QCOMPARE(f.traffic(), QString("3100 4100"));
        QVERIFY(f.timer()->isActive() && f.timer()->interval() == 1000); // "1 s" is no period
    }

    void staysIdleWithoutABus()
    {
        for (const char *name : {"I2C", "serial"}) {
            fakeInterface serial("serial");
            testedDevice<boilerSwitchBoard> f;
            f.interfaces.append(&serial);
            f.start(QByteArray("<interface>i2c</interface><interface>") + name + "</interface>");
            f.device.stop();
            QVERIFY(!f.timer() && f.host.opens() == 0);
        }
    }
};

QTEST_MAIN(tst_boilerSwitchBoard)
#include "tst_boilerSwitchBoard.moc"
