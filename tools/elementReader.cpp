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
    std::optional<datastoreElementType> element;
    int start = 0;
    while (!element) {
        const int pair = m_received.indexOf(startPair, start);
        if (pair < 0) {
            start = m_received.size() - (m_received.endsWith(startPair[0]) ? 1 : 0);
            break;
        }
        start = pair;
        const quint32 available = quint32(m_received.size() - start);
        if (available < headerSize)
            break;
        const quint32 length = numberAt(m_received, start + startSize);
        const bool plausible = length >= shortestElement && length <= longestElement;
        if (plausible && available < length)
            break;
        if (plausible)
            element = read(m_received.mid(start, int(length)));
        start += element ? int(length) : startSize;
    }
    m_received.remove(0, start); // once: noise can be long
    return element;
}
