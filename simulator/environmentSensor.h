#ifndef ENVIRONMENTSENSOR_H
#define ENVIRONMENTSENSOR_H

#include "simulator/bme280Chip.h"
#include "simulator/chip.h"

class eventLog;

/// A BME280 on a bus, measuring by the log's clock.
class environmentSensor : public chip
{
public:
    /// \a clock must outlive the sensor.
    explicit environmentSensor(const eventLog &clock);

    void setClimate(double degrees, double hectopascals, double humidity);

    int write(const QByteArray &bytes) override;
    QByteArray read(int length) override;

private:
    double nowMs() const;

    const eventLog &m_clock;
    bme280Chip m_chip;
};

#endif
