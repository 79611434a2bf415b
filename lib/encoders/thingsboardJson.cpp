#include "lib/encoders/thingsboardJson.h"

#include "lib/types/datastore.h"

#include <array>
#include <charconv>

namespace {
constexpr int significantDigits = 6;
constexpr int bytesPerPair = 32; // a guess that saves growing the message

/// Appends what printf's "%g" prints, in every language of the machine.
void append(QByteArray &to, double value)
{
    std::array<char, 32> text; // NOLINT(cppcoreguidelines-pro-type-member-init): to_chars fills it
    const auto end = std::to_chars(
        text.data(), text.data() + text.size(), value, std::chars_format::general, significantDigits);
    to.append(text.data(), int(end.ptr - text.data()));
}

void append(QByteArray &to, int value)
{
    std::array<char, 12> text; // NOLINT(cppcoreguidelines-pro-type-member-init): to_chars fills it
    to.append(
        text.data(), int(std::to_chars(text.data(), text.data() + text.size(), value).ptr - text.data()));
}

/// Appends the text as Latin-1 between quotes, without a copy in between.
void append(QByteArray &to, const QString &text)
{
    const int start = to.size();
    to.resize(start + text.size() + 2);
    char *at = to.data() + start;
    *at++ = '"';
    for (const QChar each : text)
        *at++ = each.unicode() <= 0xFF ? char(each.unicode()) : '?';
    *at = '"';
}

/// Appends the value as it stands in the message; false, and nothing, for types that are left out.
bool append(QByteArray &to, const QVariant &value)
{
    switch (value.userType()) {
    case QMetaType::Double:
        append(to, value.toDouble());
        return true;
    case QMetaType::Float:
        append(to, double(value.toFloat()));
        return true;
    case QMetaType::Int:
        append(to, value.toInt());
        return true;
    case QMetaType::Bool:
        to.append(value.toBool() ? '1' : '0');
        return true;
    case QMetaType::QString:
        append(to, value.toString());
        return true;
    default:
        return false;
    }
}
}

QByteArray thingsboardJson::convertVariant(const QVariant &value)
{
    QByteArray text;
    append(text, value);
    return text;
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
        const int before = message.size();
        if (before != opening)
            message.append(',');
        append(message, key);
        message.append(':');
        if (!append(message, store->query(key)))
            message.truncate(before);
    }
    return message.size() == opening ? QByteArray() : message.append("}}");
}
