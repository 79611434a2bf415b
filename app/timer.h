#ifndef TIMER_H
#define TIMER_H

#include "app/timePeriod.h"
#include "lib/instruments/instrument.h"
#include "lib/support/hostSystem.h"

#include <QList>

#include <mutex>

class QThread;
class QTimer;

/// A weekly switching programme with an operator boost: one for space heating, one for hot water.
///
/// Publishes name + "On" (bool) once a second: "heatTimerOn", "waterTimerOn".
/// A control file that cannot be read is logged once; without periods the timer is on during a boost only.
/// Threads: start(), takeSample() and readCtrlFile() run on the timer's own thread; isOn(), boost(),
/// advance() and operationText() may be called from any thread. Each of them reads the clock once. A boost
/// lives in memory only.
class timer : public instrument
{
    Q_OBJECT

public:
    /// Results are published under \a name + key. \a parent is null for a timer that is to be moved to a
    /// thread. \a host must outlive the timer.
    timer(datastore *store, const QString &name, const QString &ctlFile, QThread *parent,
        const hostSystem &host = hostSystem::real());

public slots:
    void start() override;
    void takeSample();

    /// Each press starts the boost again from now, one hour longer: 60, 120, 180 minutes; the fourth cancels
    /// it.
    void boost();
    /// Kept: does nothing; the display has a button for it.
    void advance() { }
    /// Whether a boost or a period is on now. Clears an expired boost.
    bool isOn();

    /// Appends the control file's periods to the programme.
    void readCtrlFile();
    /// Writes nothing: programmes are edited outside the system.
    void writeCtrlFile() { }
    /// What the display shows: "Boost until ...", "Standard timing until ..." or "Off".
    /// Kept: leaves an expired boost as it is, unlike isOn().
    QString operationText() const;

private:
    QDateTime localTime() const { return m_host.now().toLocalTime(); }
    QList<timePeriod> programme() const;

    const hostSystem &m_host;
    const QString m_ctlFile;
    QTimer *sampleTimer = nullptr; // child of this, made on the timer's thread

    mutable std::mutex m_lock; // guards all below
    QList<timePeriod> period;  // in file order
    timePeriod m_boost;
    const timePeriod m_advance; // Kept: never on; asked like the boost
};

#endif
