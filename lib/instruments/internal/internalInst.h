#ifndef INTERNALINST_H
#define INTERNALINST_H

#include "lib/instruments/instrument.h"
#include "lib/support/hostSystem.h"

#include <vector>

class int_sensor;

/// The controller's own health: processor load, free disk space, thermal zones, memory of the process.
///
/// Publishes every reading of its sensors once a period, as it comes: the keys are the sensors', without the
/// instrument's prefix. A sensor that fails logs one line; the others still report.
/// Thread: everything from start() on runs on the instrument's own thread.
class internalInst : public instrument
{
    Q_OBJECT

public:
    /// \a host must outlive the instrument.
    internalInst(datastore *store, QList<interface *> *ifaces, QObject *parent,
        const hostSystem &host = hostSystem::real());
    ~internalInst() override;

    void configureInstrument(QDomElement block) override;

public slots:
    void start() override;
    void takeSample();

private:
    void addSensor(const QDomElement &element);

    const hostSystem &m_host;
    int sampleInterval = 1500; // ms
    QTimer *sampleTimer = nullptr;
    std::vector<std::unique_ptr<int_sensor>> sensor; // in configuration order
};

#endif
