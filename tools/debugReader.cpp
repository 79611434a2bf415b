#include "tools/debugReader.h"

#include <cstring>

namespace {
constexpr char startByte = '\xFF';
constexpr int endSize = 2; // two zero bytes
constexpr int lengthSize = 4;
constexpr int typeCount = 2;
/// Where the text's length stands, by message type: debug text, registration.
constexpr int lengthOffsets[typeCount] = {26, 38};
constexpr quint32 longestText = 1024 * 1024; // bytes; what claims to be longer is noise

/// Bytes of the message that \a stream begins with; 0 when that takes more bytes to tell, or -1 when it
/// begins with none.
int messageSize(const QByteArray &stream)
{
    const int type = stream.size() < 2 ? 0 : int(quint8(stream.at(1)));
    if (type >= typeCount)
        return -1;
    const int textOffset = lengthOffsets[type] + lengthSize;
    if (stream.size() < textOffset)
        return 0;
    quint32 length = 0;
    std::memcpy(&length, stream.constData() + lengthOffsets[type], sizeof length);
    if (length > longestText)
        return -1;
    const int size = textOffset + int(length) + endSize;
    if (stream.size() < size)
        return 0;
    return stream.at(size - 1) == 0 && stream.at(size - 2) == 0 ? size : -1;
}
}

std::optional<debugMessage> debugReader::next()
{
    for (;;) {
        const int start = m_received.indexOf(startByte);
        m_received.remove(0, start < 0 ? m_received.size() : start);
        const int size = messageSize(m_received);
        if (size == 0)
            return std::nullopt;
        if (size > 0) {
            debugMessage message;
            message.parseMessage(m_received.left(size));
            m_received.remove(0, size);
            return message;
        }
        m_received.remove(0, 1); // no message starts here
    }
}
