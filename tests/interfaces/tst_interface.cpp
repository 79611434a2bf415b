#include "lib/interfaces/interface.h"

#include "tests/support/expire.h"
#include "tests/support/onThread.h"
#include "tests/support/warnings.h"
#include "tests/support/watchedInterface.h"

#include <QSignalSpy>
#include <QTest>

namespace {
/// A device that refuses to open, or fails to write, when told to.
struct stubDevice : QIODevice {
    bool refuse = false;
    bool failWrites = false;
    QThread *openedOn = nullptr;

    bool open(OpenMode mode) override
    {
        openedOn = QThread::currentThread();
        return !std::exchange(refuse, false) && QIODevice::open(mode);
    }
    qint64 readData(char *, qint64) override { return 0; }
    qint64 writeData(const char *, qint64 len) override { return failWrites ? -1 : len; }
};

struct fixture : watchedInterface<interface> {
    explicit fixture(const QByteArray &keys)
        : watchedInterface(keys)
    {
        stream = &device;
    }
    stubDevice device;
};

const QStringList opened{"commsState=Open", "commsFail=0"};
}

class tst_interface : public QObject
{
    Q_OBJECT
private slots:
    void retriesAFailedOpenAfterTheDelay_data()
    {
        QTest::addColumn<int>("delayMs");
        QTest::newRow("<reconnent>1500</reconnent>") << 1500;
        QTest::newRow("<reconnect>1500</reconnect>") << 30000; // no key, for all its right spelling
        QTest::newRow("<reconnent>soon</reconnent>") << 0;
    }
    void retriesAFailedOpenAfterTheDelay()
    {
        QFETCH(int, delayMs);
        fixture tested(QTest::currentDataTag());
        tested.device.refuse = true;
        QVERIFY(!tested.open(QIODevice::WriteOnly));
        QCOMPARE(tested.takeResults(), QStringList{"commsState=Failed to open"});
        QCOMPARE(tested.log.texts(),
            QStringList{QStringLiteral("Failed to open interface. Will try again in %1 seconds")
                            .arg(delayMs / 1000.0)});
        QCOMPARE(tested.timer()->interval(), delayMs);
        expire(tested.timer());
        QCOMPARE(tested.takeResults(), opened);
        QVERIFY(tested.device.openMode() == QIODevice::WriteOnly && !tested.timer()->isActive());
    }

    void reopensAfterTooManyFailedWrites()
    {
        fixture tested("<maxfailures>1</maxfailures>");
        tested.open(QIODevice::ReadWrite);
        tested.device.failWrites = true;
        QCOMPARE(tested.write(QByteArray("abc")), qint64(-1)); // Kept: not counted
        QCOMPARE(tested.write("a", 1) + tested.write("a"), qint64(-2));
        QCOMPARE(tested.write("a"), qint64(0)); // closed: not counted
        QCOMPARE(
            tested.takeResults(), opened + QStringList({"commsFail=1", "commsFail=2", "commsState=Closed"}));
        expire(tested.timer());
        QCOMPARE(tested.takeResults(), opened);
        QSignalSpy ready(&tested, &interface::readyRead);
        emit tested.device.readyRead();
        QCOMPARE(ready.count(), 1); // though opened twice
    }

    void answersWithoutADevice()
    {
        watchedInterface<interface> tested("<power><mode>1</mode></power>");
        tested.startPower(nullptr); // no pin
        QVERIFY(!tested.isOpen() && !tested.open(QIODevice::ReadWrite));
        QCOMPARE(tested.write("abc", 3) + tested.write("abc") + tested.write(QByteArray("abc")), qint64(0));
        QVERIFY(!tested.waitForReadyRead(1) && !tested.waitForBytesWritten(1) && tested.readAll().isEmpty());
        tested.close();
        QCOMPARE(tested.takeResults(), QStringList{"commsState=Closed"});
        QCOMPARE(tested.log.texts(), QStringList());
    }

    void reopensAndEndsOnTheThreadThatOpenedFirst()
    {
        const warnings seen;
        {
            fixture tested("<reconnent>10</reconnent><maxfailures>0</maxfailures>");
            tested.device.refuse = true;
            QThread thread;
            tested.device.moveToThread(&thread);
            connect(&tested, &interface::interfaceConnected, &tested.device,
                [&] { tested.incrementFailCount(); }); // leaves the timer running
            const auto open = [&] { tested.open(QIODevice::ReadWrite); };
            runOnThread(thread, open, &tested, &interface::interfaceConnected);
            QCOMPARE(tested.device.openedOn, &thread);
            QVERIFY(!tested.timer()->isActive());
        }
        QCOMPARE(seen.count(), 0);
    }
};

QTEST_GUILESS_MAIN(tst_interface)
#include "tst_interface.moc"
