#include "lib/instruments/internal/int_temperature.h"

#include "lib/communications/componentTypes.h"
#include "lib/communications/debugComponent.h"
#include "lib/support/configKeys.h"

namespace {
constexpr double milli = 1000.0;
}

int_temperature::int_temperature(const QDomElement &element, const hostSystem &host)
    : int_sensor(host)
{
    name = QStringLiteral("int_cpuload"); // Kept: it bears the processor sensor's tag
    debug->configure(QStringLiteral("Temperature"), componentTypes::temperatureSensor);
    configure(element);
}

void int_temperature::configureSensor(const QDomElement &element)
{
    readKeys(element, {{"zone", [this](const QDomElement &zone) { useZone(zone); }}});
}

void int_temperature::useZone(const QDomElement &element)
{
    const QString nameAttribute = QStringLiteral("name");
    if (element.hasAttribute(nameAttribute)) {
        zoneName = element.attribute(nameAttribute);
        debug->configure(QStringLiteral("Temperature - ") + zoneName, componentTypes::temperatureSensor);
    }
    zone = element.text().toInt();
}

sensorResultPacket int_temperature::takeSample()
{
    const QString path = QStringLiteral("/sys/class/thermal/thermal_zone%1/temp").arg(zone);
    const std::optional<QByteArray> text = readFile(path);
    if (!text)
        return {};
    bool isNumber = false;
    const double millidegrees = text->split('\n').constFirst().trimmed().toDouble(&isNumber);
    if (!isNumber) {
        logUnreadable(path); // a zone whose sensor sleeps opens, but gives no line
        return {};
    }
    return reading(zoneName, millidegrees / milli);
}
