#ifndef INT_PROCESSMEM_H
#define INT_PROCESSMEM_H

#include "lib/instruments/internal/int_sensor.h"

/// Publishes "procMem" (double, kB): the resident memory of this process.
/// Source: proc(5), /proc/self/status, the VmRSS line.
class int_processMem final : public int_sensor
{
public:
    explicit int_processMem(const QDomElement &element, const hostSystem &host = hostSystem::real());

    sensorResultPacket takeSample() override;
};

#endif
