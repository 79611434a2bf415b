#ifndef INT_TEMPERATURE_H
#define INT_TEMPERATURE_H

#include "lib/instruments/internal/int_sensor.h"

/// Publishes the temperature of one thermal zone (double, degrees Celsius) under the zone's name.
/// Source: kernel thermal sysfs ABI, /sys/class/thermal/thermal_zone*/temp, millidegrees.
class int_temperature final : public int_sensor
{
public:
    explicit int_temperature(const QDomElement &element, const hostSystem &host = hostSystem::real());

    sensorResultPacket takeSample() override;
    void configureSensor(const QDomElement &element) override;

private:
    void useZone(const QDomElement &element);

    QString zoneName = QStringLiteral("temperature");
    int zone = 0;
};

#endif
