#include "lib/interfaces/interface.h"

#include "lib/communications/debugComponent.h"
#include "lib/support/powerControl.h"
#include "tests/support/expire.h"
#include "tests/support/launch.h"
#include "tests/support/logSink.h"
#include "tests/support/warnings.h"

#include <QSignalSpy>
#include <QTest>
#include <QThread>
#include <QTimer>

namespace {
/// A device that refuses to open, or fails to write, when told to.
class stubDevice : public QIODevice
{
public:
    bool refuse = false;
    bool failWrites = false;
    QList<OpenMode> modes;
    QThread *openedOn = nullptr;

    bool open(OpenMode mode) override
    {
        modes.append(mode);
        openedOn = QThread::currentThread();
        return !std::exchange(refuse, false) && QIODevice::open(mode);
    }

protected:
    qint64 readData(char *, qint64) override { return 0; }
    qint64 writeData(const char *, qint64 len) override { return failWrites ? -1 : len; }
};

/// Stands in the place of an instrument: keeps what it is told as texts "key=value".
class resultList : public QObject
{
    Q_OBJECT
public:
    QStringList all;
    /// What came since the last call.
    QStringList take() { return std::exchange(all, {}); }

protected slots:
    void decoderResult(const QString &key, const QVariant &value)
    {
        all.append(key + QLatin1Char('=') + value.toString());
    }
};

class stubInterface : public interface
{
public:
    explicit stubInterface(const QByteArray &keys = {})
    {
        debug->registerWithClient(&log);
        attachSignals(&results);
        configure(xml("<interface>" + keys + "</interface>"));
    }
    void use(QIODevice *device) { stream = device; }
    QTimer *timer() const { return reconnectTimer.get(); }

    logSink log;
    resultList results;
};

/// Runs \a work on a thread of its own, whose event loop ends when \a end is emitted.
template <class Work, class Sender, class Signal>
void runOnThread(QThread &thread, Work work, Sender *sender, Signal end)
{
    QObject worker;
    worker.moveToThread(&thread);
    QEventLoop loop;
    QObject::connect(sender, end, &loop, &QEventLoop::quit, Qt::QueuedConnection);
    QObject::connect(&thread, &QThread::started, &worker, work);
    thread.start();
    loop.exec();
    thread.quit();
    thread.wait();
}

const QStringList opened{"commsState=Open", "commsFail=0"};
}

class tst_interface : public QObject
{
    Q_OBJECT
private slots:
    void readsTheCommonKeys()
    {
        const stubInterface tested("<NAME>Bus1</NAME><other/><!-- --><power><pin>4</pin></power>");
        QCOMPARE(tested.name(), QStringLiteral("Bus1"));
        QCOMPARE(tested.type(), QStringLiteral("generic"));
        QVERIFY(tested.power->hasPin());
    }

    void retriesAFailedOpenAfterTheDelay_data()
    {
        QTest::addColumn<QByteArray>("keys");
        QTest::addColumn<int>("delayMs");
        QTest::addColumn<QString>("seconds");
        QTest::newRow("default") << QByteArray() << 30000 << "30";
        QTest::newRow("configured") << QByteArray("<reconnent>1500</reconnent>") << 1500 << "1.5";
        QTest::newRow("right spelling") << QByteArray("<reconnect>1500</reconnect>") << 30000 << "30";
        QTest::newRow("no number") << QByteArray("<reconnent>soon</reconnent>") << 0 << "0";
    }
    void retriesAFailedOpenAfterTheDelay()
    {
        QFETCH(QByteArray, keys);
        stubDevice device;
        stubInterface tested(keys);
        tested.use(&device);
        device.refuse = true;
        QVERIFY(!tested.open(QIODevice::WriteOnly));
        QCOMPARE(tested.results.take(), QStringList{"commsState=Failed to open"});
        QFETCH(QString, seconds);
        QCOMPARE(tested.log.texts().last(),
            QStringLiteral("Failed to open interface. Will try again in %1 seconds").arg(seconds));
        QTEST(tested.timer()->interval(), "delayMs");
        expire(tested.timer());
        QCOMPARE(tested.results.take(), opened);
        QVERIFY(!tested.timer()->isActive());
        QCOMPARE(device.modes, (QList<QIODevice::OpenMode>{QIODevice::WriteOnly, QIODevice::WriteOnly}));
    }

    void reopensAfterTooManyFailedWrites_data()
    {
        QTest::addColumn<QByteArray>("keys");
        QTest::addColumn<int>("failures");
        QTest::newRow("default") << QByteArray() << 11;
        QTest::newRow("none tolerated") << QByteArray("<maxfailures>0</maxfailures>") << 1;
    }
    void reopensAfterTooManyFailedWrites()
    {
        QFETCH(QByteArray, keys);
        QFETCH(int, failures);
        stubDevice device;
        stubInterface tested(keys);
        tested.use(&device);
        QVERIFY(tested.open(QIODevice::ReadWrite));
        QCOMPARE(tested.results.take(), opened);
        device.failWrites = true;
        QStringList expected;
        for (int i = 1; i <= failures; ++i) {
            QCOMPARE(tested.write("a", 1), qint64(-1));
            expected.append(QStringLiteral("commsFail=%1").arg(i));
        }
        expected.append("commsState=Closed");
        QCOMPARE(tested.write("a"), qint64(0)); // closed: not counted
        QCOMPARE(tested.results.take(), expected);
        QCOMPARE(tested.log.texts(),
            QStringList{"Number of acceptable comms failures exceeded, re-opening device"});
        expire(tested.timer());
        QCOMPARE(tested.results.take(), opened);
    }

    void doesNotCountFailedWritesOfByteArrays()
    {
        stubDevice device;
        stubInterface tested("<maxfailures>0</maxfailures>");
        tested.use(&device);
        tested.open(QIODevice::ReadWrite);
        tested.results.take();
        QCOMPARE(tested.write(QByteArray("abc")), qint64(3));
        device.failWrites = true;
        QCOMPARE(tested.write(QByteArray("abc")), qint64(-1));
        QCOMPARE(tested.results.take(), QStringList());
    }

    void answersWithoutADevice()
    {
        stubInterface tested;
        QVERIFY(!tested.isOpen());
        QVERIFY(!tested.open(QIODevice::ReadWrite));
        QCOMPARE(tested.write("abc", 3) + tested.write("abc") + tested.write(QByteArray("abc")), qint64(0));
        QVERIFY(!tested.waitForReadyRead(1) && !tested.waitForBytesWritten(1) && tested.readAll().isEmpty());
        QCOMPARE(tested.results.take(), QStringList());
        tested.close();
        QCOMPARE(tested.results.take(), QStringList{"commsState=Closed"});
        tested.debug->log("Failed to read from the i2c bus.");
        QCOMPARE(tested.errorString(), QStringLiteral("Failed to read from the i2c bus."));
    }

    void passesEachReadyReadOnOnceAfterReopening()
    {
        stubDevice device;
        stubInterface tested;
        tested.use(&device);
        tested.open(QIODevice::ReadWrite);
        tested.close();
        tested.open(QIODevice::ReadWrite);
        QSignalSpy ready(&tested, &interface::readyRead);
        emit device.readyRead();
        QCOMPARE(ready.count(), 1);
    }

    void startsThePowerControllerOnceAndOnlyWithAPin()
    {
        stubInterface without("<power><on><mode>1</mode></on></power>");
        without.startPower(nullptr);
        QCOMPARE(without.log.texts(), QStringList());
        stubInterface with("<power><pin>4</pin></power>");
        with.startPower(nullptr);
        with.startPower(nullptr);
        QCOMPARE(with.results.take(), QStringList{"power=true"});
        QCOMPARE(with.log.texts().count("Power system started"), 1);
    }

    void reopensOnTheThreadThatOpenedFirst()
    {
        const warnings seen;
        stubDevice device;
        device.refuse = true;
        stubInterface tested("<reconnent>10</reconnent>");
        tested.use(&device);
        QThread thread;
        device.moveToThread(&thread);
        tested.results.moveToThread(&thread);
        runOnThread(
            thread, [&] { tested.open(QIODevice::ReadWrite); }, &tested, &interface::interfaceConnected);
        QCOMPARE(device.modes.count(), 2);
        QCOMPARE(device.openedOn, &thread);
        QCOMPARE(tested.results.all, QStringList{"commsState=Failed to open"} + opened);
        QCOMPARE(seen.count(), 0);
    }

    void endsItsTimerWithTheThread()
    {
        const warnings seen;
        {
            stubDevice device;
            device.refuse = true;
            stubInterface tested;
            tested.use(&device);
            QThread thread;
            tested.results.moveToThread(&thread);
            runOnThread(
                thread, [&] { tested.open(QIODevice::ReadWrite); }, &tested, &interface::resultAvailable);
            QVERIFY(!tested.timer()->isActive());
        }
        QCOMPARE(seen.count(), 0);
    }
};

QTEST_GUILESS_MAIN(tst_interface)
#include "tst_interface.moc"
