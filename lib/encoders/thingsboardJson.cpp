#include "lib/encoders/thingsboardJson.h"

#include "lib/types/datastore.h"

#include <array>
#include <charconv>

namespace {
constexpr int significantDigits = 6;
constexpr int bytesPerPair = 32; // a guess that saves growing the message

/// What printf's "%g" prints, in every language of the machine.
QByteArray general(double value)
{
    std::array<char, 32> text; // NOLINT(cppcoreguidelines-pro-type-member-init): to_chars fills it
    const auto end = std::to_chars(
        text.data(), text.data() + text.size(), value, std::chars_format::general, significantDigits);
    return QByteArray(text.data(), int(end.ptr - text.data()));
}
}

QByteArray thingsboardJson::convertVariant(const QVariant &value)
{
    switch (value.userType()) {
    case QMetaType::Double:
        return general(value.toDouble());
    case QMetaType::Float:
        return general(double(value.toFloat()));
    case QMetaType::Int:
        return QByteArray::number(value.toInt());
    case QMetaType::Bool:
        return value.toBool() ? QByteArrayLiteral("1") : QByteArrayLiteral("0");
    case QMetaType::QString:
        return '"' + value.toString().toLatin1() + '"';
    default:
        return {};
    }
}

QByteArray thingsboardJson::buildMessage(datastore *store, const QStringList &keys) const
{
    if (keys.isEmpty())
        return {};
    QByteArray message;
    message.reserve(bytesPerPair * (keys.size() + 1));
    message.append("{\"ts\":").append(QByteArray::number(m_host.utcMs())).append(",\"values\":{");
    const int opening = message.size();
    for (const QString &key : keys) {
        const QByteArray text = convertVariant(store->query(key));
        if (text.isNull())
            continue;
        if (message.size() != opening)
            message.append(',');
        message.append('"').append(key.toLatin1()).append("\":").append(text);
    }
    return message.size() == opening ? QByteArray() : message.append("}}");
}
