#include "simulator/plant.h"

#include <algorithm>
#include <cmath>

namespace {
struct row {
    plant::quantity id;
    const char *name;
    double start;
};
constexpr row rows[] = {
    {plant::roomTemperature, "roomTemperature", 18.5},
    {plant::roomSetpoint, "roomSetpoint", 20.0},
    {plant::tankTemperature, "tankTemperature", 44.0},
    {plant::tankSetpoint, "tankSetpoint", 52.0},
    {plant::outsideTemperature, "outsideTemperature", 4.0},
    {plant::flowTemperature, "flowTemperature", 31.0},
    {plant::returnTemperature, "returnTemperature", 29.0},
    {plant::heatingFlow, "heatingFlow", 0.0},
    {plant::waterFlow, "waterFlow", 0.0},
    {plant::valvePosition, "valvePosition", 0.0},
    {plant::systemPressure, "systemPressure", 1.4},
    {plant::mainsPressure, "mainsPressure", 2.8},
    {plant::pumpCurrent, "pumpCurrent", 0.0},
    {plant::boilerCurrent, "boilerCurrent", 0.0},
    {plant::valveMidCurrent, "valveMidCurrent", 0.0},
    {plant::valveFullCurrent, "valveFullCurrent", 0.0},
    {plant::airTemperature, "airTemperature", 31.2},
    {plant::airPressure, "airPressure", 1013.2},
    {plant::airHumidity, "airHumidity", 38.0},
    {plant::processorTemperature, "processorTemperature", 47.3},
    {plant::processorLoad, "processorLoad", 0.42},
};
static_assert(std::size(rows) == plant::quantities);

constexpr double waterHeat = 4.186;       // kJ/(kg K); one litre is one kilogram
constexpr double boilerPower = 18.0;      // kW
constexpr double boilerLimit = 75.0;      // degrees C, burner off
constexpr double boilerRelight = 70.0;    // degrees C, burner on again
constexpr double boilerCapacity = 60.0;   // kJ/K, its water and iron
constexpr double boilerLoss = 0.01;       // kW/K to the boiler room
constexpr double boilerRoom = 18.0;       // degrees C
constexpr double radiatorTransfer = 0.22; // kW/K
constexpr double coilTransfer = 0.45;     // kW/K
constexpr double houseCapacity = 1800.0;  // kJ/K
constexpr double houseLoss = 0.16;        // kW/K
constexpr double tankCapacity = 500.0;    // kJ/K, 120 l
constexpr double tankLoss = 0.003;        // kW/K
constexpr double flowSettles = 1.5;       // s
constexpr double returnCools = 900.0;     // s, with the pump off
constexpr double valveTravel = 16.0;      // s from end to end
constexpr double longestStep = 0.5;       // s

/// First-order approach: what is left of the distance after \a seconds.
double approach(double from, double to, double seconds, double timeConstant)
{
    return to + (from - to) * std::exp(-seconds / timeConstant);
}

/// A contact with hysteresis: closes below \a low, opens above \a high.
bool contact(bool was, double value, double low, double high)
{
    return value < low || (was && value < high);
}
}

plant::plant()
{
    for (const row &r : rows)
        m_state[r.id] = r.start;
    askThermostats();
}

const char *plant::name(quantity q)
{
    return rows[q].name;
}

std::optional<plant::quantity> plant::find(const std::string &name)
{
    for (const row &r : rows) {
        if (name == r.name)
            return r.id;
    }
    return std::nullopt;
}

double plant::known(quantity q) const
{
    const double shown = value(q);
    return std::isfinite(shown) ? shown : m_state[q];
}

void plant::advance(double seconds, const supply &on)
{
    double left = seconds;
    while (left > 0.0) {
        step(std::min(left, longestStep), on);
        left -= longestStep;
    }
}

void plant::step(double seconds, const supply &on)
{
    m_firing = on.boiler && contact(m_firing, known(flowTemperature), boilerRelight, boilerLimit);
    moveWater(seconds, on);
    moveHeat(seconds, on);
    drawCurrents(on);
    askThermostats();
}

void plant::moveWater(double seconds, const supply &on)
{
    const double target = on.valveMid ? (on.valveFull ? 1.0 : 0.5) : 0.0;
    const double reach = seconds / valveTravel;
    m_state[valvePosition] += std::clamp(target - m_state[valvePosition], -reach, reach);

    // The middle position shares out 14 l/min; one circuit alone takes less than that.
    const double position = known(valvePosition);
    const double heating = on.pump ? 12.0 * std::min(1.0, 1.4 * (1.0 - position)) : 0.0;
    const double water = on.pump ? 10.0 * std::min(1.0, 1.1 * position) : 0.0;
    m_state[heatingFlow] = approach(m_state[heatingFlow], heating, seconds, flowSettles);
    m_state[waterFlow] = approach(m_state[waterFlow], water, seconds, flowSettles);
    m_state[systemPressure] = 1.3 + 0.006 * (known(flowTemperature) - 20.0);
}

void plant::moveHeat(double seconds, const supply &on)
{
    const double hot = known(flowTemperature);
    const double toRadiators = known(heatingFlow) / 60.0 * waterHeat; // kW/K the water can carry
    const double toCoil = known(waterFlow) / 60.0 * waterHeat;
    const double radiators = std::min(radiatorTransfer, toRadiators) * (hot - known(roomTemperature));
    const double coil = std::min(coilTransfer, toCoil) * (hot - known(tankTemperature));
    const double lost = boilerLoss * (hot - boilerRoom);

    m_state[flowTemperature]
        += ((m_firing ? boilerPower : 0.0) - radiators - coil - lost) * seconds / boilerCapacity;
    if (on.pump && toRadiators + toCoil > 0.1)
        m_state[returnTemperature] = hot - (radiators + coil) / (toRadiators + toCoil);
    else
        m_state[returnTemperature] = approach(known(returnTemperature), boilerRoom, seconds, returnCools);
    m_state[roomTemperature] += (radiators - houseLoss * (known(roomTemperature) - known(outsideTemperature)))
        * seconds / houseCapacity;
    m_state[tankTemperature]
        += (coil - tankLoss * (known(tankTemperature) - boilerRoom)) * seconds / tankCapacity;
}

void plant::drawCurrents(const supply &on)
{
    const double target = on.valveMid ? (on.valveFull ? 1.0 : 0.5) : 0.0;
    const double motor = std::abs(target - known(valvePosition)) > 0.01 ? 0.06 : 0.01;
    m_state[pumpCurrent] = on.pump ? 0.41 : 0.0;
    m_state[boilerCurrent] = on.boiler ? (m_firing ? 0.22 : 0.05) : 0.0;
    m_state[valveMidCurrent] = on.valveMid ? motor : 0.0;
    m_state[valveFullCurrent] = on.valveFull ? motor : 0.0;
}

void plant::askThermostats()
{
    m_roomWants
        = contact(m_roomWants, known(roomTemperature), known(roomSetpoint) - 0.5, known(roomSetpoint));
    m_tankWants
        = contact(m_tankWants, known(tankTemperature), known(tankSetpoint) - 5.0, known(tankSetpoint));
}
