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

char latin1(QChar c)
{
    return c.unicode() <= 0xFF ? char(c.unicode()) : '?';
}

/// As QString::toLatin1(), without a copy in between: a character that Latin-1 lacks becomes "?".
char *append(char *to, const QString &text)
{
    constexpr int step = 8; // a block of its own, which the compiler turns into vector operations
    const QChar *from = text.constData();
    int left = text.size();
    for (; left >= step; left -= step, from += step, to += step) {
        char block[step];
        for (int i = 0; i < step; ++i)
            block[i] = latin1(from[i]);
        std::memcpy(to, block, step);
    }
    for (; left > 0; --left)
        *to++ = latin1(*from++);
    return to;
}

quint16 checksumOf(const char *bytes, qint64 size)
{
    return size < checksumSize
        ? quint16(0)
        : crc_16(reinterpret_cast<const unsigned char *>(bytes), size_t(size - checksumSize));
}

/// A value as it stands in the byte form: a number as it lies in memory, or a text; other types are empty.
class valueForm
{
public:
    explicit valueForm(const QVariant &value)
    {
        const int type = value.userType();
        if (type == QMetaType::QString)
            m_text = value.toString();
        else
            std::memcpy(m_number, value.constData(), size_t(m_numberSize = numberSize(type)));
    }

    int size() const { return m_numberSize + m_text.size(); }
    char *appendTo(char *to) const
    {
        std::memcpy(to, m_number, size_t(m_numberSize));
        return append(to + m_numberSize, m_text);
    }

private:
    static int numberSize(int type)
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
            return 0;
        }
    }

    char m_number[sizeof(double)] = {};
    int m_numberSize = 0;
    QString m_text;
};

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
    case QMetaType::Double: // the common case, without a look at the type table
        return size < int(sizeof(double)) ? QVariant() : QVariant(readAt<double>(bytes));
    case QMetaType::LongLong:
        return numberFrom<qlonglong>(bytes, size);
    case QMetaType::ULongLong:
        return numberFrom<qulonglong>(bytes, size);
    case QMetaType::Short:
        return numberFrom<short>(bytes, size);
    case QMetaType::UShort:
        return numberFrom<ushort>(bytes, size);
    case QMetaType::Char:
        return numberFrom<char>(bytes, size);
    case QMetaType::SChar:
        return numberFrom<signed char>(bytes, size);
    case QMetaType::UChar:
        return numberFrom<uchar>(bytes, size);
    case QMetaType::Long:
        return numberFrom<long>(bytes, size);
    case QMetaType::ULong:
        return numberFrom<ulong>(bytes, size);
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
    const valueForm form(value);
    const int length = keyOffset + key.size() + typeSize + form.size() + checksumSize;

    QByteArray message(length, Qt::Uninitialized);
    char *to = message.data();
    *to++ = char(0xAB);
    *to++ = char(0xCD);
    to = append(to, quint32(length));
    to = append(to, quint32(key.size()));
    to = append(to, key);
    to = append(to, quint32(value.userType()));
    to = form.appendTo(to);
    append(to, checksumOf(message.constData(), length - checksumSize));
    return message;
}

bool datastoreElementType::deserialise(const QByteArray &message)
{
    const char *const bytes = message.constData();
    const qint64 size = message.size();
    if (size < minimumLength || bytes[0] != char(0xAB) || bytes[1] != char(0xCD))
        return false;
    const quint16 expected = readAt<quint16>(bytes + size - checksumSize);
    if (checksumOf(bytes, size - checksumSize) != expected)
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
    QVariant received = valueFrom(type, bytes + valueOffset, int(valueLength));
    if (!received.isValid())
        return false;
    key = QString::fromUtf8(bytes + keyOffset, int(keyLength));
    value = std::move(received);
    return true;
}

quint16 datastoreElementType::checksum(const QByteArray &data)
{
    return checksumOf(data.constData(), data.size());
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
        std::fputs(value.toString().toLocal8Bit().constData(), stdout);
        break;
    default:
        break;
    }
}

QDateTime datastoreElementType::updateTime() const
{
    return updatedMs == 0 ? QDateTime() : QDateTime::fromMSecsSinceEpoch(updatedMs, Qt::UTC);
}
