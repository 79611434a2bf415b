#ifndef INT_SENSOR_H
#define INT_SENSOR_H

#include "lib/instruments/internal/sensorResultPacket.h"
#include "lib/support/hostSystem.h"

#include <QDomElement>

#include <memory>
#include <optional>

class debugComponent;

/// One thing that the controller measures about itself, sampled by internalInst on its thread.
///
/// A failed reading is one log line and no value. Sensors keep nothing between samples.
class int_sensor
{
public:
    /// \a host must outlive the sensor.
    explicit int_sensor(const hostSystem &host = hostSystem::real());
    virtual ~int_sensor();
    int_sensor(const int_sensor &) = delete;
    int_sensor &operator=(const int_sensor &) = delete;

    virtual sensorResultPacket takeSample();
    virtual void configureSensor(const QDomElement &element);

    /// Reads the keys that all sensors have, then the sensor's own. Called by each sensor's constructor.
    void configure(const QDomElement &element);

    std::unique_ptr<debugComponent> debug;
    QString name = QStringLiteral("int_sensor");

protected:
    /// Content of a kernel file; logs what cannot be opened.
    std::optional<QByteArray> readFile(const QString &path) const;
    void logUnreadable(const QString &path) const;
    /// One reading under the prefixed key.
    sensorResultPacket reading(const QString &key, double value) const;

    static constexpr double percent = 100.0; ///< of a share

    QString storagePrepend;
    const hostSystem &m_host;
};

#endif
