#include "tests/support/publishedValues.h"

#include <QHostAddress>
#include <QTest>

namespace {
constexpr int lengthAt = 2;
constexpr int headerSize = 6;
}

bool publishedValues::connectTo(quint16 port, int timeoutMs)
{
    return QTest::qWaitFor(
        [&] {
            m_socket.connectToHost(QHostAddress::LocalHost, port);
            return m_socket.waitForConnected(100);
        },
        timeoutMs);
}

int publishedValues::count(const QString &key)
{
    return all(key).size();
}

const QList<QVariant> &publishedValues::all(const QString &key)
{
    take();
    return m_values[key];
}

const QList<qint64> &publishedValues::times(const QString &key)
{
    take();
    return m_times[key];
}

QVariant publishedValues::last(const QString &key)
{
    const QList<QVariant> &values = all(key);
    return values.isEmpty() ? QVariant() : values.last();
}

void publishedValues::take()
{
    m_socket.waitForReadyRead(0);
    m_buffer += m_socket.readAll();
    int at = 0;
    while (m_buffer.size() - at >= headerSize) {
        quint32 length = 0;
        memcpy(&length, m_buffer.constData() + at + lengthAt, sizeof length);
        if (quint32(m_buffer.size() - at) < length)
            break;
        datastoreElementType element;
        const bool isElement = length >= headerSize && element.deserialise(m_buffer.mid(at, int(length)));
        if (isElement) {
            m_values[element.key].append(element.value);
            m_times[element.key].append(now());
        } else {
            ++m_garbage;
        }
        at += isElement ? int(length) : 1;
    }
    m_buffer.remove(0, at);
}
