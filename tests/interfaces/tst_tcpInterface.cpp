#include "lib/interfaces/tcpInterface.h"

#include "tests/support/expire.h"
#include "tests/support/onThread.h"
#include "tests/support/watchedInterface.h"

#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>

namespace {
struct fixture : watchedInterface<tcpInterface> {
    using tcpInterface::reconnectTimeout;
    using watchedInterface::watchedInterface;
    QTcpSocket *socket() const { return skt.get(); }
};

struct localServer : QTcpServer {
    localServer() { listen(QHostAddress::LocalHost); }
    QByteArray keys() const
    {
        return "<mode>Client</mode><ip>127.0.0.1</ip><port>" + QByteArray::number(serverPort()) + "</port>";
    }
};
}

class tst_tcpInterface : public QObject
{
    Q_OBJECT
private slots:
    // Qt warns of a socket or timer that is used, or ends, on a wrong thread.
    void initTestCase() { qputenv("QT_FATAL_WARNINGS", "1"); }

    void retriesFiveSecondsAfterAFailure()
    {
        localServer server;
        const quint16 port = server.serverPort();
        fixture tested(server.keys() + "<reconnectTimeout>1</reconnectTimeout>"); // Kept: not a key
        server.close();
        QVERIFY(!tested.open(QIODevice::ReadWrite));
        QCOMPARE(tested.timer()->interval(), 5000);
        QVERIFY(server.listen(QHostAddress::LocalHost, port));
        expire(tested.timer());
        QVERIFY(tested.isOpen() && !tested.timer()->isActive());
    }

    void connectsOnTheThreadThatStartedTheTimer()
    {
        localServer server;
        fixture tested(server.keys());
        tested.reconnectTimeout = 1;
        QThread thread;
        const auto start = [&] { tested.startReconnectTimer(); };
        runOnThread(thread, start, &tested, &interface::interfaceConnected);
        QCOMPARE(tested.socket()->thread(), &thread);
        QCOMPARE(tested.socket()->state(), QAbstractSocket::UnconnectedState);
    }
};

QTEST_GUILESS_MAIN(tst_tcpInterface)
#include "tst_tcpInterface.moc"
