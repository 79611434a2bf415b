#include "lib/types/datastoreElementType.h"

#include "libcrc/src/checksum.h"

#include <cstdio>
#include <cstring>

namespace {
// Byte offsets in a serialised element; integers are in the machine's order, little-endian on the target.
constexpr int lengthOffset = 2;
constexpr int keyLengthOffset = 6;
constexpr int keyOffset = 10;
constexpr int typeSize = 4;
constexpr int checksumSize = 2;
constexpr int minimumLength = 6;

template <class T>
T readAt(const char *bytes)
{
    T value;
    std::memcpy(&value, bytes, sizeof value);
    return value;
}

template <class T>
char *append(char *to, const T &value)
{
    std::memcpy(to, &value, sizeof value);
    return to + sizeof value;
}

char *append(char *to, const QByteArray &bytes)
{
    std::memcpy(to, bytes.constData(), size_t(bytes.size()));
    return to + bytes.size();
}

/// Size in bytes of the value in the byte form; a text's is that of \a text, other types have none.
int valueSize(int type, const QByteArray &text)
{
    switch (type) {
    case QMetaType::Bool:
        return 1;
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::Float:
        return 4;
    case QMetaType::Double:
        return 8;
    default:
        return text.size();
    }
}

char *appendValue(char *to, const QVariant &value, const QByteArray &text)
{
    switch (value.userType()) {
    case QMetaType::Bool:
        return append(to, char(value.toBool() ? 1 : 0));
    case QMetaType::Int:
        return append(to, value.toInt());
    case QMetaType::UInt:
        return append(to, value.toUInt());
    case QMetaType::Float:
        return append(to, value.toFloat());
    case QMetaType::Double:
        return append(to, value.toDouble());
    default:
        return append(to, text);
    }
}

template <class T>
QVariant numberFrom(const char *bytes, int size)
{
    return size < int(sizeof(T)) ? QVariant() : QVariant::fromValue(readAt<T>(bytes));
}

/// The value that \a size bytes of \a type stand for. Only plain numbers can be rebuilt from bytes; every
/// other type holds pointers, and its bytes are no value.
QVariant valueFrom(int type, const char *bytes, int size)
{
    switch (type) {
    case QMetaType::QString:
        return QString::fromUtf8(bytes, size);
    case QMetaType::Bool:
        return *bytes != 0;
    case QMetaType::Int:
        return numberFrom<int>(bytes, size);
    case QMetaType::UInt:
        return numberFrom<unsigned int>(bytes, size);
    case QMetaType::Float:
        return numberFrom<float>(bytes, size);
    case QMetaType::Double:
        return numberFrom<double>(bytes, size);
    case QMetaType::LongLong:
        return numberFrom<qlonglong>(bytes, size);
    case QMetaType::ULongLong:
        return numberFrom<qulonglong>(bytes, size);
    case QMetaType::Short:
        return numberFrom<short>(bytes, size);
    case QMetaType::UShort:
        return numberFrom<ushort>(bytes, size);
    default:
        return {};
    }
}
}

datastoreElementType::datastoreElementType(const QString &key, const QVariant &value)
    : key(key)
{
    store(key, value);
}

bool datastoreElementType::store(const QString &key, const QVariant &value)
{
    if (key != this->key)
        return false;
    this->value = value;
    exprDblValue = variantToDouble(value);
    return true;
}

double datastoreElementType::variantToDouble(const QVariant &value)
{
    if (value.userType() == QMetaType::Double) // the common case, without the conversion table
        return *static_cast<const double *>(value.constData());
    if (value.canConvert<double>())
        return value.toDouble();
    if (value.canConvert<float>())
        return double(value.toFloat());
    if (value.canConvert<int>())
        return value.toInt();
    if (value.canConvert<unsigned int>())
        return value.toUInt();
    return value.canConvert<bool>() && value.toBool() ? 1.0 : 0.0;
}

QByteArray datastoreElementType::serialise() const
{
    const int type = value.userType();
    const QByteArray name = key.toLatin1();
    const QByteArray text = type == QMetaType::QString ? value.toString().toLatin1() : QByteArray();
    const int length = keyOffset + name.size() + typeSize + valueSize(type, text) + checksumSize;

    QByteArray message(length, Qt::Uninitialized);
    char *to = message.data();
    *to++ = char(0xAB);
    *to++ = char(0xCD);
    to = append(to, quint32(length));
    to = append(to, quint32(name.size()));
    to = append(to, name);
    to = append(to, quint32(type));
    to = appendValue(to, value, text);
    append(to,
        crc_16(reinterpret_cast<const unsigned char *>(message.constData()),
            size_t(length - checksumSize - checksumSize)));
    return message;
}

bool datastoreElementType::deserialise(const QByteArray &message)
{
    const char *const bytes = message.constData();
    const qint64 size = message.size();
    if (size < minimumLength || bytes[0] != char(0xAB) || bytes[1] != char(0xCD))
        return false;
    const quint16 expected = readAt<quint16>(bytes + size - checksumSize);
    if (checksum(QByteArray::fromRawData(bytes, int(size) - checksumSize)) != expected)
        return false;
    const qint64 length = readAt<quint32>(bytes + lengthOffset);
    if (size < length || length < keyOffset + typeSize + checksumSize)
        return false;
    const qint64 keyLength = readAt<quint32>(bytes + keyLengthOffset);
    const qint64 valueOffset = keyOffset + keyLength + typeSize;
    const qint64 valueLength = length - valueOffset - checksumSize;
    if (valueLength <= 0)
        return false;
    const int type = readAt<qint32>(bytes + keyOffset + keyLength);
    const QVariant received = valueFrom(type, bytes + valueOffset, int(valueLength));
    if (!received.isValid())
        return false;
    key = QString::fromUtf8(bytes + keyOffset, int(keyLength));
    value = received;
    return true;
}

quint16 datastoreElementType::checksum(const QByteArray &data)
{
    if (data.size() < checksumSize)
        return 0;
    return crc_16(
        reinterpret_cast<const unsigned char *>(data.constData()), size_t(data.size() - checksumSize));
}

void datastoreElementType::printData() const
{
    switch (value.userType()) {
    case QMetaType::Double:
        std::printf("%lg", value.toDouble());
        break;
    case QMetaType::Float:
        std::printf("%g", double(value.toFloat()));
        break;
    case QMetaType::Int:
        std::printf("%i", value.toInt());
        break;
    case QMetaType::UInt: // Kept: printed as signed, like every reader of this output expects.
        std::printf("%i", int(value.toUInt()));
        break;
    case QMetaType::Bool:
        std::fputs(value.toBool() ? "true" : "false", stdout);
        break;
    case QMetaType::QString:
        std::fputs(value.toString().toLatin1().constData(), stdout);
        break;
    default:
        break;
    }
}

QDateTime datastoreElementType::updateTime() const
{
    return updatedMs == 0 ? QDateTime() : QDateTime::fromMSecsSinceEpoch(updatedMs, Qt::UTC);
}
