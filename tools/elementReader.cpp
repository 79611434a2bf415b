#include "tools/elementReader.h"

#include <cstring>

namespace {
const char startPair[] = "\xAB\xCD";
constexpr int startSize = 2;
constexpr int headerSize = 10; // start pair, total length, length of the key
constexpr int shortestElement = 16;
constexpr quint32 longestElement = 16 * 1024 * 1024; // bytes; what claims to be longer is noise

quint32 numberAt(const QByteArray &bytes, int offset)
{
    quint32 number = 0;
    std::memcpy(&number, bytes.constData() + offset, sizeof number);
    return number;
}

/// The element, also where its value has no bytes, which deserialise() does not take.
std::optional<datastoreElementType> read(const QByteArray &message)
{
    datastoreElementType element;
    if (element.deserialise(message))
        return element;
    const quint32 keyLength = numberAt(message, startSize + 4);
    quint16 sum = 0;
    std::memcpy(&sum, message.constData() + message.size() - int(sizeof sum), sizeof sum);
    if (keyLength + shortestElement > quint32(message.size())
        || datastoreElementType::checksum(message.left(message.size() - int(sizeof sum))) != sum)
        return std::nullopt;
    element.key = QString::fromUtf8(message.mid(headerSize, int(keyLength)));
    return element;
}
}

std::optional<datastoreElementType> elementReader::next()
{
    for (;;) {
        const int start = m_received.indexOf(startPair);
        if (start < 0) {
            m_received = m_received.endsWith(startPair[0]) ? m_received.right(1) : QByteArray();
            return std::nullopt;
        }
        m_received.remove(0, start);
        if (m_received.size() < headerSize)
            return std::nullopt;
        const quint32 length = numberAt(m_received, startSize);
        if (length >= shortestElement && length <= longestElement) {
            if (quint32(m_received.size()) < length)
                return std::nullopt;
            if (std::optional<datastoreElementType> element = read(m_received.left(int(length)))) {
                m_received.remove(0, int(length));
                return element;
            }
        }
        m_received.remove(0, startSize);
    }
}
