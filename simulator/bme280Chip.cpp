#include "simulator/bme280Chip.h"

#include <algorithm>
#include <cmath>

namespace {
constexpr std::uint8_t calibTPRegister = 0x88;
constexpr std::uint8_t calibHRegister = 0xE1;
constexpr std::uint8_t idRegister = 0xD0;
constexpr std::uint8_t resetRegister = 0xE0;
constexpr std::uint8_t ctrlHumRegister = 0xF2;
constexpr std::uint8_t statusRegister = 0xF3;
constexpr std::uint8_t ctrlMeasRegister = 0xF4;
constexpr std::uint8_t configRegister = 0xF5;
constexpr std::uint8_t dataRegister = 0xF7;

constexpr std::uint8_t resetCommand = 0xB6;
constexpr std::uint8_t measuringBit = 0x08;
constexpr std::uint8_t copyingBit = 0x01;
constexpr std::uint8_t modeMask = 0x03;
constexpr std::uint8_t normalMode = 0x03;
constexpr std::uint8_t oversamplingMask = 0x07;
constexpr std::uint8_t configMask = 0xFD; // bit 1 does not exist

constexpr std::uint32_t maxCode20 = 0xFFFFF; // pressure and temperature
constexpr std::uint32_t maxCode16 = 0xFFFF;  // humidity
constexpr std::uint32_t skippedCode20 = 0x80000;
constexpr std::uint32_t skippedCode16 = 0x8000;
constexpr double fineCountsPerDegree = 5120.0;

constexpr std::array<double, 8> standbyMs{0.5, 62.5, 125.0, 250.0, 500.0, 1000.0, 10.0, 20.0};
constexpr int settledCycles = 1000; // after as many measurements the filter has long settled

/// Measuring times in ms: a fixed part, and per quantity one part for each sample and one for the quantity
/// itself.
struct measuringTime {
    double fixed;
    double sample;
    double quantity; // pressure and humidity only
};
constexpr measuringTime typical{1.0, 2.0, 0.5};
constexpr double startUpMs = 2.0; // the calibration is loaded after a reset

/// Samples of one measurement for an oversampling code; 0 = skipped.
int oversampling(int code)
{
    return code == 0 ? 0 : 1 << (std::min(code, 5) - 1);
}

int filterCoefficient(int code)
{
    return 1 << std::min(code, 4);
}

/// The integer code, 0..\a maxCode, whose value comes nearest to \a wanted, for a value that rises with the
/// code.
template <class Value>
std::uint32_t nearestCode(std::uint32_t maxCode, double wanted, Value value)
{
    std::uint32_t low = 0;
    std::uint32_t high = maxCode;
    while (low < high) { // the lowest code that reaches the wanted value
        const std::uint32_t middle = low + (high - low) / 2;
        if (value(middle) < wanted)
            low = middle + 1;
        else
            high = middle;
    }
    if (low > 0 && wanted - value(low - 1) < value(low) - wanted)
        --low;
    return low;
}

double filtered(std::optional<double> &memory, std::uint32_t code, int coefficient)
{
    memory = memory ? (*memory * (coefficient - 1) + code) / coefficient : code;
    return *memory;
}

template <std::size_t Length>
std::array<std::uint8_t, Length> slice(const bme280Chip::calibrationBytes &bytes, std::size_t from)
{
    std::array<std::uint8_t, Length> part{};
    std::copy_n(bytes.begin() + from, Length, part.begin());
    return part;
}
}

bme280Chip::bme280Chip(const calibrationBytes &calibration, std::uint8_t id)
    : m_calibration(calibration)
    , m_id(id)
{
    using namespace bme280Compensation;
    parseTemperaturePressure(slice<calibTPLength>(calibration, 0), m_words);
    parseHumidity(slice<calibHLength>(calibration, calibTPLength), m_words);
    reset(-startUpMs);
}

void bme280Chip::setTarget(double temperatureC, double pressurePa, double humidityRH)
{
    m_temperatureC = temperatureC;
    m_pressurePa = pressurePa;
    m_humidityRH = humidityRH;
}

void bme280Chip::reset(double nowMs)
{
    m_ctrlHum = m_osrH = m_ctrlMeas = m_config = 0;
    storeCode(0, skippedCode20);
    storeCode(3, skippedCode20);
    m_data[6] = skippedCode16 >> 8;
    m_data[7] = 0;
    m_state = state::asleep;
    m_pendingCtrlMeas.reset();
    m_filteredTemperature.reset();
    m_filteredPressure.reset();
    m_readyMs = nowMs + startUpMs;
}

double bme280Chip::measuringMs() const
{
    const auto part = [](int code, double quantity) {
        return code == 0 ? 0.0 : typical.sample * oversampling(code) + quantity;
    };
    return typical.fixed + part(m_ctrlMeas >> 5, 0.0)
        + part(m_ctrlMeas >> 2 & oversamplingMask, typical.quantity) + part(m_osrH, typical.quantity);
}

void bme280Chip::write(const std::uint8_t *bytes, std::size_t length, double nowMs)
{
    advance(nowMs);
    for (std::size_t i = 0; i < length; i += 2) {
        m_selected = bytes[i];
        if (i + 1 < length)
            writeRegister(m_selected, bytes[i + 1], nowMs);
    }
}

void bme280Chip::read(std::uint8_t *bytes, std::size_t length, double nowMs)
{
    advance(nowMs);
    for (std::size_t i = 0; i < length; ++i)
        bytes[i] = readRegister(m_selected++, nowMs);
}

void bme280Chip::writeRegister(std::uint8_t reg, std::uint8_t value, double nowMs)
{
    switch (reg) {
    case resetRegister:
        if (value == resetCommand)
            reset(nowMs);
        break;
    case ctrlHumRegister:
        if (!m_pendingCtrlMeas)
            m_ctrlHum = value & oversamplingMask;
        break;
    case ctrlMeasRegister:
        if (m_state != state::measuring)
            writeControl(value, nowMs);
        else if (!m_pendingCtrlMeas)
            m_pendingCtrlMeas = value;
        break;
    case configRegister:
        m_config = value & configMask;
        m_filteredTemperature.reset();
        m_filteredPressure.reset();
        break;
    default: // read-only or not there
        break;
    }
}

void bme280Chip::writeControl(std::uint8_t ctrlMeas, double nowMs)
{
    m_ctrlMeas = ctrlMeas;
    m_osrH = m_ctrlHum;
    const bool measures = (ctrlMeas & modeMask) != 0;
    m_state = measures ? state::measuring : state::asleep;
    m_changeMs = nowMs + measuringMs();
}

std::uint8_t bme280Chip::readRegister(std::uint8_t reg, double nowMs) const
{
    if (reg >= calibTPRegister && reg < calibTPRegister + bme280Compensation::calibTPLength)
        return m_calibration[reg - calibTPRegister];
    if (reg >= calibHRegister && reg < calibHRegister + bme280Compensation::calibHLength)
        return m_calibration[reg - calibHRegister + bme280Compensation::calibTPLength];
    if (reg >= dataRegister && reg < dataRegister + m_data.size())
        return m_data[reg - dataRegister];
    switch (reg) {
    case idRegister:
        return m_id;
    case ctrlHumRegister:
        return m_ctrlHum;
    case statusRegister:
        return (m_state == state::measuring ? measuringBit : 0) | (nowMs < m_readyMs ? copyingBit : 0);
    case ctrlMeasRegister:
        return m_ctrlMeas;
    case configRegister:
        return m_config;
    default:
        return 0;
    }
}

/// Lets everything happen that ends at or before \a nowMs.
void bme280Chip::advance(double nowMs)
{
    skipWholeCycles(nowMs);
    while (m_state != state::asleep && m_changeMs <= nowMs) {
        if (m_state == state::measuring) {
            finishMeasurement();
        } else {
            m_state = state::measuring;
            m_changeMs += measuringMs();
        }
    }
}

void bme280Chip::finishMeasurement()
{
    const int coefficient = filterCoefficient(m_config >> 2 & oversamplingMask);
    const auto rounded = [](double code) { return static_cast<std::uint32_t>(std::lround(code)); };
    const std::uint32_t t = temperatureCode(); // first: pressure and humidity depend on it
    const bool withT = m_ctrlMeas >> 5 != 0;
    const bool withP = (m_ctrlMeas >> 2 & oversamplingMask) != 0;
    const std::uint32_t h = m_osrH == 0 ? skippedCode16 : humidityCode();
    storeCode(0, withP ? rounded(filtered(m_filteredPressure, pressureCode(), coefficient)) : skippedCode20);
    storeCode(3, withT ? rounded(filtered(m_filteredTemperature, t, coefficient)) : skippedCode20);
    m_data[6] = static_cast<std::uint8_t>(h >> 8);
    m_data[7] = static_cast<std::uint8_t>(h);

    const double endMs = m_changeMs;
    if ((m_ctrlMeas & modeMask) == normalMode) {
        m_state = state::standby;
        m_changeMs = endMs + standbyMs[m_config >> 5];
    } else {
        m_state = state::asleep;
        m_ctrlMeas = m_ctrlMeas & ~modeMask;
    }
    if (m_pendingCtrlMeas) {
        writeControl(*m_pendingCtrlMeas, endMs);
        m_pendingCtrlMeas.reset();
    }
}

/// In normal mode, after a long time without a transfer: only the last measurements matter.
void bme280Chip::skipWholeCycles(double nowMs)
{
    if (m_state == state::asleep || (m_ctrlMeas & modeMask) != normalMode || m_pendingCtrlMeas)
        return;
    const double cycleMs = measuringMs() + standbyMs[m_config >> 5];
    const double skipped = std::floor((nowMs - m_changeMs) / cycleMs) - settledCycles;
    if (skipped > 0)
        m_changeMs += skipped * cycleMs;
}

/// A 20-bit code as the chip lays it out: MSB, LSB, and the last four bits in the upper half of XLSB.
void bme280Chip::storeCode(std::size_t at, std::uint32_t code)
{
    m_data[at] = static_cast<std::uint8_t>(code >> 12);
    m_data[at + 1] = static_cast<std::uint8_t>(code >> 4);
    m_data[at + 2] = static_cast<std::uint8_t>(code << 4);
}

std::uint32_t bme280Chip::temperatureCode()
{
    const auto fine
        = [this](std::uint32_t code) { return bme280Compensation::fineTemperature(code, m_words); };
    const std::uint32_t code = nearestCode(maxCode20, m_temperatureC * fineCountsPerDegree, fine);
    m_words.t_fine = static_cast<std::int32_t>(fine(code));
    return code;
}

std::uint32_t bme280Chip::pressureCode() const
{
    // Pressure falls as the code rises.
    return nearestCode(maxCode20, -m_pressurePa,
        [this](std::uint32_t code) { return -bme280Compensation::pressure(code, m_words); });
}

std::uint32_t bme280Chip::humidityCode() const
{
    return nearestCode(maxCode16, m_humidityRH,
        [this](std::uint32_t code) { return bme280Compensation::humidity(code, m_words); });
}
