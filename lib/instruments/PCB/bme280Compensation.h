#ifndef BME280COMPENSATION_H
#define BME280COMPENSATION_H

#include <array>
#include <cstdint>

/// Calibration words of one BME280, as burnt into it, and the fine temperature of the last measurement.
struct bme280_calib_data {
    std::uint16_t dig_T1 = 0;
    std::int16_t dig_T2 = 0;
    std::int16_t dig_T3 = 0;
    std::uint16_t dig_P1 = 0;
    std::int16_t dig_P2 = 0;
    std::int16_t dig_P3 = 0;
    std::int16_t dig_P4 = 0;
    std::int16_t dig_P5 = 0;
    std::int16_t dig_P6 = 0;
    std::int16_t dig_P7 = 0;
    std::int16_t dig_P8 = 0;
    std::int16_t dig_P9 = 0;
    std::uint8_t dig_H1 = 0;
    std::int16_t dig_H2 = 0;
    std::uint8_t dig_H3 = 0;
    std::int16_t dig_H4 = 0; ///< 12 bits, -2048..2047
    std::int16_t dig_H5 = 0; ///< 12 bits, -2048..2047
    std::int8_t dig_H6 = 0;
    std::int32_t t_fine = 0; ///< 5120 counts per degree C, see bme280Compensation
};

/// The BME280's arithmetic: calibration bytes to words, raw codes to physical values.
///
/// Free of any device; shared by the driver and the simulated chip. Source: the chip's data sheet, double
/// precision formulas (section 8.1) and memory map (section 5.3); where the chip maker's own driver departs
/// from them the driver is followed. Accurate to rounding of a double.
namespace bme280Compensation {
constexpr std::size_t calibTPLength = 26; ///< registers 0x88..0xA1
constexpr std::size_t calibHLength = 7;   ///< registers 0xE1..0xE7
constexpr std::size_t dataLength = 8;     ///< registers 0xF7..0xFE

/// One measurement as the converter gives it: 20, 20 and 16 bits.
struct rawData {
    std::uint32_t pressure;
    std::uint32_t temperature;
    std::uint32_t humidity;
};

/// Takes registers 0x88..0xA1: the temperature and pressure words and dig_H1.
void parseTemperaturePressure(const std::array<std::uint8_t, calibTPLength> &bytes, bme280_calib_data &calib);
/// Takes registers 0xE1..0xE7: dig_H2 to dig_H6.
void parseHumidity(const std::array<std::uint8_t, calibHLength> &bytes, bme280_calib_data &calib);
/// Takes registers 0xF7..0xFE. The low nibbles of the two XLSB registers carry nothing.
rawData parseData(const std::array<std::uint8_t, dataLength> &bytes);

/// Temperature in 1/5120 degree C, neither rounded nor clamped; truncated toward zero it is t_fine.
double fineTemperature(std::uint32_t raw, const bme280_calib_data &calib);
/// Degree C, clamped to -40..85.
double temperature(double fineTemperature);
/// Pa, clamped to 30000..110000; 30000 for a calibration without a usable divisor. Needs t_fine.
double pressure(std::uint32_t raw, const bme280_calib_data &calib);
/// %RH, clamped to 0..100. Needs t_fine.
double humidity(std::uint32_t raw, const bme280_calib_data &calib);
}

#endif
