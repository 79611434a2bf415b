#include "lib/interfaces/tcpInterface.h"

#include "lib/communications/debugComponent.h"
#include "tests/support/expire.h"
#include "tests/support/launch.h"
#include "tests/support/logSink.h"
#include "tests/support/warnings.h"

#include <QSignalSpy>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>
#include <QThread>
#include <QTimer>

#include <future>

namespace {
QByteArray client(int port)
{
    return "<mode>Client</mode><ip>127.0.0.1</ip><port>" + QByteArray::number(port) + "</port>";
}

class testedInterface : public tcpInterface
{
public:
    explicit testedInterface(const QByteArray &keys)
    {
        debug->registerWithClient(&log);
        configure(xml("<interface>" + keys + "</interface>"));
    }
    QTimer *timer() const { return reconnectTimer.get(); }
    QTcpSocket *socket() const { return skt.get(); }
    bool hasStream() const { return stream; }
    void retryAfter(int ms) { reconnectTimeout = ms; }

    logSink log;
    QSignalSpy results{this, &interface::resultAvailable};
};

struct listener : QTcpServer {
    explicit listener(int port = 0)
    {
        if (!listen(QHostAddress::LocalHost, quint16(port)))
            qFatal("cannot listen");
    }
    QTcpSocket *accept()
    {
        waitForNewConnection(5000);
        return nextPendingConnection();
    }
};

int freePort()
{
    return listener().serverPort();
}
}

class tst_tcpInterface : public QObject
{
    Q_OBJECT
private slots:
    void connectsAndTransfers()
    {
        const warnings seen;
        listener server;
        testedInterface tested(client(server.serverPort()));
        QCOMPARE(tested.name(), QStringLiteral("TCPInterface"));
        QCOMPARE(tested.type(), QStringLiteral("tcp"));
        QSignalSpy connected(&tested, &interface::interfaceConnected);
        QVERIFY(tested.open(QIODevice::ReadWrite) && tested.isOpen());
        QCOMPARE(tested.log.texts(),
            (QStringList{"Attempting to open TCP connection.",
                QStringLiteral("Attempting to connect to 127.0.0.1:%1").arg(server.serverPort()),
                "Connection established"}));
        QCOMPARE(connected.count(), 1);
        QCOMPARE(tested.results.count(), 0); // publishes no state
        QTcpSocket *const peer = server.accept();
        QVERIFY(peer);
        QCOMPARE(tested.write("ask"), qint64(3));
        QVERIFY(tested.waitForBytesWritten(5000) && peer->waitForReadyRead(5000));
        QCOMPARE(peer->readAll(), QByteArray("ask"));
        QSignalSpy ready(&tested, &interface::readyRead);
        peer->write("answer");
        QVERIFY(ready.wait());
        QCOMPARE(tested.readAll(), QByteArray("answer"));
        QVERIFY(tested.open()); // connected: no second attempt
        QCOMPARE(tested.log.texts().last(), QStringLiteral("Attempting to open TCP connection."));
        QCOMPARE(seen.count(), 0);
    }

    void namesAnAddressWithAZone()
    {
        const QByteArray port = QByteArray::number(freePort());
        testedInterface tested("<mode>client</mode><ip>::1%1</ip><port>" + port + "</port>");
        tested.open(QIODevice::ReadWrite);
        QCOMPARE(tested.log.texts().value(1), QString("Attempting to connect to ::1%1:" + port));
    }

    void refusesToOpenWithoutAClientMode_data()
    {
        QTest::addColumn<QByteArray>("keys");
        QTest::addColumn<QStringList>("lines");
        const QString attempt = "Attempting to open TCP connection.";
        const QString noMode = "No interface mode specified, cannot open a port.";
        QTest::newRow("no mode") << QByteArray("<port>1</port>") << QStringList{attempt, noMode};
        QTest::newRow("other mode") << QByteArray("<mode>both</mode>") << QStringList{attempt, noMode};
        QTest::newRow("server") << QByteArray("<mode>SERVER</mode>") << QStringList{attempt};
    }
    void refusesToOpenWithoutAClientMode()
    {
        QFETCH(QByteArray, keys);
        testedInterface tested(keys);
        QVERIFY(!tested.open(QIODevice::ReadWrite));
        QTEST(tested.log.texts(), "lines");
        QVERIFY(!tested.timer());
    }

    void retriesFiveSecondsAfterAFailure()
    {
        const warnings seen;
        const int port = freePort();
        testedInterface tested(client(port) + "<connectTimeout>1</connectTimeout>"
            + "<reconnectTimeout>60000</reconnectTimeout><reconnent>60000</reconnent>");
        QVERIFY(!tested.open(QIODevice::ReadWrite));
        QCOMPARE(tested.log.texts().last(), QStringLiteral("Failed to connect"));
        QCOMPARE(tested.errorString(), QStringLiteral("Failed to connect"));
        QVERIFY(!tested.socket());
        QCOMPARE(tested.timer()->interval(), 5000);
        expire(tested.timer());
        QCOMPARE(tested.log.texts().count("Failed to connect"), 2);
        const listener server(port);
        expire(tested.timer());
        QVERIFY(tested.isOpen() && !tested.timer()->isActive());
        QCOMPARE(seen.count(), 0);
    }

    void doesNotNoticeADrop()
    {
        const warnings seen;
        listener server;
        const int port = server.serverPort();
        testedInterface tested(client(port) + "<maxfailures>0</maxfailures>");
        tested.open(QIODevice::ReadWrite);
        QSignalSpy dropped(tested.socket(), &QTcpSocket::disconnected);
        delete server.accept();
        QVERIFY(dropped.count() || dropped.wait());
        QCOMPARE(tested.log.texts().last(), QStringLiteral("Connection established"));
        QVERIFY(!tested.timer() && !tested.isOpen());
        QVERIFY(!tested.waitForReadyRead(1) && !tested.waitForBytesWritten(1));
        QCOMPARE(tested.write("a", 1), qint64(0));

        const QTcpSocket *const before = tested.socket();
        QVERIFY(tested.open() && tested.isOpen());
        QCOMPARE(tested.socket(), before);
        QTcpSocket *const peer = server.accept();
        QSignalSpy ready(&tested, &interface::readyRead);
        peer->write("x");
        QVERIFY(ready.wait());
        QCOMPARE(ready.count(), 1);

        tested.close();
        server.close();
        QVERIFY(!tested.open());
        QVERIFY(!tested.hasStream());
        QCOMPARE(seen.count(), 0);
    }

    void retriesWhenToldOfADropOrAnError()
    {
        testedInterface tested(client(1));
        tested.socketDisconnected();
        QCOMPARE(tested.log.texts().last(), QStringLiteral("Socket Disconnected"));
        QVERIFY(tested.timer()->isActive());
        tested.timer()->stop();
        tested.socketError(QAbstractSocket::RemoteHostClosedError);
        QCOMPARE(tested.log.texts().count(), 2);
        QVERIFY(tested.timer()->isActive());
    }

    void reopensAfterTooManyFailedWrites()
    {
        testedInterface tested(client(freePort()) + "<maxfailures>0</maxfailures><reconnent>20</reconnent>");
        tested.incrementFailCount(); // before any open, too
        QTRY_VERIFY(tested.log.texts().contains("Failed to connect"));
    }

    void reconnectsOnTheThreadThatOpenedFirst()
    {
        const warnings seen;
        const int port = freePort();
        {
            testedInterface tested(client(port));
            tested.retryAfter(1);
            std::promise<bool> first;
            QThread thread;
            QObject worker;
            worker.moveToThread(&thread);
            QEventLoop loop;
            connect(&tested, &interface::interfaceConnected, &loop, &QEventLoop::quit, Qt::QueuedConnection);
            connect(&thread, &QThread::started, &worker,
                [&] { first.set_value(tested.open(QIODevice::ReadWrite)); });
            thread.start();
            QVERIFY(!first.get_future().get());
            const listener server(port);
            loop.exec();
            thread.quit();
            thread.wait();
            QCOMPARE(tested.socket()->thread(), &thread);
            QCOMPARE(tested.socket()->state(), QAbstractSocket::UnconnectedState);
        }
        QCOMPARE(seen.count(), 0);
    }
};

QTEST_GUILESS_MAIN(tst_tcpInterface)
#include "tst_tcpInterface.moc"
