#include "lib/communications/debugMessage.h"

#include <cstdio>
#include <cstring>

namespace {
constexpr char startByte = char(0xFF);
constexpr int typeOffset = 1;
constexpr int uuidOffset = 2;
constexpr int uuidSize = 16;
constexpr int payloadOffset = 18; // timestamp, parent UUID or value size, by type
constexpr int componentTypeOffset = 34;

enum valueKind : quint32 { boolKind = 0, intKind = 1, doubleKind = 2, textKind = 3 };

template <class T>
void append(QByteArray &to, const T &value)
{
    to.append(reinterpret_cast<const char *>(&value), int(sizeof value));
}

void appendText(QByteArray &to, const QString &text)
{
    append(to, qint32(text.size()));
    to.append(text.toLatin1());
}

QByteArray header(quint8 type, const uuidType &uuid)
{
    QByteArray message;
    message.append(startByte);
    message.append(char(type));
    message.append(uuid.byteArray());
    return message;
}

QByteArray finished(QByteArray message)
{
    return message.append(2, '\0');
}

/// The integer at \a offset, or 0 where the bytes end before it does.
template <class T>
T integerAt(const QByteArray &bytes, int offset)
{
    T value = 0;
    if (offset + int(sizeof value) <= bytes.size())
        std::memcpy(&value, bytes.constData() + offset, sizeof value);
    return value;
}

/// The text whose length stands at \a lengthOffset, as far as the bytes hold it.
QString textAt(const QByteArray &bytes, int lengthOffset)
{
    const int length = qMax(0, integerAt<qint32>(bytes, lengthOffset));
    const QByteArray text = bytes.mid(lengthOffset + 4, length);
    return QString::fromUtf8(text.constData(), text.size()); // a zero byte is no end
}
}

QByteArray debugMessage::createDebugMessage() const
{
    QByteArray message = header(0, UUID);
    append(message, qint64(timestamp));
    appendText(message, debugData);
    return finished(message);
}

QByteArray debugMessage::createRegistrationMessage() const
{
    QByteArray message = header(1, UUID);
    message.append(parentUUID.byteArray());
    append(message, componentType);
    appendText(message, componentName);
    return finished(message);
}

QByteArray debugMessage::createDataMessage(const QString &key, const QVariant &value) const
{
    quint32 size = 0;
    quint32 kind = boolKind;
    QByteArray parts;
    if (value.canConvert<bool>()) {
        size = 1;
        parts.append(char(value.toBool() ? 1 : 0));
    }
    if (value.canConvert<int>()) {
        size = sizeof(qint32);
        kind = intKind;
        append(parts, qint32(value.toInt()));
    }
    if (value.canConvert<double>()) {
        size = sizeof(double);
        kind = doubleKind;
        append(parts, value.toDouble());
    }
    if (value.canConvert<QString>()) {
        size = quint32(value.toString().size());
        kind = textKind;
        parts.append(value.toString().toLatin1());
    }
    QByteArray message = header(2, UUID);
    append(message, size);
    append(message, kind);
    appendText(message, key);
    return finished(message + parts);
}

bool debugMessage::parseMessage(const QByteArray &bytes)
{
    messageType = integerAt<quint8>(bytes, typeOffset);
    componentType = integerAt<quint32>(bytes, componentTypeOffset); // Kept: read for every type
    UUID.fromByteArray(bytes.mid(uuidOffset, uuidSize));
    switch (messageType) {
    case 0:
        timestamp = integerAt<qint64>(bytes, payloadOffset);
        debugData = textAt(bytes, 26);
        break;
    case 1:
        parentUUID.fromByteArray(bytes.mid(payloadOffset, uuidSize));
        componentName = textAt(bytes, 38);
        break;
    case 3:
        timestamp = integerAt<qint64>(bytes, payloadOffset);
        tag = textAt(bytes, 34);
        break;
    default:
        break;
    }
    return true;
}

void debugMessage::printMessageDetails() const
{
    if (messageType == 0) {
        std::printf("Debug Message\n       My UUID = %s\n     Timestamp = (%li) %s\n    Debug Data = %s\n",
            qPrintable(UUID.toString()), long(timestamp), qPrintable(timestampDateTime().toString()),
            qPrintable(debugData));
    } else if (messageType == 1) {
        std::printf("Registration Message\nComponent Type = %i\n       My UUID = %s\n   Parent UUID = %s\n"
                    "Component Name = %s\n",
            int(componentType), qPrintable(UUID.toString()), qPrintable(parentUUID.toString()),
            qPrintable(componentName));
    }
}
