#include "lib/interfaces/tcpInterface.h"

#include "tests/support/expire.h"
#include "tests/support/onThread.h"
#include "tests/support/warnings.h"
#include "tests/support/watchedInterface.h"

#include <QSignalSpy>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>

namespace {
struct fixture : watchedInterface<tcpInterface> {
    using tcpInterface::reconnectTimeout;
    using watchedInterface::watchedInterface;
    QTcpSocket *socket() const { return skt.get(); }
};

QByteArray client(int port)
{
    return "<mode>Client</mode><ip>127.0.0.1</ip><port>" + QByteArray::number(port) + "</port>";
}

}

class tst_tcpInterface : public QObject
{
    Q_OBJECT
private slots:
    void transfersAndDoesNotNoticeADrop()
    {
        QTcpServer server;
        QVERIFY(server.listen(QHostAddress::LocalHost));
        fixture tested(client(server.serverPort()));
        for (int connection = 0; connection < 2; ++connection) {
            QVERIFY(tested.open(QIODevice::ReadWrite) && tested.isOpen());
            QCOMPARE(tested.log.texts().last(), QStringLiteral("Connection established"));
            QVERIFY(server.waitForNewConnection(5000));
            QTcpSocket *const peer = server.nextPendingConnection();
            QVERIFY(tested.write("ask") == 3 && tested.waitForBytesWritten(5000));
            QVERIFY(peer->waitForReadyRead(5000));
            QCOMPARE(peer->readAll(), QByteArray("ask"));
            QSignalSpy ready(&tested, &interface::readyRead);
            QVERIFY(peer->write("answer") == 6 && ready.wait());
            QCOMPARE(tested.readAll(), QByteArray("answer"));
            QSignalSpy dropped(tested.socket(), &QTcpSocket::disconnected);
            delete peer;
            QVERIFY(dropped.count() || dropped.wait());
            QCOMPARE(ready.count(), 1); // also when connected again
            QVERIFY(!tested.timer() && !tested.isOpen() && tested.write("a", 1) == 0);
        }
        QCOMPARE(tested.takeResults(), QStringList()); // publishes no state
    }

    void namesAnAddressWithAZone()
    {
        fixture tested("<mode>client</mode><ip>::1%1</ip><port>1</port>");
        tested.open(QIODevice::ReadWrite);
        QCOMPARE(tested.log.texts().value(1), QStringLiteral("Attempting to connect to ::1%1:1"));
    }

    void opensInClientModeOnly()
    {
        for (const char *keys : {"<port>1</port>", "<mode>both</mode>", "<mode>SERVER</mode>"}) {
            fixture tested(keys);
            QVERIFY(!tested.open(QIODevice::ReadWrite) && !tested.timer());
            QCOMPARE(tested.log.texts().value(1), // the server mode fails without a word
                strstr(keys, "SERVER") ? "" : "No interface mode specified, cannot open a port.");
        }
    }

    void retriesFiveSecondsAfterAFailure()
    {
        QTcpServer server;
        QVERIFY(server.listen(QHostAddress::LocalHost));
        const quint16 port = server.serverPort();
        server.close();
        fixture tested(client(port) + "<reconnectTimeout>1</reconnectTimeout><reconnent>20</reconnent>"
            + "<maxfailures>0</maxfailures>");
        tested.incrementFailCount(); // before any open, too; with the delay that all interfaces have
        QTRY_COMPARE(tested.errorString(), QStringLiteral("Failed to connect"));
        QCOMPARE(tested.timer()->interval(), 5000);
        QVERIFY(server.listen(QHostAddress::LocalHost, port));
        expire(tested.timer());
        QVERIFY(tested.isOpen() && !tested.timer()->isActive());
    }

    void connectsOnTheThreadThatStartedTheTimer()
    {
        const warnings seen;
        {
            QTcpServer server;
            QVERIFY(server.listen(QHostAddress::LocalHost));
            fixture tested(client(server.serverPort()));
            tested.reconnectTimeout = 1;
            QThread thread;
            const auto start = [&] { tested.startReconnectTimer(); };
            runOnThread(thread, start, &tested, &interface::interfaceConnected);
            QCOMPARE(tested.socket()->thread(), &thread);
            QCOMPARE(tested.socket()->state(), QAbstractSocket::UnconnectedState);
        }
        QCOMPARE(seen.count(), 0);
    }
};

QTEST_GUILESS_MAIN(tst_tcpInterface)
#include "tst_tcpInterface.moc"
