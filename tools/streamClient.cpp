#include "tools/streamClient.h"

#include <utility>

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

namespace {
constexpr int retryMs = 1000;

/// A controller that lost its power says no farewell, and the kernel alone would ask after two hours.
void noticeSilentEnd(QTcpSocket &socket)
{
    socket.setSocketOption(QAbstractSocket::KeepAliveOption, 1);
    constexpr int idleSeconds = 20;
    constexpr int betweenSeconds = 10;
    constexpr int questions = 3;
    const std::pair<int, int> settings[]
        = {{TCP_KEEPIDLE, idleSeconds}, {TCP_KEEPINTVL, betweenSeconds}, {TCP_KEEPCNT, questions}};
    for (const auto &[option, value] : settings)
        ::setsockopt(int(socket.socketDescriptor()), IPPROTO_TCP, option, &value, sizeof value);
}
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
        noticeSilentEnd(m_socket);
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
