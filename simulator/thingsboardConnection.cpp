#include "simulator/thingsboardConnection.h"

#include <QHash>
#include <QTcpSocket>

namespace {
constexpr int longestRequest = 16 * 1024 * 1024; // bytes
const char headerEnd[] = "\r\n\r\n";
constexpr int headerEndSize = 4;

QByteArray reason(int code)
{
    static const QHash<int, QByteArray> reasons{{200, "OK"}, {400, "Bad Request"}, {401, "Unauthorized"},
        {404, "Not Found"}, {408, "Request Timeout"}, {500, "Internal Server Error"},
        {503, "Service Unavailable"}};
    return reasons.value(code, "Answer");
}

/// The value of a header line, or nothing.
QByteArray field(const QList<QByteArray> &lines, const QByteArray &name)
{
    for (const QByteArray &line : lines) {
        const int colon = line.indexOf(':');
        if (colon > 0 && line.left(colon).trimmed().toLower() == name)
            return line.mid(colon + 1).trimmed();
    }
    return {};
}
}

thingsboardConnection::thingsboardConnection(QTcpSocket *socket, QObject *parent)
    : QObject(parent)
    , m_socket(socket)
{
    socket->setParent(this);
    connect(socket, &QTcpSocket::readyRead, this, &thingsboardConnection::read);
    connect(socket, &QTcpSocket::disconnected, this, &QObject::deleteLater);
}

void thingsboardConnection::read()
{
    m_received += m_socket->readAll();
    if (m_received.size() > longestRequest) {
        close();
        return;
    }
    if (m_answering || (m_bodyLength < 0 && !readHeader()) || m_received.size() < m_bodyLength)
        return;
    body = m_received.left(m_bodyLength);
    m_received.remove(0, m_bodyLength);
    m_bodyLength = -1;
    m_answering = true;
    emit requested();
}

bool thingsboardConnection::readHeader()
{
    const int end = m_received.indexOf(headerEnd);
    if (end < 0)
        return false;
    const QList<QByteArray> lines = m_received.left(end).split('\n');
    m_received.remove(0, end + headerEndSize);
    const QList<QByteArray> request = lines.first().trimmed().split(' ');
    method = request.value(0);
    path = request.value(1).split('?').first();
    m_bodyLength = qMax(0, field(lines, "content-length").toInt());
    if (field(lines, "expect").toLower() == "100-continue")
        m_socket->write("HTTP/1.1 100 Continue\r\n\r\n");
    return true;
}

void thingsboardConnection::answer(int code, const QByteArray &json)
{
    m_socket->write("HTTP/1.1 " + QByteArray::number(code) + ' ' + reason(code)
        + "\r\nContent-Type: application/json\r\nContent-Length: " + QByteArray::number(json.size())
        + headerEnd + json);
    m_answering = false;
    if (!m_received.isEmpty())
        QMetaObject::invokeMethod(this, &thingsboardConnection::read, Qt::QueuedConnection);
}

void thingsboardConnection::close()
{
    m_socket->abort();
}
