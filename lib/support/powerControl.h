#ifndef POWERCONTROL_H
#define POWERCONTROL_H

#include "lib/support/hostSystem.h"

#include <QDateTime>
#include <QDomElement>
#include <QList>
#include <QObject>
#include <QString>
#include <QVariant>

#include <memory>

class QTimer;
class datastore;
class datastoreElementType;
class debugComponent;
class expression;
class gpioInterface;

/// Switches the supply of a field device through one GPIO pin: on at start and, if so configured, at fixed
/// intervals; off after a time, or when a rule over the data store matches.
///
/// Publishes "power" (bool) at every switching and, before each false, "powerOnDuration" (int, whole seconds
/// the supply was on). A failed GPIO write is logged by the GPIO object; the new state holds regardless.
/// Threads: configured on the display thread. start() binds it to the thread it is called on: timers and the
/// store's updates arrive there. Destroy it on that thread or after that thread has ended.
class powerControl : public QObject
{
    Q_OBJECT

public:
    /// \a host must outlive the controller.
    explicit powerControl(QObject *parent = nullptr, const hostSystem &host = hostSystem::real());
    ~powerControl() override;

    /// Reads a "power" element; any other is ignored. Rules add to those that are there.
    void configure(const QDomElement &element);
    /// The store (not owned) that the rules see and whose updates make them act.
    void setDataStore(datastore *store);
    /// Replaces the pin driver by one that is not owned and must outlive the controller and its copies.
    void setGpio(gpioInterface *driver);
    /// Makes the timers and switches on.
    void start();

    /// Without a pin nothing is ever switched.
    bool hasPin() const { return pin != noPin; }
    bool isPowered() const { return power; }
    /// UTC time of the last switch-on; null before.
    QDateTime powerOnTime() const { return m_powerOnTime; }
    /// Takes over settings and state of \a other; timers, rules and pin driver are then shared by both.
    void copyPowerControl(powerControl *other);

    std::unique_ptr<debugComponent> debug;

public slots:
    /// Evaluates the rules, while the supply is on, and switches off when one matches.
    void dataFeed(const datastoreElementType &element);
    void powerOn();
    void powerOff();

signals:
    void resultAvailable(const QString &key, const QVariant &value);
    void powerIsOn();
    void powerIsOff();

protected:
    virtual void beforePowerOn() { }
    virtual void afterPowerOn() { }
    virtual void beforePowerOff() { }
    virtual void afterPowerOff() { }

    static constexpr int noPin = -1;
    static constexpr int defaultOnMs = 600000;
    static constexpr int defaultOffMs = 300000;

    bool forceOn = false;  // powerOff() does nothing
    bool forceOff = false; // powerOn() does nothing
    bool power = false;
    int pin = noPin;
    int powerOnMode = 0;                 // 0: once, at start; other: at every powerOnInterval
    int powerOffMode = 3;                // 3: by rules; 4: by rules only, whatever powerOnMode is
    int powerOnInterval = defaultOnMs;   // ms
    int powerOffInterval = defaultOffMs; // ms
    QDateTime m_powerOnTime;
    std::shared_ptr<QTimer> powerOnTimer; // both are null before start()
    std::shared_ptr<QTimer> powerOffTimer;
    std::shared_ptr<gpioInterface> gpio;
    QList<std::shared_ptr<expression>> rule;

private:
    void addRule(const QDomElement &element);
    bool anyRuleMatches(const datastoreElementType &element);
    void followStore();
    int usable(int intervalMs, int defaultMs) const;

    const hostSystem &m_host;
    datastore *m_store = nullptr;
    std::unique_ptr<QObject> m_feed; // receives the store's updates, on the thread that switched on first
};

#endif
