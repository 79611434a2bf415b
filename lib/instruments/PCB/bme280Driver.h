#ifndef BME280DRIVER_H
#define BME280DRIVER_H

#include "lib/instruments/PCB/bme280Compensation.h"

#include <cstdint>
#include <functional>

/// Driver of the BME280 environment sensor: the chip maker's published calls, over callbacks.
///
/// It knows registers and sequences but no bus; the three callbacks of bme280_dev do the transfers and the
/// waiting. Every call returns one of the bme280Result values. It keeps no state of its own: a device belongs
/// to whoever holds it, and calls on different devices may run on different threads.
/// Source: the chip's data sheet (registers, formulas); sequences, delays and results are those of the chip
/// maker's driver 3.4.3, see tests/data/bme280.

enum bme280Result : std::int8_t {
    bme280Ok = 0,
    bme280NullPointer = -1,        ///< no device, callback, result or register
    bme280NotFound = -2,           ///< no BME280 answered in five tries
    bme280NoLength = -3,           ///< nothing to write
    bme280BusFailed = -4,          ///< a bus callback reported failure
    bme280SleepFailed = -5,        ///< never returned
    bme280NvmBusy = -6,            ///< calibration still being copied long after a reset
    bme280UnusableOversampling = 1 ///< never returned
};

constexpr std::uint8_t bme280Spi = 0;
constexpr std::uint8_t bme280I2c = 1;
constexpr std::uint8_t bme280ChipId = 0x60;
constexpr std::uint8_t bmp280ChipId = 0x58; ///< production parts
constexpr std::uint8_t bme280IdRegister = 0xD0;

constexpr std::uint8_t bme280Oversampling16 = 5; ///< 0 skipped, 1..5 = x1, x2, x4, x8, x16
constexpr std::uint8_t bme280Filter16 = 4;       ///< 0 off, 1..4 = coefficient 2, 4, 8, 16

constexpr std::uint8_t bme280SleepMode = 0;
constexpr std::uint8_t bme280ForcedMode = 1;
constexpr std::uint8_t bme280NormalMode = 3;

/// Selections of bme280_set_sensor_settings().
constexpr std::uint8_t bme280SelectPressure = 1;
constexpr std::uint8_t bme280SelectTemperature = 2;
constexpr std::uint8_t bme280SelectHumidity = 4;
constexpr std::uint8_t bme280SelectFilter = 8;
constexpr std::uint8_t bme280SelectStandby = 16;
constexpr std::uint8_t bme280SelectAll = 0x1F;

/// Components of bme280_get_sensor_data().
constexpr std::uint8_t bme280Pressure = 1;
constexpr std::uint8_t bme280Temperature = 2;
constexpr std::uint8_t bme280Humidity = 4;
constexpr std::uint8_t bme280AllData = 7;

/// Register codes, see the constants above; standby 0..7 = 0.5, 62.5, 125, 250, 500, 1000, 10, 20 ms.
struct bme280_settings {
    std::uint8_t osr_p = 0;
    std::uint8_t osr_t = 0;
    std::uint8_t osr_h = 0;
    std::uint8_t filter = 0;
    std::uint8_t standby_time = 0;
};

struct bme280_data {
    double pressure = 0.0;    ///< Pa, 30000..110000
    double temperature = 0.0; ///< degree C, -40..85
    double humidity = 0.0;    ///< %RH, 0..100
};

/// Transfers \a length bytes starting at \a reg; 0 means success. \a id is the device's dev_id. What is
/// written is the values from \a reg on, or value, register, value, ... for more than one register.
using bme280_transfer
    = std::function<std::int8_t(std::uint8_t id, std::uint8_t reg, std::uint8_t *data, std::uint16_t length)>;

struct bme280_dev {
    std::uint8_t chip_id = 0; ///< 0x60 once the chip has been identified
    std::uint8_t dev_id = 0;  ///< handed to the callbacks as it is
    std::uint8_t intf = bme280I2c;
    bme280_transfer read;
    bme280_transfer write;
    std::function<void(std::uint32_t ms)> delay_ms;
    bme280_calib_data calib_data;
    bme280_settings settings;
};

/// Identifies the chip (five tries), resets it and reads its calibration. After a failure other calls still
/// work on the bus; values are then made with whatever calibration there is.
std::int8_t bme280_init(bme280_dev *dev);

/// Writes the selected fields of dev->settings. A chip that is not asleep is reset first, also in the middle
/// of a forced measurement; its other settings are restored and it stays asleep.
/// Kept: a failure to write the humidity oversampling is lost when pressure or temperature is selected too.
std::int8_t bme280_set_sensor_settings(std::uint8_t selection, const bme280_dev *dev);
/// Reads the chip's settings into dev->settings.
std::int8_t bme280_get_sensor_settings(bme280_dev *dev);

/// Changes the power mode, from sleep; a chip that is not asleep is put there as above.
std::int8_t bme280_set_sensor_mode(std::uint8_t mode, const bme280_dev *dev);
std::int8_t bme280_get_sensor_mode(std::uint8_t *mode, const bme280_dev *dev);

/// Power-on reset; waits up to 12 ms for the calibration copy.
std::int8_t bme280_soft_reset(const bme280_dev *dev);

/// Reads the last measurement. Temperature is given whenever any component is asked for; other components not
/// asked for are 0. A failed read leaves \a result as it was.
std::int8_t bme280_get_sensor_data(std::uint8_t components, bme280_data *result, bme280_dev *dev);

std::int8_t bme280_get_regs(
    std::uint8_t reg, std::uint8_t *data, std::uint16_t length, const bme280_dev *dev);
/// Writes data[i] to register regs[i], in one transfer; \a length above 10 counts as 10.
std::int8_t bme280_set_regs(
    const std::uint8_t *regs, const std::uint8_t *data, std::uint8_t length, const bme280_dev *dev);

/// Longest time one measurement can take, in whole ms (rounded down); 0 without settings.
std::uint32_t bme280_cal_meas_delay(const bme280_settings *settings);

#endif
