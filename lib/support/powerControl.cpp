#include "lib/support/powerControl.h"

#include "lib/communications/componentTypes.h"
#include "lib/communications/debugComponent.h"
#include "lib/interfaces/gpioInterface.h"
#include "lib/support/configKeys.h"
#include "lib/support/expression.h"
#include "lib/types/datastore.h"

#include <QThread>
#include <QTimer>

namespace {
constexpr int onOnce = 0;
constexpr int offByRule = 3;
constexpr int offByRuleOnly = 4;

const QString powerKey = QStringLiteral("power");

/// A timer of the calling thread that stops with it.
std::shared_ptr<QTimer> makeTimer(int intervalMs)
{
    auto timer = std::make_shared<QTimer>();
    timer->setInterval(intervalMs);
    QObject::connect(QThread::currentThread(), &QThread::finished, timer.get(), &QTimer::stop);
    return timer;
}
}

powerControl::powerControl(QObject *parent, const hostSystem &host)
    : QObject(parent)
    , debug(std::make_unique<debugComponent>())
    , gpio(std::make_shared<gpioInterface>(host))
    , m_host(host)
{
    debug->configure(QStringLiteral("Power Control"), componentTypes::powerControl);
}

powerControl::~powerControl() = default;

void powerControl::configure(const QDomElement &element)
{
    if (element.tagName().toLower() != QLatin1String("power"))
        return;
    const auto setInvert
        = [this](const QDomElement &key) { gpio->invert = key.text().toLower() == QLatin1String("true"); };
    const auto readOn = [this](const QDomElement &block) {
        readKeys(block, {{"mode", into(powerOnMode)}, {"interval", intoMs(powerOnInterval)}});
    };
    const auto readOff = [this](const QDomElement &block) {
        readKeys(block,
            {
                {"mode", into(powerOffMode)},
                {"interval", intoMs(powerOffInterval)},
                {"rule", [this](const QDomElement &key) { addRule(key); }},
            });
    };
    readKeys(element, {{"pin", into(pin)}, {"invert", setInvert}, {"on", readOn}, {"off", readOff}});
}

void powerControl::addRule(const QDomElement &element)
{
    auto added = std::make_shared<expression>();
    added->configure(element);
    if (m_store)
        added->assignDatastore(m_store);
    rule.append(added);
}

void powerControl::setDataStore(datastore *store)
{
    m_store = store;
    for (const std::shared_ptr<expression> &each : qAsConst(rule))
        each->assignDatastore(store);
    m_feed.reset();
    if (power)
        followStore();
}

/// Updates have no effect before the supply is on for the first time, so that is when they begin to be
/// received: on the thread that switches, which is not the one this object was made on.
void powerControl::followStore()
{
    if (m_feed || !m_store)
        return;
    m_feed = std::make_unique<QObject>();
    connect(m_store, &datastore::dataUpdated, m_feed.get(),
        [this](const datastoreElementType &element) { dataFeed(element); });
}

void powerControl::setGpio(gpioInterface *driver)
{
    gpio = std::shared_ptr<gpioInterface>(driver, [](gpioInterface *) {});
}

/// A mistyped interval reads as 0, and would rattle the supply's relay as fast as the processor turns.
int powerControl::usable(int intervalMs, int defaultMs) const
{
    if (intervalMs > 0)
        return intervalMs;
    debug->log(QStringLiteral("No usable power interval configured, taking %1 ms").arg(defaultMs));
    return defaultMs;
}

void powerControl::start()
{
    powerOnTimer = makeTimer(usable(powerOnInterval, defaultOnMs));
    powerOffTimer = makeTimer(usable(powerOffInterval, defaultOffMs));
    powerOffTimer->setSingleShot(true);
    debug->addChild(gpio->debug.get());
    // The timers are the contexts: they fire on the thread that started, not on the one this object was made
    // on.
    connect(powerOnTimer.get(), &QTimer::timeout, powerOnTimer.get(), [this] { powerOn(); });
    connect(powerOffTimer.get(), &QTimer::timeout, powerOffTimer.get(), [this] { powerOff(); });
    debug->log(QStringLiteral("Pin %1").arg(pin), debugComponent::detailLevel);
    debug->log(QStringLiteral("Power system started"));
    if (powerOnMode != onOnce)
        powerOnTimer->start();
    powerOn();
}

void powerControl::powerOn()
{
    if (forceOff || !hasPin() || power)
        return;
    if (powerOnMode != onOnce && powerOffMode != offByRuleOnly && powerOffTimer)
        powerOffTimer->start();
    beforePowerOn();
    m_powerOnTime = m_host.now();
    power = true;
    followStore();
    debug->log(QStringLiteral("Pin %1 - Power on").arg(pin), debugComponent::detailLevel);
    emit resultAvailable(powerKey, true);
    gpio->set(pin, true);
    afterPowerOn();
    emit powerIsOn();
}

void powerControl::powerOff()
{
    const QDateTime now = m_host.now();
    const bool mayEnd = powerOnMode != onOnce || powerOffMode == offByRule;
    if (forceOn || !hasPin() || !mayEnd || !power)
        return;
    if (powerOffTimer)
        powerOffTimer->stop();
    beforePowerOff();
    power = false;
    emit resultAvailable(QStringLiteral("powerOnDuration"), int(m_powerOnTime.secsTo(now)));
    debug->log(QStringLiteral("Pin %1 - Power off").arg(pin), debugComponent::detailLevel);
    emit resultAvailable(powerKey, false);
    gpio->set(pin, false);
    afterPowerOff();
    emit powerIsOff();
}

void powerControl::dataFeed(const datastoreElementType &element)
{
    if (!power || !anyRuleMatches(element) || !power)
        return;
    debug->log(QStringLiteral("Power off condition rules matched"), debugComponent::detailLevel);
    powerOff();
}

/// Evaluates and logs every rule, also after a match.
bool powerControl::anyRuleMatches(const datastoreElementType &element)
{
    bool matched = false;
    for (int i = 0; i < rule.size(); ++i) {
        bool ok = false;
        const bool result = rule[i]->evaluateBool(element.key, element.value, &ok);
        debug->log(QStringLiteral("Rule[%1] Result %2 - OK %3").arg(i).arg(int(result)).arg(int(ok)),
            debugComponent::detailLevel);
        matched = matched || (ok && result);
    }
    return matched;
}

void powerControl::copyPowerControl(powerControl *other)
{
    forceOn = other->forceOn;
    forceOff = other->forceOff;
    power = other->power;
    pin = other->pin;
    powerOnMode = other->powerOnMode;
    powerOffMode = other->powerOffMode;
    m_powerOnTime = other->m_powerOnTime;
    powerOnTimer = other->powerOnTimer;
    powerOffTimer = other->powerOffTimer;
    powerOnInterval = other->powerOnInterval;
    powerOffInterval = other->powerOffInterval;
    gpio = other->gpio;
    rule.append(other->rule);
    if (power)
        followStore();
}
