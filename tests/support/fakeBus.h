#ifndef FAKEBUS_H
#define FAKEBUS_H

#include "tests/support/fakeHost.h"

#include <QByteArray>

#include <array>
#include <map>

/// A machine with an I2C bus: at every 7-bit address a chip of 256 registers. A written transfer begins with
/// a register number, at which further bytes are stored; a read goes on from there. The number counts up.
///
/// One thread only.
class fakeBus : public fakeHost
{
public:
    /// So many of the next calls fail; of the transfers that do not, so many come one byte short.
    mutable int refusedOpens = 0;
    mutable int refusedTransfers = 0;
    mutable int shortTransfers = 0;
    mutable int lostTransfer = 0; ///< the number, from now on, of one that fails
    bool refusesAddresses = false;

    /// Content of the registers from \a reg on.
    void setRegisters(int address, int reg, const QByteArray &bytes);
    int opens() const { return m_opens; }
    /// Whether everything that was opened has been closed.
    bool isFree() const { return m_selected.empty(); }
    /// Every write that reached a chip as on the wire, "30:3101 30:4100", since the last call.
    QString takeTraffic();

    using fakeHost::read;
    using fakeHost::write;
    int open(const char *path, int flags) const override;
    int ioctl(int fd, unsigned long request, long argument) const override;
    ssize_t read(int fd, void *data, size_t length) const override;
    ssize_t write(int fd, const void *data, size_t length) const override;
    int close(int fd) const override { return m_selected.erase(fd) == 1 ? 0 : -1; }

private:
    struct chip {
        std::array<char, 256> registers{};
        quint8 next = 0;
    };

    chip *chipFor(int fd, size_t &length) const;

    mutable std::map<int, chip> m_chips;   // by address
    mutable std::map<int, int> m_selected; // open descriptor to address
    mutable QStringList m_traffic;
    mutable int m_opens = 0;
};

#endif
