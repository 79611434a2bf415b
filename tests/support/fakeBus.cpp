#include "tests/support/fakeBus.h"

#include <cerrno>

namespace {
constexpr unsigned long i2cSlave = 0x0703;
constexpr int noAddress = -1;

int refused(int error)
{
    errno = error;
    return -1;
}

/// True, and one less to go, while \a count lasts.
bool spend(std::atomic<int> &count)
{
    if (count <= 0)
        return false;
    --count;
    return true;
}
}

void fakeBus::setRegisters(int address, int reg, const QByteArray &bytes)
{
    const std::lock_guard lock(m_lock);
    for (const char byte : bytes)
        m_chips[address].registers.at(size_t(reg++)) = quint8(byte);
}

QByteArray fakeBus::registers(int address, int reg, int length) const
{
    const std::lock_guard lock(m_lock);
    QByteArray bytes;
    for (int i = reg; i < reg + length; ++i)
        bytes.append(char(m_chips[address].registers.at(size_t(i))));
    return bytes;
}

QList<fakeBus::transfer> fakeBus::writes() const
{
    const std::lock_guard lock(m_lock);
    return m_writes;
}

QByteArray fakeBus::lastPath() const
{
    const std::lock_guard lock(m_lock);
    return m_lastPath;
}

int fakeBus::open(const char *path, int flags) const
{
    Q_UNUSED(flags)
    const std::lock_guard lock(m_lock);
    m_lastPath = path;
    if (spend(m_refusedOpens))
        return refused(ENOENT);
    ++m_opens;
    m_selected[m_nextFd] = noAddress;
    return m_nextFd++;
}

int fakeBus::ioctl(int fd, unsigned long request, long argument) const
{
    const std::lock_guard lock(m_lock);
    if (m_selected.count(fd) == 0)
        return refused(EBADF);
    if (request != i2cSlave || m_refuseAddresses || argument < 0 || argument > 0x7F)
        return refused(EINVAL);
    m_selected[fd] = int(argument);
    return 0;
}

ssize_t fakeBus::read(int fd, void *data, size_t length) const
{
    const std::lock_guard lock(m_lock);
    if (transferFails(fd, length))
        return -1;
    chip &source = m_chips[m_selected[fd]];
    for (size_t i = 0; i < length; ++i)
        static_cast<quint8 *>(data)[i] = source.registers[source.next++];
    return ssize_t(length);
}

ssize_t fakeBus::write(int fd, const void *data, size_t length) const
{
    const std::lock_guard lock(m_lock);
    if (transferFails(fd, length))
        return -1;
    const QByteArray bytes(static_cast<const char *>(data), int(length));
    m_writes.append({m_selected[fd], bytes});
    chip &target = m_chips[m_selected[fd]];
    if (!bytes.isEmpty())
        target.next = quint8(bytes[0]);
    for (const char byte : bytes.mid(1))
        target.registers[target.next++] = quint8(byte);
    return ssize_t(length);
}

int fakeBus::close(int fd) const
{
    const std::lock_guard lock(m_lock);
    if (m_selected.erase(fd) == 0)
        return refused(EBADF);
    ++m_closes;
    return 0;
}

bool fakeBus::transferFails(int fd, size_t &length) const
{
    const auto selected = m_selected.find(fd);
    if (selected == m_selected.end() || selected->second == noAddress || spend(m_refusedTransfers)) {
        errno = EREMOTEIO;
        return true;
    }
    if (length > 0 && spend(m_shortTransfers))
        --length;
    return false;
}
