#ifndef BME280CHIP_H
#define BME280CHIP_H

#include "lib/instruments/PCB/bme280Compensation.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

/// A BME280 at register level, in simulated time: what its bus master sees and nothing more.
///
/// Give it the calibration bytes of some real chip and the climate it stands in; it measures that climate
/// when it is told to, takes as long as a real chip and delivers the raw codes that convert back to it (to
/// 0.0002 degree C, 0.1 Pa, 0.004 %RH). Every time is in milliseconds on any one clock that never steps back.
/// Source: the chip's data sheet (modes 3.3, filter 3.4.4, memory map 5.4, measuring times 9.1).
class bme280Chip
{
public:
    /// Registers 0x88..0xA1, then 0xE1..0xE7.
    using calibrationBytes
        = std::array<std::uint8_t, bme280Compensation::calibTPLength + bme280Compensation::calibHLength>;

    /// \a id is what register 0xD0 answers; 0x58 makes it look like a BMP280.
    explicit bme280Chip(const calibrationBytes &calibration, std::uint8_t id = 0x60);

    /// What is measured from now on. Values outside the chip's range are measured as the range's end.
    void setTarget(double temperatureC, double pressurePa, double humidityRH);

    /// One write transfer: a register number, then value, register, value, ...; the chip does not count up.
    /// The last register number stays selected for reading.
    void write(const std::uint8_t *bytes, std::size_t length, double nowMs);
    /// One read transfer from the selected register on, counting up.
    void read(std::uint8_t *bytes, std::size_t length, double nowMs);
    /// Power off and on again, or the reset command: every register takes its reset value.
    void reset(double nowMs);

    /// Length of one measurement with the present settings.
    double measuringMs() const;

private:
    enum class state { asleep, measuring, standby };

    void writeRegister(std::uint8_t reg, std::uint8_t value, double nowMs);
    void writeControl(std::uint8_t ctrlMeas, double nowMs);
    std::uint8_t readRegister(std::uint8_t reg, double nowMs) const;
    void advance(double nowMs);
    void finishMeasurement();
    void skipWholeCycles(double nowMs);
    void storeCode(std::size_t at, std::uint32_t code);
    std::uint32_t temperatureCode();
    std::uint32_t pressureCode() const;
    std::uint32_t humidityCode() const;

    const calibrationBytes m_calibration;
    const std::uint8_t m_id;
    bme280_calib_data m_words;
    double m_temperatureC = 20.0;
    double m_pressurePa = 101325.0;
    double m_humidityRH = 50.0;

    std::uint8_t m_selected = 0;
    std::uint8_t m_ctrlHum = 0;
    std::uint8_t m_osrH = 0; // ctrl_hum as it was at the last write of ctrl_meas
    std::uint8_t m_ctrlMeas = 0;
    std::uint8_t m_config = 0;
    std::array<std::uint8_t, bme280Compensation::dataLength> m_data{};

    state m_state = state::asleep;
    double m_readyMs = 0.0;                        // the calibration is loaded
    double m_changeMs = 0.0;                       // the present measurement or standby ends
    std::optional<std::uint8_t> m_pendingCtrlMeas; // waits for the end of the measurement
    std::optional<double> m_filteredTemperature;
    std::optional<double> m_filteredPressure;
};

#endif
