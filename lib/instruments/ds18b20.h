#ifndef DS18B20_H
#define DS18B20_H

#include "lib/instruments/instrument.h"
#include "lib/support/hostSystem.h"

#include <optional>

/// DS18B20 one-wire temperature sensor behind the kernel's one-wire driver.
///
/// Publishes "temperature" (double, degrees Celsius) at start() and once a period.
/// A failed reading logs one line and publishes nothing; the store keeps its last value.
/// Thread: everything from start() on runs on the instrument's own thread.
/// Source: kernel w1_therm driver, file w1_slave: CRC verdict in its first line, millidegrees in its second.
class ds18b20 : public instrument
{
    Q_OBJECT

public:
    /// \a host must outlive the instrument.
    ds18b20(datastore *store, QList<interface *> *ifaces, QObject *parent,
        const hostSystem &host = hostSystem::real());

    void configureInstrument(QDomElement block) override;

public slots:
    void start() override;
    void takeSample();

private:
    void logAddresses();
    std::optional<double> temperatureIn(const QByteArray &text);

    const hostSystem &m_host;
    QTimer *sampleTimer = nullptr;
    QString sensorID;          // directory under /sys/bus/w1/devices
    int sampleInterval = 5000; // ms
};

#endif
