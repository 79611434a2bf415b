#ifndef FAKEBUS_H
#define FAKEBUS_H

#include "tests/support/fakeHost.h"

#include <QByteArray>
#include <QList>

#include <array>
#include <map>
#include <mutex>

/// A machine with an I2C bus: at every 7-bit address a chip of 256 registers. A written transfer begins with
/// a register number, at which further bytes are stored; a read goes on from there. The number counts up.
///
/// Any thread.
class fakeBus : public fakeHost
{
public:
    struct transfer {
        int address;
        QByteArray bytes; // as on the wire, register number first
    };

    /// Content of the registers from \a reg on.
    void setRegisters(int address, int reg, const QByteArray &bytes);
    QByteArray registers(int address, int reg, int length) const;

    void refuseOpens(int n) { m_refusedOpens = n; }
    /// The next \a n reads and writes fail.
    void refuseTransfers(int n) { m_refusedTransfers = n; }
    /// The next \a n reads and writes that are not refused come one byte short.
    void shortenTransfers(int n) { m_shortTransfers = n; }
    /// No chip can be selected any more, or again.
    void refuseAddresses(bool refuse) { m_refuseAddresses = refuse; }

    int opens() const { return m_opens; }
    int closes() const { return m_closes; }
    /// Every write that reached a chip, in order.
    QList<transfer> writes() const;
    QByteArray lastPath() const;

    using fakeHost::read;
    using fakeHost::write;
    int open(const char *path, int flags) const override;
    int ioctl(int fd, unsigned long request, long argument) const override;
    ssize_t read(int fd, void *data, size_t length) const override;
    ssize_t write(int fd, const void *data, size_t length) const override;
    int close(int fd) const override;

private:
    struct chip {
        std::array<quint8, 256> registers{};
        quint8 next = 0;
    };

    bool transferFails(int fd, size_t &length) const;

    mutable std::mutex m_lock;
    mutable std::map<int, chip> m_chips;   // by address
    mutable std::map<int, int> m_selected; // open descriptor to address
    mutable QList<transfer> m_writes;
    mutable QByteArray m_lastPath;
    mutable int m_nextFd = 1000; // far from any real descriptor
    mutable std::atomic<int> m_opens{0};
    mutable std::atomic<int> m_closes{0};
    mutable std::atomic<int> m_refusedOpens{0};
    mutable std::atomic<int> m_refusedTransfers{0};
    mutable std::atomic<int> m_shortTransfers{0};
    std::atomic<bool> m_refuseAddresses{false};
};

#endif
