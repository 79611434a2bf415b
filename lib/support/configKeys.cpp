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

std::function<void(const QDomElement &)> intoPeriod(int &target, debugComponent &log)
{
    return [&target, &log](const QDomElement &element) {
        if (const int period = element.text().toInt(); period > 0)
            target = period;
        else
            log.log(QStringLiteral("No usable period \"%1\", keeping %2 ms")
                        .arg(element.text(), QString::number(target)));
    };
}
