#include "lib/communications/networkDebugClient.h"

#include <QTcpSocket>
#include <QThread>

networkDebugClient::networkDebugClient(const QString &host, QObject *parent)
    : debugClient(parent)
    , m_host(host)
{
}

void networkDebugClient::attach()
{
    if (!connection) {
        connection = new QTcpSocket(this);
        connect(connection, &QTcpSocket::readyRead, connection,
            [this] { connection->skip(connection->bytesAvailable()); }); // nothing is expected back
    }
    connection->connectToHost(m_host, quint16(port), QIODevice::ReadWrite, QAbstractSocket::AnyIPProtocol);
}

void networkDebugClient::transmit(const QByteArray &bytes)
{
    if (thread() == QThread::currentThread())
        send(bytes);
    else
        QMetaObject::invokeMethod(
            this, [this, bytes] { send(bytes); }, Qt::QueuedConnection);
}

void networkDebugClient::send(const QByteArray &bytes)
{
    constexpr qint64 unsentLimit
        = 8LL * 1024 * 1024; // bytes; a viewer that reads nothing must not eat the memory
    if (connection && connection->state() != QAbstractSocket::UnconnectedState
        && connection->bytesToWrite() <= unsentLimit)
        connection->write(bytes);
}
