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
#include <QGridLayout>
#include <QSignalSpy>
#include <QThread>
#include <QTimer>
#include <QtTest>

#include <atomic>
#include <limits>

namespace {
constexpr int card = 0x30;
constexpr int exchangesPerSample = 14;

QByteArray floatBytes(float value)
{
    return QByteArray(reinterpret_cast<const char *>(&value), sizeof value);
}

/// Text that differs by type: true, 4, 3.9, and a mark on what should not appear.
QString show(const QVariant &value)
{
    switch (value.userType()) {
    case QMetaType::Double:
        return QString::number(value.toDouble(), 'g', 6);
    case QMetaType::Bool:
    case QMetaType::Int:
        return value.toString();
    default:
        return QString("?%1").arg(value.typeName());
    }
}

/// Ends so that the thread sanitizer sees it: QThread::wait() alone is no join to it.
class instrumentThread : public QThread
{
public:
    explicit instrumentThread(instrument &device)
        : m_device(device)
    {
    }
    void run() override
    {
        exec();
        m_device.findChild<QTimer *>()->stop();
        connect(
            this, &QThread::finished, this, [this] { ended = true; }, Qt::DirectConnection); // the last one
    }

    std::atomic<bool> ended{false};

private:
    instrument &m_device;
};

struct fixture {
    fakeBus bus;
    datastore store{nullptr, bus};
    i2cInterface line{bus};
    QList<interface *> ifaces{&line};
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
                all << key.mid(6) + '=' + show(result[1]);
        }
        return all.join(' ');
    }
    /// What went over the bus from transfer \a from on, in hexadecimal.
    QString traffic(int from) const
    {
        QStringList all;
        const QList<fakeBus::transfer> writes = bus.writes();
        for (const fakeBus::transfer &each : writes.mid(from))
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
        const auto byte
            = [](const char *title, int command, int value, const QString &key, const QString &published) {
                  QTest::newRow(title) << command << QByteArray(1, char(value)) << key << published << 0;
              };
        const auto real = [](const char *title, int command, float value, const QString &key,
                              const QString &published, int retries = 0) {
            QTest::newRow(title) << command << floatBytes(value) << key << published << retries;
        };
        byte("switch 1 missing", 0x02, 0xFF, "Prs1", "");
        byte("switch 1, all flags", 0x02, 0x0F, "Prs1",
            "Prs1State=15 Prs1Fault=true Prs1Low=true Prs1OK=true Prs1High=true");
        byte("switch 1 low, foreign bit", 0x02, 0x82, "Prs1",
            "Prs1State=130 Prs1Fault=false Prs1Low=true Prs1OK=false Prs1High=false");
        byte("switch 2 OK", 0x12, 0x04, "Prs2",
            "Prs2State=4 Prs2Fault=false Prs2Low=false Prs2OK=true Prs2High=false");
        byte("switch 2 fault", 0x12, 0x01, "Prs2",
            "Prs2State=1 Prs2Fault=true Prs2Low=false Prs2OK=false Prs2High=false");
        byte("relay 1 on", 0x32, 1, "Power1C", "Power1Control=true");
        byte("relay 1 missing", 0x32, 0xFF, "Power1C", "");
        byte("relay 2 off", 0x42, 0, "Power2C", "Power2Control=false");
        real("highest pressure", 0x01, 3.9F, "Pressure1", "Pressure1=3.9");
        real("pressure too high", 0x11, 3.91F, "Pressure2", "");
        real("slightly negative pressure", 0x11, -0.05F, "Pressure2", "");
        real("highest flow", 0x21, 50.0F, "Flowrate1", "Flowrate1=50");
        real("flow too high", 0x22, 50.1F, "Flowrate2", "");
        real("slightly negative current", 0x34, -0.05F, "Current1", "Current1=-0.05");
        real("negative current", 0x34, -0.2F, "Current1", "", 5);
        real("just not above the limit", 0x34, -0.1F, "Current1", "", 5);
        real("highest current", 0x44, 15.0F, "Current2", "Current2=15");
        real("current too high", 0x44, 15.1F, "Current2", "");
        real("no number", 0x01, std::numeric_limits<float>::quiet_NaN(), "Pressure1", "", 5);
        real("infinite", 0x11, std::numeric_limits<float>::infinity(), "Pressure2", "", 5);
        real("negative infinite", 0x44, -std::numeric_limits<float>::infinity(), "Current2", "", 5);
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
        QCOMPARE(f.bus.closes(), f.bus.opens());
    }

    void samplesInAFixedOrder()
    {
        fixture f("<Interface>i2c</Interface><chan2default>1</chan2default><period>250</period>");
        QCOMPARE(f.timer()->interval(), 250);
        const int before = f.bus.writes().size();
        const int opens = f.bus.opens();
        f.sample();
        QCOMPARE(f.traffic(before), QString("02 12 01 11 21 22 34 44 32 42 33 43 3100 4101"));
        QCOMPARE(f.bus.opens() - opens, exchangesPerSample); // others may use the bus in between
        QStringList keys;
        for (const QList<QVariant> &result : f.results)
            keys << result[0].toString().mid(6);
        QCOMPARE(keys.join(' '),
            QString("Prs1State Prs1Fault Prs1Low Prs1OK Prs1High Prs2State Prs2Fault Prs2Low Prs2OK Prs2High "
                    "Pressure1 Pressure2 Flowrate1 Flowrate2 Current1 Current2 Power1Control Power2Control"));
        QCOMPARE(f.sink.texts(), QStringList());
    }

    void debouncesTheMainsSense_data()
    {
        QTest::addColumn<QByteArray>("input");     // one sample each; F is 0xFF
        QTest::addColumn<QByteArray>("published"); // . nothing, 1 true, 0 false
        QTest::newRow("six to the first value") << QByteArray("1111111") << QByteArray(".....11");
        QTest::newRow("six down") << QByteArray("0000000") << QByteArray(".....00");
        QTest::newRow("twelve from clamp to clamp")
            << QByteArray("111111110000000000000") << QByteArray(".....111...........00");
        QTest::newRow("and back") << QByteArray("000000111111111111") << QByteArray(".....0...........1");
        QTest::newRow("a spike") << QByteArray("111111011") << QByteArray(".....1.11");
        QTest::newRow("others do not count") << QByteArray("11111212") << QByteArray("......11");
        QTest::newRow("a missing value says nothing") << QByteArray("111111F1") << QByteArray(".....1.1");
    }
    void debouncesTheMainsSense()
    {
        QFETCH(QByteArray, input);
        for (const int channel : {1, 2}) {
            fixture f;
            QByteArray published;
            for (const char level : qAsConst(input)) {
                f.bus.setRegisters(card, channel == 1 ? 0x33 : 0x43,
                    QByteArray(1, level == 'F' ? '\xFF' : char(level - '0')));
                f.sample();
                const QString key = QString("Power%1Sense").arg(channel);
                const QString result = f.published(key);
                published += result.isEmpty() ? '.' : result == key + "=true" ? '1' : '0';
            }
            QTEST(published, "published");
        }
    }

    void repeatsAnExchangeFiveTimes_data()
    {
        QTest::addColumn<int>("failures");
        QTest::addColumn<bool>("shortened");
        QTest::addColumn<bool>("succeeds");
        QTest::newRow("refused four times") << 4 << false << true;
        QTest::newRow("refused five times") << 5 << false << false;
        QTest::newRow("cut short once") << 1 << true << true;
    }
    void repeatsAnExchangeFiveTimes()
    {
        QFETCH(int, failures);
        QFETCH(bool, shortened);
        fixture f;
        shortened ? f.bus.shortenTransfers(failures) : f.bus.refuseTransfers(failures);
        f.sample();
        QTEST(!f.published("Prs1State").isEmpty(), "succeeds");
        QVERIFY(!f.published("Prs2State").isEmpty()); // the sample goes on
        QCOMPARE(f.bus.sleptMs(), 10 * failures);
        QCOMPARE(f.bus.closes(), f.bus.opens());
    }

    void givesTheBusBackOnEveryFailure_data()
    {
        QTest::addColumn<int>("refusedOpens");
        QTest::addColumn<bool>("refuseAddresses");
        QTest::addColumn<int>("refusedTransfers");
        QTest::addColumn<int>("sleptMs"); // in a whole sample
        QTest::addColumn<QString>("logged");
        QTest::addColumn<int>("times");
        const int always = 1000;
        // The interface logs the refused grab in the same words.
        QTest::newRow("no bus") << always << false << 0 << 1000 * exchangesPerSample
                                << "Failed to grab I2C bus" << 2 * exchangesPerSample;
        QTest::newRow("no chip") << 0 << true << 0 << 0 << "Failed to set address on I2C bus"
                                 << exchangesPerSample;
        QTest::newRow("no answer") << 0 << false << always << 50 * exchangesPerSample
                                   << "Failed to grab I2C bus" << 0;
    }
    void givesTheBusBackOnEveryFailure()
    {
        QFETCH(int, refusedOpens);
        QFETCH(bool, refuseAddresses);
        QFETCH(int, refusedTransfers);
        QFETCH(QString, logged);
        fixture f;
        f.bus.refuseOpens(refusedOpens);
        f.bus.refuseAddresses(refuseAddresses);
        f.bus.refuseTransfers(refusedTransfers);
        f.sample();
        QCOMPARE(f.results.count(), 0);
        QTEST(int(f.bus.sleptMs()), "sleptMs");
        QTEST(f.sink.texts().count(logged), "times");
        QCOMPARE(f.bus.closes(), f.bus.opens());
        f.bus.refuseOpens(0);
        f.bus.refuseAddresses(false);
        f.bus.refuseTransfers(0);
        f.sample();
        QVERIFY(!f.published("Prs1State").isEmpty());
    }

    void relaysFollowTheStoredDemands()
    {
        fixture f("<interface>i2c</interface><chan1default>1</chan1default><chan2default>0</chan2default>");
        QCOMPARE(f.traffic(0), QString("3101 4100")); // at once
        QCOMPARE(f.published("Power"), QString("Power1Demand=true Power2Demand=false"));
        f.sample();
        QVERIFY(f.traffic(0).endsWith(" 3101 4100"));
        f.store.store("boilerPower1Demand", false);
        f.store.store("boilerPower2Demand", 1);
        f.sample();
        QVERIFY(f.traffic(0).endsWith(" 3100 4101"));
        f.sample(); // written again, changed or not
        QVERIFY(f.traffic(0).endsWith(" 3100 4101"));
        f.board.stop();
        QVERIFY(f.traffic(0).endsWith(" 3100 4101 3100 4100"));
        QVERIFY(f.timer()->isActive());
    }

    void staysIdleWithoutABus_data()
    {
        QTest::addColumn<QByteArray>("children");
        QTest::newRow("no interface") << QByteArray("<chan1default>1</chan1default>");
        QTest::newRow("unknown") << QByteArray("<interface>I2C</interface>");
        QTest::newRow("the last one decides") << QByteArray("<interface>i2c</interface><interface/>");
    }
    void staysIdleWithoutABus()
    {
        QFETCH(QByteArray, children);
        fixture f(children);
        f.board.stop();
        QVERIFY(!f.timer());
        QCOMPARE(f.bus.opens(), 0);
        QCOMPARE(f.sink.texts(), QStringList{"No I2C bus configured. Will not start instrument"});
    }

    void usesOnlyAnI2cInterface()
    {
        fakeBus bus;
        fakeInterface line("line");
        QList<interface *> ifaces{&line};
        boilerSwitchBoard board(nullptr, &ifaces, nullptr, bus);
        launch(board, "<instrument><interface>line</interface></instrument>");
        QCOMPARE(board.debug->lastLog(), QString("No I2C bus configured. Will not start instrument"));
    }

    void showsItsChannels()
    {
        fixture f("<interface>i2c</interface><chan1name>Pump</chan1name>");
        auto *const grid = qobject_cast<QGridLayout *>(f.board.control->layout());
        auto *const first = qobject_cast<bsbGuiCtrlChan *>(grid->itemAtPosition(1, 1)->widget());
        auto *const second = qobject_cast<bsbGuiCtrlChan *>(grid->itemAtPosition(1, 2)->widget());
        QCOMPARE(first->title(), QString("Pump"));
        QCOMPARE(second->title(), QString("Channel2"));
        QVERIFY(!first->on());
        const int transfers = f.bus.writes().size();
        auto *const box = first->findChild<QComboBox *>();
        box->setCurrentIndex(box->findText("On"));
        QVERIFY(first->on());
        QCOMPARE(f.bus.writes().size(), transfers); // display only
    }

    void worksOnAThreadOfItsOwn()
    {
        fakeBus bus;
        datastore store(nullptr, bus);
        i2cInterface line(bus);
        QList<interface *> ifaces; // the interface stands behind the instrument in the file
        boilerSwitchBoard board(&store, &ifaces, nullptr, bus);
        board.configure(xml("<instrument><interface>i2c</interface><period>0</period>"
                            "<chan1name>Pump</chan1name></instrument>"));
        line.configure(xml("<interface><name>i2c</name><power><pin>4</pin></power></interface>"));
        ifaces.append(&line);
        QObject::connect(&board, &instrument::resultAvailable, &store,
            QOverload<const QString &, const QVariant &>::of(&datastore::store));
        instrumentThread thread(board);
        board.moveToThread(&thread);
        QObject::connect(&thread, &QThread::started, &board, &instrument::start);
        thread.start();
        QTRY_VERIFY(store.query("boilerPower1Control").isValid());
        store.store("boilerPower1Demand", true);
        QTRY_COMPARE(bus.registers(card, 0x31, 1), QByteArray(1, '\1'));
        QTRY_VERIFY(store.query("boilerpower").toBool());
        thread.quit();
        QVERIFY(thread.wait());
        QVERIFY(thread.ended);
        auto *const grid = qobject_cast<QGridLayout *>(board.control->layout());
        QTRY_COMPARE(
            qobject_cast<bsbGuiCtrlChan *>(grid->itemAtPosition(1, 1)->widget())->title(), QString("Pump"));
    }
};

QTEST_MAIN(tst_boilerSwitchBoard)
#include "tst_boilerSwitchBoard.moc"
