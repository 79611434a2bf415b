#include "simulator/narrator.h"

#include "simulator/simulation.h"

#include <QTime>

#include <cstdio>

namespace {
constexpr qint64 temperaturesEveryMs = 20000;
}

narrator::narrator(simulation &observed)
    : m_observed(observed)
{
    m_sinceTemperatures.start();
    connect(&observed, &simulation::moved, this, &narrator::look);
}

narrator::scene narrator::now() const
{
    const plant::supply on = m_observed.relays();
    const plant &house = m_observed.house;
    return {house.roomCalls(), house.tankCalls(), on.pump, on.boiler, on.valveMid, on.valveFull};
}

void narrator::look()
{
    const scene s = now();
    tellDemands(s);
    tellMachines(s);
    m_last = s;
    if (m_sinceTemperatures.hasExpired(temperaturesEveryMs))
        tellTemperatures();
}

void narrator::tellDemands(const scene &s)
{
    if (s.room != m_last.room)
        say(s.room ? QStringLiteral("The room thermostat calls for heat.")
                   : QStringLiteral("The room is warm enough: its thermostat is satisfied."));
    if (s.tank != m_last.tank)
        say(s.tank ? QStringLiteral("The tank thermostat calls for hot water.")
                   : QStringLiteral("The tank is hot enough: its thermostat is satisfied."));
}

void narrator::tellMachines(const scene &s)
{
    if (s.mid != m_last.mid || s.full != m_last.full)
        say(s.mid ? (s.full ? QStringLiteral("The zone valve turns to hot water only.")
                            : QStringLiteral("The zone valve turns to the middle: heating and hot water."))
                  : QStringLiteral("The zone valve rests at heating."));
    if (s.pump && !m_last.pump)
        say(QStringLiteral("The pump starts; the boiler waits for the water to move."));
    if (s.boiler && !m_last.boiler)
        say(QStringLiteral("The boiler fires."));
    if (!s.boiler && m_last.boiler)
        say(s.pump ? QStringLiteral("The boiler stops; the pump runs on to carry its heat away.")
                   : QStringLiteral("The boiler stops."));
    if (!s.pump && m_last.pump)
        say(QStringLiteral("The pump stops."));
}

void narrator::tellTemperatures()
{
    m_sinceTemperatures.restart();
    const plant &house = m_observed.house;
    say(QStringLiteral("Room %1 C, tank %2 C, flow %3 C, return %4 C, pressure %5 bar.")
            .arg(house.value(plant::roomTemperature), 0, 'f', 1)
            .arg(house.value(plant::tankTemperature), 0, 'f', 1)
            .arg(house.value(plant::flowTemperature), 0, 'f', 1)
            .arg(house.value(plant::returnTemperature), 0, 'f', 1)
            .arg(house.value(plant::systemPressure), 0, 'f', 2));
}

void narrator::say(const QString &text)
{
    std::printf("%s  HOUSE  %s\n",
        qPrintable(QDateTime::currentDateTimeUtc().toString(QStringLiteral("hh:mm:ss"))), qPrintable(text));
    std::fflush(stdout);
}
