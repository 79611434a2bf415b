#include "tools/streamClient.h"

namespace {
constexpr int retryMs = 1000;
}

streamClient::streamClient(const QString &host, quint16 port, QObject *parent)
    : QObject(parent)
    , m_host(host)
    , m_port(port)
{
    m_retry.setSingleShot(true);
    m_retry.setInterval(retryMs);
    connect(&m_retry, &QTimer::timeout, this, [this] { m_socket.connectToHost(m_host, m_port); });
    connect(&m_socket, &QTcpSocket::connected, this, [this] {
        // A controller that lost its power says no farewell.
        m_socket.setSocketOption(QAbstractSocket::KeepAliveOption, 1);
        m_connectedOnce = true;
        emit connected();
    });
    connect(&m_socket, &QTcpSocket::readyRead, this, [this] { emit received(m_socket.readAll()); });
    connect(&m_socket, &QTcpSocket::errorOccurred, this, &streamClient::end);
}

void streamClient::start(bool once)
{
    m_once = once;
    m_socket.connectToHost(m_host, m_port);
}

void streamClient::end()
{
    const QString why = m_socket.errorString();
    if (!m_once)
        m_retry.start();
    emit lost(why);
}
