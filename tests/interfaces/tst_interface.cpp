#include "lib/interfaces/interface.h"

#include "tests/support/expire.h"
#include "tests/support/onThread.h"
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
    stubDevice device;

    explicit fixture(const QByteArray &keys)
        : watchedInterface(keys)
    {
        stream = &device;
    }
};

const QString opened = "commsState=Open commsFail=0";
}

class tst_interface : public QObject
{
    Q_OBJECT
private slots:
    // Qt warns of a timer that is used, or ends, on a wrong thread.
    void initTestCase() { qputenv("QT_FATAL_WARNINGS", "1"); }

    void opensAgainAfterAFailureAndAfterFailedWrites()
    {
        fixture tested("<reconnent>1500</reconnent><reconnect>9</reconnect><maxfailures>1</maxfailures>");
        tested.device.refuse = true;
        QVERIFY(!tested.open(QIODevice::WriteOnly));
        QCOMPARE(tested.published.take(), QString("commsState=Failed to open"));
        QCOMPARE(tested.debug->lastLog(), QString("Failed to open interface. Will try again in 1.5 seconds"));
        QCOMPARE(tested.timer()->interval(), 1500);
        expire(tested.timer());
        QCOMPARE(tested.published.take(), opened);
        QVERIFY(tested.device.openMode() == QIODevice::WriteOnly && !tested.timer()->isActive());

        tested.device.failWrites = true;
        QCOMPARE(tested.write(QByteArray("abc")), qint64(-1)); // Kept: not counted
        QCOMPARE(tested.write("a", 1) + tested.write("a"), qint64(-2));
        QCOMPARE(tested.write("a"), qint64(0)); // closed: not counted
        QCOMPARE(tested.published.take(), QString("commsFail=1 commsFail=2 commsState=Closed"));
        expire(tested.timer());
        QCOMPARE(tested.published.take(), opened);
        QSignalSpy ready(&tested, &interface::readyRead);
        emit tested.device.readyRead();
        QCOMPARE(ready.count(), 1); // though opened twice
    }

    void reopensAndEndsOnTheThreadThatOpenedFirst()
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
};

QTEST_GUILESS_MAIN(tst_interface)
#include "tst_interface.moc"
