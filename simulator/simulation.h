#ifndef SIMULATION_H
#define SIMULATION_H

#include "simulator/busServer.h"
#include "simulator/elementPeer.h"
#include "simulator/environmentSensor.h"
#include "simulator/eventLog.h"
#include "simulator/gpioPins.h"
#include "simulator/kernelFiles.h"
#include "simulator/plant.h"
#include "simulator/switchBoardChip.h"

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

/// The installation: the plant, the three switch boards and the environment sensor wired to it, their buses
/// and the kernel's files, moving on in real time multiplied by a speed.
///
///     /dev/i2c-1  0x30 control card: relay 1 pump, relay 2 boiler; pressures, flows, their currents
///                 0x76 environment sensor
///     /dev/i2c-2  0x30 thermostat card: mains sense 1 room, 2 tank
///     /dev/i2c-3  0x30 valve card: relay 1 mid, relay 2 full, the motor's currents
class simulation : public QObject
{
    Q_OBJECT

public:
    static constexpr int cardAddress = 0x30;
    static constexpr int sensorAddress = 0x76;

    /// \a root is the folder that stands for the machine.
    explicit simulation(const QString &root);

    /// Makes files and sockets and starts the plant; false, with the reason, when something is in the way.
    bool start(QString *why);

    void setSpeed(double factor) { m_speed = factor; }
    /// Adds the far end of a link to other controllers; false, with the reason, when it cannot be made.
    bool addTcpPeer(quint16 port, QString *why);
    bool addSerialPeer(const QString &link, QString *why);
    /// Sensors feel the plant as it is now; to be called after changing it.
    void wire();
    /// What the relays feed.
    plant::supply relays() const;

    plant house;
    eventLog log;
    busServer buses{log};
    kernelFiles files;
    gpioPins pins;
    std::unique_ptr<elementPeer> tcp;    ///< null unless asked for
    std::unique_ptr<elementPeer> serial; ///< null unless asked for

signals:
    /// After every step of the plant, and after wire().
    void moved();

private:
    void name(switchBoardChip &card, const QByteArray &called);
    void advance();
    void wireCards();
    void wireFiles();

    QString m_root;
    switchBoardChip m_control;
    switchBoardChip m_thermostats;
    switchBoardChip m_valve;
    environmentSensor m_environment{log};
    QTimer m_timer;
    QElapsedTimer m_clock;
    double m_speed = 1.0;
};

#endif
