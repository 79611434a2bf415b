#include "lib/support/configKeys.h"

#include "lib/communications/debugComponent.h"

void readKeys(const QDomElement &block, const std::vector<configKey> &keys)
{
    for (QDomElement child = block.firstChildElement(); !child.isNull(); child = child.nextSiblingElement()) {
        const QString tag = child.tagName().toLower();
        for (const configKey &key : keys) {
            if (tag == QLatin1String(key.tag))
                key.apply(child);
        }
    }
}

std::function<void(const QDomElement &)> into(QString &target)
{
    return [&target](const QDomElement &element) { target = element.text(); };
}

std::function<void(const QDomElement &)> into(int &target)
{
    return [&target](const QDomElement &element) { target = element.text().toInt(); };
}

std::function<void(const QDomElement &)> into(quint32 &target)
{
    return [&target](const QDomElement &element) { target = element.text().toUInt(); };
}

std::function<void(const QDomElement &)> intoMs(int &target)
{
    return [&target](const QDomElement &element) { target = qMax(0, element.text().toInt()); };
}

std::function<void(const QDomElement &)> intoMs(int &target, int least, debugComponent &log)
{
    return [&target, least, &log](const QDomElement &element) {
        bool isNumber = false;
        const int ms = element.text().toInt(&isNumber);
        if (isNumber && ms >= least)
            target = ms;
        else
            log.log(QStringLiteral("No usable number of milliseconds \"%1\", keeping %2")
                        .arg(element.text(), QString::number(target)));
    };
}
