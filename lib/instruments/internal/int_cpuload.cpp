#include "lib/instruments/internal/int_cpuload.h"

#include "lib/communications/componentTypes.h"
#include "lib/communications/debugComponent.h"

int_cpuload::int_cpuload(const QDomElement &element, const hostSystem &host)
    : int_sensor(host)
{
    name = QStringLiteral("int_cpuload");
    debug->configure(QStringLiteral("CPU load"), componentTypes::cpuSensor);
    configure(element);
}

sensorResultPacket int_cpuload::takeSample()
{
    const QString path = QStringLiteral("/proc/loadavg");
    const std::optional<QByteArray> text = readFile(path);
    if (!text)
        return {};
    bool isNumber = false;
    const double load = text->split(' ').constFirst().toDouble(&isNumber);
    if (!isNumber) {
        logUnreadable(path);
        return {};
    }
    return reading(QStringLiteral("cpu"), load / nProc * percent);
}
