#ifndef VALVE_H
#define VALVE_H

#include "lib/instruments/instrument.h"

#include <atomic>

class QThread;
class QTimer;
class datastoreElementType;
class visibilityFlag;

/// Positions the zone valve: heating, hot water, or both.
///
/// Publishes the demands of the valve's "mid" and "full" relays (bool), once every period, at once when a
/// thermostat turns on, and at once when the service engineer picks a position. While its control widget is
/// on screen the picked position holds and the thermostats and timers do not count. Keys that nobody writes
/// read as no value; nothing is logged. Threads: everything from start() on runs on the instrument's own
/// thread; the control widget is built by the constructor and lives on the display thread. The two talk by
/// signals.
class valve : public instrument
{
    Q_OBJECT

public:
    /// \a parent is null for an instrument that is to be moved to a thread.
    valve(datastore *store, QList<interface *> *ifaces, QThread *parent);
    ~valve() override;

    void configureInstrument(QDomElement block) override;

    /// Where the switch board with the prefix \a card looks for what its relay \a channel is to do.
    static QString demandKey(const QString &card, int channel);

public slots:
    void start() override;
    void takeSample();
    void updateData(const datastoreElementType &element);

signals:
    /// The line that the control widget shows.
    void statusChanged(const QString &text);
    /// A key of a thermostat was stored; on the thread that stored it.
    void thermostatUpdated(const datastoreElementType &element);

private:
    /// Item data of the position selector.
    enum position : int { heating = 1, hotWater = 2, both = 3 };

    void buildControl();
    void followStore();
    bool isManual() const;
    float current(const QString &card, int channel) const;
    void followSelector();
    void followThermostats();
    /// Drives the valve for \a heat and \a tank; unless \a force is set, each counts only while its timer is
    /// on.
    void setOutput(bool heat, bool tank, bool force);

    // keys in the data store
    QString heatStat;
    QString tankStat;
    QString heatTimer;
    QString tankTimer;
    QString midOutput; // empty until start(); nothing is published before
    QString fullOutput;

    QString midCard = QStringLiteral("NoCard"); // prefix of the card that has the relay
    int midChannel = 0;
    QString fullCard = QStringLiteral("NoCard");
    int fullChannel = 0;

    bool heatState = false;
    bool tankState = false;
    // Kept: never written, so that only a thermostat that turns on moves the valve between two samples.
    const bool lastHeat = false;
    const bool lastTank = false;

    QTimer *sampleTimer = nullptr;              // child of this, made on the instrument's thread
    int m_sampleInterval = 1000;                // ms
    std::atomic<int> m_selected{heating};       // the selector's item data, written on the display thread
    std::unique_ptr<visibilityFlag> m_onScreen; // of the control widget
};

#endif
