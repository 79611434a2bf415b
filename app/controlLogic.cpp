#include "app/controlLogic.h"

#include "app/storeKeys.h"
#include "app/timer.h"
#include "lib/communications/componentTypes.h"
#include "lib/communications/debugComponent.h"
#include "lib/support/configKeys.h"
#include "lib/types/datastore.h"

#include <QThread>
#include <QTimer>

controlLogic::controlLogic(
    datastore *store, QList<interface *> *ifaces, timer *waterTimer, timer *heatTimer, QThread *parent)
    : instrument(store, ifaces, parent)
    , m_water(waterTimer)
    , m_heat(heatTimer)
{
    name = QStringLiteral("controllogic");
    debug->configure(QStringLiteral("Control Logic"), componentTypes::controlLogic);
}

void controlLogic::configureInstrument(QDomElement block)
{
    const std::vector<configKey> keys{
        {"heatstat", into(heatstat)},
        {"tankstat", into(tankstat)},
        {"pumpout", into(pumpOutput)},
        {"boilerout", into(boilerOutput)},
        {"boilersense", into(boilerSense)},
        {"period", intoMs(m_sampleInterval, 1, *debug)},
        {"startupperiod", intoMs(m_startupPeriod, 0, *debug)},
        {"shutdownperiod", intoMs(m_shutdownPeriod, 0, *debug)},
    };
    readKeys(block, keys);
}

void controlLogic::start()
{
    configureInstrument(configXML);
    sampleTimer = new QTimer(this);
    sampleTimer->setInterval(m_sampleInterval);
    connect(sampleTimer, &QTimer::timeout, this, &controlLogic::takeSample);
    sampleTimer->start();
    startupTimer = makeDelay(m_startupPeriod);
    shutdownTimer = makeDelay(m_shutdownPeriod);
}

QTimer *controlLogic::makeDelay(int ms)
{
    auto *const delay = new QTimer(this);
    delay->setInterval(ms);
    delay->setSingleShot(true);
    return delay;
}

void controlLogic::takeSample()
{
    const bool demand = isDemanded();
    startDelays(demand);
    m_lastBoiler = demand;
    m_lastPump = demand;
    m_lastSense = reads(boilerSense);

    const bool starting = startupTimer->isActive();
    decoderResult(boilerOutput, demand && !starting);
    decoderResult(pumpOutput, demand || starting || shutdownTimer->isActive());
}

bool controlLogic::isDemanded() const
{
    // The override stands for the room thermostat only, and never without the heating timer.
    const bool room = reads(heatstat) || reads(QLatin1String(storeKeys::heatStatOverride));
    const bool tank = reads(tankstat);
    return (m_heat->isOn() && room) || (m_water->isOn() && tank);
}

/// A delay that is running starts again from its full period.
void controlLogic::startDelays(bool demand)
{
    if (demand == m_lastBoiler)
        return;
    if (demand)
        startupTimer->start();
    else
        shutdownTimer->start();
}
