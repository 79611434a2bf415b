#include "tools/elementText.h"

#include <QHash>
#include <QLocale>

QString printable(const QString &text)
{
    QString safe = text;
    for (QChar &each : safe) {
        if (!each.isPrint())
            each = QLatin1Char('.');
    }
    return safe;
}

QString valueText(const QVariant &value)
{
    switch (value.userType()) {
    case QMetaType::UnknownType:
        return QStringLiteral("-");
    case QMetaType::Double:
        return QString::number(value.toDouble(), 'g', QLocale::FloatingPointShortest);
    case QMetaType::Float:
        return QString::number(double(value.toFloat()), 'g', 7); // digits that a float holds
    default:
        return printable(value.toString());
    }
}

QString typeText(const QVariant &value)
{
    static const QHash<int, QString> names{{QMetaType::UnknownType, QStringLiteral("-")},
        {QMetaType::QString, QStringLiteral("text")}, {QMetaType::UInt, QStringLiteral("uint")}};
    return names.value(value.userType(), QString::fromLatin1(value.typeName()));
}

QString csvField(const QString &text)
{
    if (!text.contains(QLatin1Char(',')) && !text.contains(QLatin1Char('"')))
        return text;
    return QLatin1Char('"') + QString(text).replace(QLatin1String("\""), QLatin1String("\"\""))
        + QLatin1Char('"');
}
