#ifndef BME280_H
#define BME280_H

#include "lib/instruments/PCB/bme280Driver.h"
#include "lib/instruments/instrument.h"
#include "lib/support/hostSystem.h"

#include <optional>

class i2cInterface;

/// BME280 environment sensor on an I2C bus.
///
/// Publishes "Temperature" (double, degree C), "Pressure" (double, hPa; left out from 1090 hPa on) and
/// "Humidity" (double, %RH), in this order, once a period. A failed sample logs one line and publishes
/// nothing; the store keeps its last values. A chip that does not answer at the start, or is unknown, ends
/// the sampling; a bus that cannot be taken at the start is tried again with the next sample. Thread:
/// everything from start() on runs on the instrument's own thread, which start() blocks for a second and
/// every sample for 100 ms; the bus is taken for one start or sample at a time.
/// Source: bme280Driver. Every sample sets the chip up anew, so that one that lost its power in between goes
/// on.
class bme280 : public instrument
{
    Q_OBJECT

public:
    /// \a host must outlive the instrument.
    bme280(datastore *store, QList<interface *> *ifaces, QObject *parent,
        const hostSystem &host = hostSystem::real());

    void configureInstrument(QDomElement block) override;

public slots:
    void start() override;

private slots:
    void takeSample();

private:
    bool takeBus();
    void bindDriver();
    void connectChip();
    void identifyChip();
    void initialise(const QString &chipName);
    bool calibrate();
    std::optional<bme280_data> measure();

    const hostSystem &m_host;
    quint8 device = 0;  // what the chip says it is
    int i2cAddr = 0x76; // 7 bits
    int period = 5000;  // ms
    QTimer *sampleTimer = nullptr;
    i2cInterface *i2cBus = nullptr; // not owned
    bool m_calibrated = false;      // the calibration that dev holds is the chip's
    bme280_dev dev;                 // without callbacks until the bus could be taken
};

#endif
