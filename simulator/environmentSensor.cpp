#include "simulator/environmentSensor.h"

#include "simulator/eventLog.h"

#include <algorithm>

namespace {
/// Temperature and pressure words of the data sheet's worked example, humidity words of a usual chip.
const char calibrationHex[] = "706B436718FC7D8E43D6D00B270B8C00F9FF8C3CF8C67017004B6A01001329031E";
constexpr double pascalsPerHectopascal = 100.0;

bme280Chip::calibrationBytes calibration()
{
    const QByteArray bytes = QByteArray::fromHex(calibrationHex);
    bme280Chip::calibrationBytes result{};
    std::copy(bytes.begin(), bytes.end(), result.begin());
    return result;
}
}

environmentSensor::environmentSensor(const eventLog &clock)
    : m_clock(clock)
    , m_chip(calibration())
{
}

double environmentSensor::nowMs() const
{
    return m_clock.seconds() * 1000.0;
}

void environmentSensor::setClimate(double degrees, double hectopascals, double humidity)
{
    m_chip.setTarget(degrees, hectopascals * pascalsPerHectopascal, humidity);
}

int environmentSensor::write(const QByteArray &bytes)
{
    m_chip.write(
        reinterpret_cast<const std::uint8_t *>(bytes.constData()), std::size_t(bytes.size()), nowMs());
    return bytes.size();
}

QByteArray environmentSensor::read(int length)
{
    QByteArray bytes(length, '\0');
    m_chip.read(reinterpret_cast<std::uint8_t *>(bytes.data()), std::size_t(length), nowMs());
    return bytes;
}
