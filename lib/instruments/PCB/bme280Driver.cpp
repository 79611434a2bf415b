#include "lib/instruments/PCB/bme280Driver.h"

#include <algorithm>
#include <array>

namespace {
constexpr std::uint8_t calibTPRegister = 0x88;
constexpr std::uint8_t calibHRegister = 0xE1;
constexpr std::uint8_t resetRegister = 0xE0;
constexpr std::uint8_t ctrlHumRegister = 0xF2;
constexpr std::uint8_t statusRegister = 0xF3;
constexpr std::uint8_t ctrlMeasRegister = 0xF4;
constexpr std::uint8_t configRegister = 0xF5;
constexpr std::uint8_t dataRegister = 0xF7;

constexpr std::uint8_t resetCommand = 0xB6;
constexpr std::uint8_t nvmCopying = 0x01;
constexpr std::uint8_t spiReadBit = 0x80;

constexpr int identifyTries = 5;
constexpr std::uint32_t identifyDelayMs = 1;
constexpr int nvmReads = 6;
constexpr std::uint32_t startUpMs = 2;
constexpr std::size_t maxWriteRegisters = 10;

constexpr std::uint8_t oversamplingSelection
    = bme280SelectPressure | bme280SelectTemperature | bme280SelectHumidity;
constexpr std::uint8_t configSelection = bme280SelectFilter | bme280SelectStandby;

/// A group of bits in a register.
struct field {
    int shift;
    std::uint8_t mask; // in place

    std::uint8_t get(std::uint8_t reg) const { return static_cast<std::uint8_t>((reg & mask) >> shift); }
    std::uint8_t put(std::uint8_t reg, std::uint8_t value) const
    {
        return static_cast<std::uint8_t>((reg & ~mask) | ((value << shift) & mask));
    }
};
constexpr field osrHField{0, 0x07};
constexpr field modeField{0, 0x03};
constexpr field osrPField{2, 0x1C};
constexpr field osrTField{5, 0xE0};
constexpr field filterField{2, 0x1C};
constexpr field standbyField{5, 0xE0};

bool usable(const bme280_dev *dev)
{
    return dev && dev->read && dev->write && dev->delay_ms;
}

std::int8_t readRegister(std::uint8_t reg, std::uint8_t &value, const bme280_dev *dev)
{
    return bme280_get_regs(reg, &value, 1, dev);
}

std::int8_t writeRegister(std::uint8_t reg, std::uint8_t value, const bme280_dev *dev)
{
    return bme280_set_regs(&reg, &value, 1, dev);
}

/// Reads a register, lets \a change make its new value and writes it back.
template <class Change>
std::int8_t modifyRegister(std::uint8_t reg, const bme280_dev *dev, Change change)
{
    std::uint8_t value = 0;
    const std::int8_t result = readRegister(reg, value, dev);
    return result == bme280Ok ? writeRegister(reg, change(value), dev) : result;
}

std::int8_t identify(bme280_dev *dev)
{
    for (int i = 0; i < identifyTries; ++i) {
        std::uint8_t id = 0;
        if (readRegister(bme280IdRegister, id, dev) == bme280Ok && id == bme280ChipId) {
            dev->chip_id = id;
            return bme280Ok;
        }
        dev->delay_ms(identifyDelayMs);
    }
    return bme280NotFound;
}

std::int8_t readCalibration(bme280_dev *dev)
{
    std::array<std::uint8_t, bme280Compensation::calibTPLength> tp{};
    std::int8_t result = bme280_get_regs(calibTPRegister, tp.data(), tp.size(), dev);
    if (result != bme280Ok)
        return result;
    bme280Compensation::parseTemperaturePressure(tp, dev->calib_data);
    std::array<std::uint8_t, bme280Compensation::calibHLength> h{};
    result = bme280_get_regs(calibHRegister, h.data(), h.size(), dev);
    if (result == bme280Ok)
        bme280Compensation::parseHumidity(h, dev->calib_data);
    return result;
}

/// The humidity oversampling takes effect only when ctrl_meas is written after it.
std::int8_t applyHumidity(const bme280_settings &settings, const bme280_dev *dev)
{
    const std::int8_t result = writeRegister(ctrlHumRegister, osrHField.put(0, settings.osr_h), dev);
    if (result != bme280Ok)
        return result;
    return modifyRegister(ctrlMeasRegister, dev, [](std::uint8_t same) { return same; });
}

std::int8_t applyOversampling(std::uint8_t selection, const bme280_settings &settings, const bme280_dev *dev)
{
    std::int8_t result = bme280Ok;
    if (selection & bme280SelectHumidity)
        result = applyHumidity(settings, dev);
    if (!(selection & (bme280SelectPressure | bme280SelectTemperature)))
        return result;
    // Kept: the result of the humidity step is overwritten here, as in the chip maker's driver.
    return modifyRegister(ctrlMeasRegister, dev, [&](std::uint8_t ctrlMeas) {
        if (selection & bme280SelectPressure)
            ctrlMeas = osrPField.put(ctrlMeas, settings.osr_p);
        if (selection & bme280SelectTemperature)
            ctrlMeas = osrTField.put(ctrlMeas, settings.osr_t);
        return ctrlMeas;
    });
}

std::int8_t applyConfig(std::uint8_t selection, const bme280_settings &settings, const bme280_dev *dev)
{
    return modifyRegister(configRegister, dev, [&](std::uint8_t config) {
        if (selection & bme280SelectFilter)
            config = filterField.put(config, settings.filter);
        if (selection & bme280SelectStandby)
            config = standbyField.put(config, settings.standby_time);
        return config;
    });
}

/// Writes the selected settings to a sleeping chip.
std::int8_t apply(std::uint8_t selection, const bme280_settings &settings, const bme280_dev *dev)
{
    std::int8_t result = bme280Ok;
    if (selection & oversamplingSelection)
        result = applyOversampling(selection, settings, dev);
    if (result == bme280Ok && (selection & configSelection))
        result = applyConfig(selection, settings, dev);
    return result;
}

std::int8_t readSettings(bme280_settings &settings, const bme280_dev *dev)
{
    std::array<std::uint8_t, 4> regs{}; // ctrl_hum, status, ctrl_meas, config
    const std::int8_t result = bme280_get_regs(ctrlHumRegister, regs.data(), regs.size(), dev);
    if (result != bme280Ok)
        return result;
    settings.osr_p = osrPField.get(regs[2]);
    settings.osr_t = osrTField.get(regs[2]);
    settings.osr_h = osrHField.get(regs[0]);
    settings.filter = filterField.get(regs[3]);
    settings.standby_time = standbyField.get(regs[3]);
    return bme280Ok;
}

/// Puts the chip to sleep when it is not: by a reset, after which it gets its settings back.
std::int8_t ensureSleep(const bme280_dev *dev)
{
    std::uint8_t mode = bme280SleepMode;
    std::int8_t result = bme280_get_sensor_mode(&mode, dev);
    if (result != bme280Ok || mode == bme280SleepMode)
        return result;
    bme280_settings before;
    result = readSettings(before, dev);
    if (result == bme280Ok)
        result = bme280_soft_reset(dev);
    return result == bme280Ok ? apply(bme280SelectAll, before, dev) : result;
}

int oversamplingFactor(std::uint8_t code)
{
    return code == 0 ? 0 : 1 << (std::min(code, bme280Oversampling16) - 1);
}
}

std::int8_t bme280_init(bme280_dev *dev)
{
    if (!usable(dev))
        return bme280NullPointer;
    std::int8_t result = identify(dev);
    if (result == bme280Ok)
        result = bme280_soft_reset(dev);
    return result == bme280Ok ? readCalibration(dev) : result;
}

std::int8_t bme280_set_sensor_settings(std::uint8_t selection, const bme280_dev *dev)
{
    if (!usable(dev))
        return bme280NullPointer;
    const std::int8_t result = ensureSleep(dev);
    return result == bme280Ok ? apply(selection, dev->settings, dev) : result;
}

std::int8_t bme280_get_sensor_settings(bme280_dev *dev)
{
    return usable(dev) ? readSettings(dev->settings, dev) : std::int8_t(bme280NullPointer);
}

std::int8_t bme280_set_sensor_mode(std::uint8_t mode, const bme280_dev *dev)
{
    if (!usable(dev))
        return bme280NullPointer;
    const std::int8_t result = ensureSleep(dev);
    if (result != bme280Ok)
        return result;
    return modifyRegister(
        ctrlMeasRegister, dev, [mode](std::uint8_t ctrlMeas) { return modeField.put(ctrlMeas, mode); });
}

std::int8_t bme280_get_sensor_mode(std::uint8_t *mode, const bme280_dev *dev)
{
    if (!usable(dev) || !mode)
        return bme280NullPointer;
    std::uint8_t ctrlMeas = 0;
    const std::int8_t result = readRegister(ctrlMeasRegister, ctrlMeas, dev);
    if (result == bme280Ok)
        *mode = modeField.get(ctrlMeas);
    return result;
}

std::int8_t bme280_soft_reset(const bme280_dev *dev)
{
    if (!usable(dev))
        return bme280NullPointer;
    std::int8_t result = writeRegister(resetRegister, resetCommand, dev);
    if (result != bme280Ok)
        return result;
    bool wasBusy = false;
    for (int i = 0; i < nvmReads; ++i) {
        std::uint8_t status = 0;
        dev->delay_ms(startUpMs);
        result = readRegister(statusRegister, status, dev);
        // A chip seen copying counts as busy, even if it cannot be asked any more.
        if (result != bme280Ok)
            return wasBusy ? std::int8_t(bme280NvmBusy) : result;
        if (!(status & nvmCopying))
            return bme280Ok;
        wasBusy = true;
    }
    return bme280NvmBusy;
}

std::int8_t bme280_get_sensor_data(std::uint8_t components, bme280_data *result, bme280_dev *dev)
{
    if (!usable(dev) || !result)
        return bme280NullPointer;
    std::array<std::uint8_t, bme280Compensation::dataLength> bytes{};
    const std::int8_t status = bme280_get_regs(dataRegister, bytes.data(), bytes.size(), dev);
    if (status != bme280Ok)
        return status;
    const bme280Compensation::rawData raw = bme280Compensation::parseData(bytes);
    *result = bme280_data();
    if (components & bme280AllData) {
        const double fine = bme280Compensation::fineTemperature(raw.temperature, dev->calib_data);
        dev->calib_data.t_fine = static_cast<std::int32_t>(fine); // toward zero; within +-2^23 by its words
        result->temperature = bme280Compensation::temperature(fine);
    }
    if (components & bme280Pressure)
        result->pressure = bme280Compensation::pressure(raw.pressure, dev->calib_data);
    if (components & bme280Humidity)
        result->humidity = bme280Compensation::humidity(raw.humidity, dev->calib_data);
    return bme280Ok;
}

std::int8_t bme280_get_regs(std::uint8_t reg, std::uint8_t *data, std::uint16_t length, const bme280_dev *dev)
{
    if (!usable(dev) || !data)
        return bme280NullPointer;
    if (dev->intf != bme280I2c)
        reg |= spiReadBit;
    return dev->read(dev->dev_id, reg, data, length) == 0 ? bme280Ok : bme280BusFailed;
}

std::int8_t bme280_set_regs(
    const std::uint8_t *regs, const std::uint8_t *data, std::uint8_t length, const bme280_dev *dev)
{
    if (!usable(dev) || !regs || !data)
        return bme280NullPointer;
    if (length == 0)
        return bme280NoLength;
    const std::uint8_t writeMask = dev->intf == bme280I2c ? 0xFF : static_cast<std::uint8_t>(~spiReadBit);
    // The chip does not count registers up on writing: value, register, value, ... after the first register.
    std::array<std::uint8_t, 2 * maxWriteRegisters> message{};
    const std::size_t count = std::min<std::size_t>(length, maxWriteRegisters);
    for (std::size_t i = 0; i < count; ++i) {
        message[2 * i] = regs[i] & writeMask;
        message[2 * i + 1] = data[i];
    }
    const auto following = static_cast<std::uint16_t>(2 * count - 1);
    return dev->write(dev->dev_id, message[0], message.data() + 1, following) == 0 ? bme280Ok
                                                                                   : bme280BusFailed;
}

std::uint32_t bme280_cal_meas_delay(const bme280_settings *settings)
{
    if (!settings)
        return 0;
    // Data sheet 9.1, maximum values, in microseconds; a skipped quantity takes no time.
    const auto part = [](std::uint8_t code, std::uint32_t extraUs) {
        return code == 0 ? 0 : 2300u * static_cast<std::uint32_t>(oversamplingFactor(code)) + extraUs;
    };
    return (1250u + part(settings->osr_t, 0) + part(settings->osr_p, 575) + part(settings->osr_h, 575))
        / 1000u;
}
