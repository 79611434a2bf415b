#ifndef SWITCHBOARDCHIP_H
#define SWITCHBOARDCHIP_H

#include "simulator/chip.h"

#include <array>
#include <functional>

/// What the card's sensors feel; index 0 is its first channel.
struct switchBoardInputs {
    std::array<double, 2> pressure{}; // bar
    std::array<double, 2> flow{};     // l/min
    std::array<double, 2> current{};  // A
    std::array<bool, 2> sense{};      // mains voltage present
};

/// The relay-and-sensor card at the level of its command bytes: one byte selects an item, then 1 or 4 bytes
/// follow. Floats are IEEE single precision, lowest byte first. Items that do not exist read as 0xFF.
class switchBoardChip : public chip
{
public:
    switchBoardInputs inputs;
    /// Called on every change of a relay; the channel counts from 1.
    std::function<void(int channel, bool on)> relayChanged;

    bool relay(int channel) const { return m_relay.at(std::size_t(channel - 1)); }

    int write(const QByteArray &bytes) override;
    QByteArray read(int length) override;

private:
    QByteArray item() const;
    void switchRelay(std::size_t index, bool on);

    quint8 m_command = 0;
    std::array<bool, 2> m_relay{};
};

#endif
