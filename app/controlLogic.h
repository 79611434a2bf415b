#ifndef CONTROLLOGIC_H
#define CONTROLLOGIC_H

#include "lib/instruments/instrument.h"

class QThread;
class QTimer;
class timer;

/// Decides whether the boiler and the circulating pump run.
///
/// Publishes the boiler command, then the pump command (bool), under the configured keys, once every period.
/// A thermostat key that nobody writes is no call for heat; nothing is logged by the decision.
/// Thread: everything from start() on runs on the instrument's own thread. The two delays run on the
/// monotonic clock.
class controlLogic : public instrument
{
    Q_OBJECT

public:
    /// The two programmes must outlive the logic. \a parent is null for an instrument that is to be moved to
    /// a thread.
    controlLogic(
        datastore *store, QList<interface *> *ifaces, timer *waterTimer, timer *heatTimer, QThread *parent);

    void configureInstrument(QDomElement block) override;

public slots:
    void start() override;
    void takeSample();

private:
    bool isDemanded() const;
    void startDelays(bool demand);
    QTimer *makeDelay(int ms);

    // Of the sample before. Kept: the decision looks at the first only; the others are what a service
    // engineer's debugger shows.
    bool m_lastBoiler = false; // demand
    bool m_lastPump = false;   // demand
    bool m_lastSense = false;  // boiler sense input
    timer *m_water;
    timer *m_heat;

    // keys in the data store
    QString heatstat = QStringLiteral("NoStat");
    QString tankstat = QStringLiteral("NoStat");
    QString pumpOutput = QStringLiteral("NoPump");
    QString boilerOutput = QStringLiteral("NoBoiler");
    QString boilerSense = QStringLiteral("NoSense");

    // children of this, made on the instrument's thread; the delays are only asked whether they are active
    QTimer *sampleTimer = nullptr;
    int m_sampleInterval = 1000; // ms
    QTimer *startupTimer = nullptr;
    int m_startupPeriod = 10000; // ms, pump before boiler
    QTimer *shutdownTimer = nullptr;
    int m_shutdownPeriod = 60000; // ms, pump after boiler
};

#endif
