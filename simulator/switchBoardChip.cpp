#include "simulator/switchBoardChip.h"

#include <QtEndian>

namespace {
/// The pressure switch's byte: bit 0 fault, bit 1 low, bit 2 in order, bit 3 high.
constexpr double lowBar = 0.8;
constexpr double highBar = 2.9;
constexpr double faultBar = -0.5;

char pressureState(double bar)
{
    if (!(bar > faultBar)) // NaN too
        return 0x01;
    if (bar < lowBar)
        return 0x02;
    return bar > highBar ? 0x08 : 0x04;
}

QByteArray single(double value)
{
    const float shortened = float(value);
    quint32 bits;
    memcpy(&bits, &shortened, sizeof bits);
    bits = qToLittleEndian(bits);
    QByteArray bytes(sizeof bits, '\0');
    memcpy(bytes.data(), &bits, sizeof bits);
    return bytes;
}

QByteArray byte(char value)
{
    return QByteArray(1, value);
}
}

int switchBoardChip::write(const QByteArray &bytes)
{
    if (!bytes.isEmpty())
        m_command = quint8(bytes[0]);
    if (bytes.size() > 1 && (m_command == 0x31 || m_command == 0x41))
        switchRelay(m_command == 0x31 ? 0 : 1, bytes[1] != 0);
    return bytes.size();
}

QByteArray switchBoardChip::read(int length)
{
    return item().leftJustified(length, '\xff', true);
}

QByteArray switchBoardChip::item() const
{
    switch (m_command) {
    case 0x01:
        return single(inputs.pressure[0]);
    case 0x02:
        return byte(pressureState(inputs.pressure[0]));
    case 0x11:
        return single(inputs.pressure[1]);
    case 0x12:
        return byte(pressureState(inputs.pressure[1]));
    case 0x21:
        return single(inputs.flow[0]);
    case 0x22:
        return single(inputs.flow[1]);
    case 0x32:
    case 0x42:
        return byte(m_relay[m_command == 0x42] ? 1 : 0);
    case 0x33:
    case 0x43:
        return byte(inputs.sense[m_command == 0x43] ? 1 : 0);
    case 0x34:
        return single(inputs.current[0]);
    case 0x44:
        return single(inputs.current[1]);
    default:
        return {};
    }
}

void switchBoardChip::switchRelay(std::size_t index, bool on)
{
    if (m_relay[index] == on)
        return;
    m_relay[index] = on;
    if (relayChanged)
        relayChanged(int(index) + 1, on);
}
