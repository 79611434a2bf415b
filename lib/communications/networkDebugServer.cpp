#include "lib/communications/networkDebugServer.h"

#include "lib/support/standardOutput.h"

#include <QHostAddress>
#include <QTcpServer>
#include <QTcpSocket>
#include <QThread>

#include <cstdio>

namespace {
constexpr qint64 unsentLimit
    = 8LL * 1024 * 1024; // bytes; a viewer that reads nothing must not eat the memory
}

networkDebugServer::networkDebugServer(QObject *parent)
    : debugClient(parent)
    , tcpServer(new QTcpServer(this))
{
    connect(tcpServer, &QTcpServer::newConnection, this, &networkDebugServer::connectClient);
    listen();
}

int networkDebugServer::port() const
{
    return tcpServer->isListening() ? tcpServer->serverPort() : m_port;
}

bool networkDebugServer::isListening() const
{
    return tcpServer->isListening();
}

void networkDebugServer::listen()
{
    if (tcpServer->isListening())
        std::fputs("Debug server already listening\n", stderr);
    else if (tcpServer->listen(QHostAddress::Any, quint16(m_port)))
        std::fprintf(stderr, "Debug server listening on port %i\n", port());
}

void networkDebugServer::shutdown()
{
    tcpServer->close();
}

void networkDebugServer::connectClient()
{
    while (QTcpSocket *viewer = tcpServer->nextPendingConnection()) {
        client.append(viewer);
        printLine("Client connected from " + viewer->peerAddress().toString().toLatin1() + ':'
            + QByteArray::number(viewer->peerPort()) + '\n');
        const QList<QByteArray> tree = registrations();
        for (const QByteArray &registration : tree)
            viewer->write(registration);
        // What a viewer says is nobody's business; kept, it would fill the memory.
        connect(viewer, &QTcpSocket::readyRead, viewer, [viewer] { viewer->skip(viewer->bytesAvailable()); });
        connect(viewer, &QTcpSocket::disconnected, this, &networkDebugServer::disconnectClient);
    }
}

void networkDebugServer::disconnectClient()
{
    // Kept: the index moves on after a removal too; a second dead viewer right behind waits for the next
    // call.
    for (int i = 0; i < client.size(); ++i) {
        if (client[i]->state() != QAbstractSocket::UnconnectedState)
            continue;
        printLine("Destroying client " + QByteArray::number(i) + '\n');
        QTcpSocket *const gone = client.takeAt(i);
        gone->disconnect();
        gone->deleteLater();
    }
}

void networkDebugServer::transmit(const QByteArray &bytes)
{
    if (thread() == QThread::currentThread())
        send(bytes);
    else
        QMetaObject::invokeMethod(
            this, [this, bytes] { send(bytes); }, Qt::QueuedConnection);
}

void networkDebugServer::send(const QByteArray &bytes)
{
    const QList<QTcpSocket *> viewers = client;
    for (QTcpSocket *viewer : viewers) {
        if (viewer->bytesToWrite() > unsentLimit)
            viewer->abort();
        else if (viewer->isOpen()) // dead ones may still be listed, see disconnectClient()
            viewer->write(bytes);
    }
}
