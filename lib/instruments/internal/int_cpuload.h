#ifndef INT_CPULOAD_H
#define INT_CPULOAD_H

#include "lib/instruments/internal/int_sensor.h"

/// Publishes "cpu" (double, per cent): the one-minute load average over four processors.
/// Source: proc(5), /proc/loadavg, first field.
class int_cpuload final : public int_sensor
{
public:
    explicit int_cpuload(const QDomElement &element, const hostSystem &host = hostSystem::real());

    sensorResultPacket takeSample() override;

private:
    const int nProc = 4; // Kept: the board's processors, whatever this machine has
};

#endif
