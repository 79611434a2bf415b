#include "lib/instruments/interfaceCard/boilerSwitchBoard.h"

#include "lib/communications/debugComponent.h"
#include "lib/instruments/interfaceCard/bsbGuiCtrlChan.h"
#include "lib/interfaces/i2cInterface.h"
#include "lib/types/datastore.h"
#include "tests/support/expire.h"
#include "tests/support/fakeBus.h"
#include "tests/support/fakeInterface.h"
#include "tests/support/launch.h"
#include "tests/support/logSink.h"

#include <QComboBox>
#include <QSignalSpy>
#include <QTimer>
#include <QtTest>

#include <limits>

namespace {
constexpr int card = 0x30;

QByteArray floatBytes(float value)
{
    return QByteArray(reinterpret_cast<const char *>(&value), sizeof value);
}

struct fixture {
    fakeBus bus;
    datastore store{nullptr, bus};
    i2cInterface line{bus};
    fakeInterface noBus{"serial"};
    QList<interface *> ifaces{&line, &noBus};
    logSink sink;
    boilerSwitchBoard board{&store, &ifaces, nullptr, bus};
    QSignalSpy results{&board, &instrument::resultAvailable};

    explicit fixture(const QByteArray &children = "<interface>i2c</interface>")
    {
        line.configure(xml("<interface><name>i2c</name><device>/dev/i2c-1</device></interface>"));
        QObject::connect(&board, &instrument::resultAvailable, &store,
            QOverload<const QString &, const QVariant &>::of(&datastore::store));
        board.debug->registerWithClient(&sink);
        launch(board, "<instrument>" + children + "</instrument>");
    }
    QTimer *timer() { return board.findChild<QTimer *>(); }
    void sample()
    {
        results.clear();
        expire(timer());
    }
    /// What was published under keys that begin with "boiler" and \a prefix.
    QString published(const QString &prefix) const
    {
        QStringList all;
        for (const QList<QVariant> &result : results) {
            const QString key = result[0].toString();
            if (key.startsWith("boiler" + prefix))
                all << key.mid(6) + '=' + result[1].toString();
        }
        return all.join(' ');
    }
    /// What went over the bus, in hexadecimal.
    QString traffic() const
    {
        QStringList all;
        for (const fakeBus::transfer &each : bus.writes())
            all << (each.address == card ? QString(each.bytes.toHex()) : "other chip");
        return all.join(' ');
    }
};
}

class tst_boilerSwitchBoard : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase() { qRegisterMetaType<datastoreElementType>(); }

    void publishesWhatTheCardMeasures_data()
    {
        QTest::addColumn<int>("command");
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("published");
        QTest::addColumn<int>("retries");
        const auto row = [](const char *title, int command, const QByteArray &bytes, const QString &key,
                             const QString &published, int retries = 0) {
            QTest::newRow(title) << command << bytes << key << published << retries;
        };
        row("switch missing", 0x02, "\xFF", "Prs1", "");
        row("switch 1 low, foreign bit", 0x02, "\x82", "Prs1",
            "Prs1State=130 Prs1Fault=false Prs1Low=true Prs1OK=false Prs1High=false");
        row("switch 2, fault and OK", 0x12, "\x05", "Prs2",
            "Prs2State=5 Prs2Fault=true Prs2Low=false Prs2OK=true Prs2High=false");
        row("relay 1 on", 0x32, "\1", "Power1C", "Power1Control=true");
        row("highest pressure", 0x01, floatBytes(3.875F), "Pressure1", "Pressure1=3.875");
        row("pressure too high", 0x11, floatBytes(3.91F), "Pressure2", "");
        row("flow too high", 0x22, floatBytes(50.1F), "Flowrate2", "");
        row("slightly negative current", 0x34, floatBytes(-0.0625F), "Current1", "Current1=-0.0625");
        row("negative current", 0x34, floatBytes(-0.1F), "Current1", "", 5);
        row("current too high", 0x44, floatBytes(15.1F), "Current2", "");
        row("no number", 0x01, floatBytes(std::numeric_limits<float>::quiet_NaN()), "Pressure1", "", 5);
    }
    void publishesWhatTheCardMeasures()
    {
        QFETCH(int, command);
        QFETCH(QByteArray, bytes);
        QFETCH(QString, key);
        QFETCH(int, retries);
        fixture f;
        f.bus.setRegisters(card, command, bytes);
        f.sample();
        QTEST(f.published(key), "published");
        QCOMPARE(f.bus.sleptMs(), 10 * retries);
    }

    void givesTheBusBackInBetweenAndOnEveryFailure()
    {
        fixture f;
        const int opens = f.bus.opens();
        f.sample();
        QCOMPARE(f.bus.opens() - opens, 14); // others may use the bus in between
        f.bus.refuseTransfers(5);            // five attempts, then the sample goes on
        f.sample();
        QVERIFY(f.published("Prs1State").isEmpty());
        QVERIFY(!f.published("Prs2State").isEmpty());
        QCOMPARE(f.bus.sleptMs(), 50);
        f.bus.shortenTransfers(1);
        f.sample();
        QVERIFY(!f.published("Prs1State").isEmpty());
        f.bus.refuseAddresses(true);
        f.sample();
        QCOMPARE(f.results.count(), 0);
        QCOMPARE(f.sink.texts().last(), QString("Failed to set address on I2C bus"));
        f.bus.refuseAddresses(false);
        f.bus.refuseOpens(1000);
        f.sample();
        QCOMPARE(f.results.count(), 0);
        QCOMPARE(f.sink.texts().last(), QString("Failed to grab I2C bus"));
        QCOMPARE(f.bus.closes(), f.bus.opens());
    }

    void debouncesTheMainsSense_data()
    {
        QTest::addColumn<QByteArray>("input");     // one sample each; F is 0xFF
        QTest::addColumn<QByteArray>("published"); // . nothing, 1 true, 0 false
        QTest::newRow("six to the first value") << QByteArray("1111111") << QByteArray(".....11");
        QTest::newRow("twelve from clamp to clamp")
            << QByteArray("111111110000000000000") << QByteArray(".....111...........00");
        QTest::newRow("a spike") << QByteArray("111111011") << QByteArray(".....1.11");
        QTest::newRow("a missing value says nothing") << QByteArray("111111F1") << QByteArray(".....1.1");
    }
    void debouncesTheMainsSense()
    {
        QFETCH(QByteArray, input);
        fixture f;
        QByteArray published;
        for (const char level : qAsConst(input)) {
            f.bus.setRegisters(card, 0x43, QByteArray(1, level == 'F' ? '\xFF' : char(level - '0')));
            f.sample();
            const QString result = f.published("Power2Sense");
            published += result.isEmpty() ? '.' : result == "Power2Sense=true" ? '1' : '0';
        }
        QTEST(published, "published");
    }

    void relaysFollowTheStoredDemands()
    {
        fixture f("<interface>i2c</interface><chan1default>1</chan1default><chan2default>0</chan2default>");
        QCOMPARE(f.traffic(), QString("3101 4100")); // at once
        f.store.store("boilerPower1Demand", false);
        f.store.store("boilerPower2Demand", 1);
        f.sample();
        f.sample(); // written again, changed or not
        QCOMPARE(f.traffic().mid(9), QString(" 02 12 01 11 21 22 34 44 32 42 33 43 3100 4101").repeated(2));
        f.board.stop();
        QVERIFY(f.traffic().endsWith(" 3100 4101 3100 4100"));
        QVERIFY(f.timer()->isActive());
    }

    void staysIdleWithoutABus()
    {
        for (const char *name : {"I2C", "serial", ""}) {
            fixture f(QByteArray("<interface>i2c</interface><interface>X</interface>").replace("X", name));
            f.board.stop();
            QVERIFY(!f.timer());
            QCOMPARE(f.bus.opens(), 0);
            QCOMPARE(f.sink.texts(), QStringList{"No I2C bus configured. Will not start instrument"});
        }
    }

    void channelSelectorIsForDisplayOnly()
    {
        fixture f("<interface>i2c</interface><chan1name>Pump</chan1name>");
        auto *const first = f.board.control->findChild<bsbGuiCtrlChan *>();
        QCOMPARE(first->title(), QString("Pump"));
        auto *const box = first->findChild<QComboBox *>();
        box->setCurrentIndex(box->findText("On"));
        QVERIFY(first->on());
        QCOMPARE(f.traffic(), QString("3100 4100"));
    }
};

QTEST_MAIN(tst_boilerSwitchBoard)
#include "tst_boilerSwitchBoard.moc"
