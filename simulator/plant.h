#ifndef PLANT_H
#define PLANT_H

#include <array>
#include <optional>
#include <string>

/// A house with its boiler, pump, zone valve, radiators and hot-water tank, in physical units; it knows no
/// bytes.
///
/// A lumped model: plausible rather than exact, so that a demand warms something up and ends by itself. Every
/// quantity can be set (the model goes on from there) or fixed (the model leaves it alone until it is
/// released).
class plant
{
public:
    enum quantity {
        roomTemperature,      // degrees C
        roomSetpoint,         // degrees C
        tankTemperature,      // degrees C
        tankSetpoint,         // degrees C
        outsideTemperature,   // degrees C
        flowTemperature,      // degrees C, boiler's outlet
        returnTemperature,    // degrees C
        heatingFlow,          // l/min
        waterFlow,            // l/min, through the tank's coil
        valvePosition,        // 0 heating, 0.5 both, 1 hot water
        systemPressure,       // bar
        mainsPressure,        // bar
        pumpCurrent,          // A
        boilerCurrent,        // A
        valveMidCurrent,      // A
        valveFullCurrent,     // A
        airTemperature,       // degrees C, in the controller's box
        airPressure,          // hPa
        airHumidity,          // % relative
        processorTemperature, // degrees C
        processorLoad,        // runnable tasks, one-minute mean
        quantities
    };
    enum class thermostat { off, on, automatic };
    /// What the relays feed.
    struct supply {
        bool pump = false, boiler = false, valveMid = false, valveFull = false;
    };

    plant();

    static const char *name(quantity q);
    static std::optional<quantity> find(const std::string &name);

    double value(quantity q) const { return m_fixed[q].value_or(m_state[q]); }
    void set(quantity q, double value) { m_state[q] = value; }
    /// NaN and infinities are taken too: sensors show them, the model goes on with what it had.
    void fix(quantity q, double value) { m_fixed[q] = value; }
    void release(quantity q) { m_fixed[q].reset(); }

    void setRoomThermostat(thermostat t) { m_roomThermostat = t; }
    void setTankThermostat(thermostat t) { m_tankThermostat = t; }
    bool roomCalls() const { return calls(m_roomThermostat, m_roomWants); }
    bool tankCalls() const { return calls(m_tankThermostat, m_tankWants); }

    /// The boiler has current and is not at its limit.

    void advance(double seconds, const supply &on);

private:
    static bool calls(thermostat t, bool wants)
    {
        return t == thermostat::automatic ? wants : t == thermostat::on;
    }
    double known(quantity q) const;
    void step(double seconds, const supply &on);
    void moveWater(double seconds, const supply &on);
    void moveHeat(double seconds, const supply &on);
    void drawCurrents(const supply &on);
    void askThermostats();

    std::array<double, quantities> m_state{};
    std::array<std::optional<double>, quantities> m_fixed;
    thermostat m_roomThermostat = thermostat::automatic;
    thermostat m_tankThermostat = thermostat::automatic;
    bool m_roomWants = false;
    bool m_tankWants = false;
    bool m_firing = false;
};

#endif
