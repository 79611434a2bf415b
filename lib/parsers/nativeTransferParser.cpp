#include "lib/parsers/nativeTransferParser.h"

#include <QtEndian>

#include <cstring>

namespace {
constexpr char startBytes[] = {'\xAB', '\xCD'};
constexpr int startSize = sizeof startBytes;
constexpr int lengthOffset = 2;
constexpr int headerSize = 6;

/// Position of the first pair of start bytes at or behind \a from, or -1.
int findStart(const QByteArray &data, int from)
{
    const char *const begin = data.constData();
    const char *const last = begin + data.size() - 1; // a pair cannot begin here
    if (begin + from < last && begin[from] == startBytes[0] && begin[from + 1] == startBytes[1])
        return from; // the usual case: message after message
    for (const char *at = begin + from; at < last; ++at) {
        at = static_cast<const char *>(std::memchr(at, startBytes[0], size_t(last - at)));
        if (!at)
            break;
        if (at[1] == startBytes[1])
            return int(at - begin);
    }
    return -1;
}
}

nativeTransferParser::nativeTransferParser(interface *iface, QObject *parent)
    : parser(iface, parent)
{
    name = QStringLiteral("nativeDataTransferParser");
}

void nativeTransferParser::newDataInBuffer()
{
    // The buffer is shortened once, not once per message: each time would move everything behind it.
    int consumed = 0;
    while (const std::optional<QByteArray> message = cutMessage(consumed))
        emit dataOut(*message);
    buffer.remove(0, consumed);
}

QByteArray nativeTransferParser::parseBuffer(int *status)
{
    int consumed = 0;
    const std::optional<QByteArray> message = cutMessage(consumed);
    buffer.remove(0, consumed);
    *status = message ? messageCut : nothingToCut;
    return message.value_or(QByteArray());
}

/// The first whole message at or behind \a from, which moves over what is done with: noise and the message.
std::optional<QByteArray> nativeTransferParser::cutMessage(int &from)
{
    while (buffer.size() - from >= headerSize) {
        const int start = findStart(buffer, from);
        if (start < 0) {
            from = buffer.size(); // Kept: a lone first start byte at the end goes too
            return std::nullopt;
        }
        from = start;
        if (buffer.size() - from < headerSize)
            return std::nullopt;
        const char *const message = buffer.constData() + from;
        const qint32 length = qFromLittleEndian<qint32>(message + lengthOffset);
        if (length < headerSize) {
            from += startSize; // no message is shorter than its header: noise that looks like a start
            continue;
        }
        if (buffer.size() - from < length)
            return std::nullopt;
        from += length;
        return QByteArray(buffer.constData() + from - length, length);
    }
    return std::nullopt;
}
