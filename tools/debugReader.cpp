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

/// Bytes of the message that begins at \a start of \a stream; 0 when that takes more bytes to tell, or -1
/// when none begins there.
int messageSize(const QByteArray &stream, int start)
{
    const int available = stream.size() - start;
    const int type = available < 2 ? 0 : int(quint8(stream.at(start + 1)));
    if (type >= typeCount)
        return -1;
    const int textOffset = lengthOffsets[type] + lengthSize;
    if (available < textOffset)
        return 0;
    quint32 length = 0;
    std::memcpy(&length, stream.constData() + start + lengthOffsets[type], sizeof length);
    if (length > longestText)
        return -1;
    const int size = textOffset + int(length) + endSize;
    if (available < size)
        return 0;
    const int end = start + size;
    return stream.at(end - 1) == 0 && stream.at(end - 2) == 0 ? size : -1;
}
}

std::optional<debugMessage> debugReader::next()
{
    std::optional<debugMessage> message;
    int start = 0;
    while (!message) {
        const int byte = m_received.indexOf(startByte, start);
        start = byte < 0 ? m_received.size() : byte;
        const int size = messageSize(m_received, start);
        if (size == 0)
            break;
        if (size > 0) {
            message.emplace();
            message->parseMessage(m_received.mid(start, size));
        }
        start += size > 0 ? size : 1; // 1: no message starts here
    }
    m_received.remove(0, start); // once: noise can be long
    return message;
}
