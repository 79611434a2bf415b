#include "tests/support/fakeBus.h"

namespace {
constexpr unsigned long i2cSlave = 0x0703;
constexpr int noAddress = -1;
constexpr int firstDescriptor = 1000; // far from any real one

/// True, and one less to go, while \a count lasts.
bool spend(int &count)
{
    return count > 0 && count-- > 0;
}
}

void fakeBus::setRegisters(int address, int reg, const QByteArray &bytes)
{
    std::copy(bytes.begin(), bytes.end(), m_chips[address].registers.begin() + reg);
}

QString fakeBus::takeTraffic()
{
    const QString all = m_traffic.join(' ');
    m_traffic.clear();
    return all;
}

int fakeBus::open(const char *, int) const
{
    if (spend(refusedOpens))
        return -1;
    const int fd = firstDescriptor + m_opens++;
    m_selected[fd] = noAddress;
    return fd;
}

int fakeBus::ioctl(int fd, unsigned long request, long argument) const
{
    if (m_selected.count(fd) == 0 || request != i2cSlave || refusesAddresses)
        return -1;
    m_selected[fd] = int(argument);
    return 0;
}

ssize_t fakeBus::read(int fd, void *data, size_t length) const
{
    chip *const source = chipFor(fd, length);
    if (!source)
        return -1;
    for (size_t i = 0; i < length; ++i)
        static_cast<char *>(data)[i] = source->registers[source->next++];
    return ssize_t(length);
}

ssize_t fakeBus::write(int fd, const void *data, size_t length) const
{
    chip *const target = chipFor(fd, length);
    if (!target)
        return -1;
    if (length == 0)
        return 0; // cut short
    const QByteArray bytes(static_cast<const char *>(data), int(length));
    m_traffic.append(QString::number(m_selected[fd], 16) + ':' + bytes.toHex());
    target->next = quint8(bytes.at(0));
    for (const char byte : bytes.mid(1))
        target->registers[target->next++] = byte;
    return ssize_t(length);
}

/// The chip that a transfer reaches, if any; \a length is what gets through.
fakeBus::chip *fakeBus::chipFor(int fd, size_t &length) const
{
    const auto selected = m_selected.find(fd);
    if (selected == m_selected.end() || selected->second == noAddress || spend(refusedTransfers)
        || (spend(lostTransfer) && lostTransfer == 0))
        return nullptr;
    if (spend(shortTransfers))
        --length;
    return &m_chips[selected->second];
}
