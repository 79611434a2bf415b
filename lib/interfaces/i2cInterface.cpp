#include "lib/interfaces/i2cInterface.h"

#include "lib/communications/componentTypes.h"
#include "lib/communications/debugComponent.h"
#include "lib/support/configKeys.h"

#include <fcntl.h>

namespace {
constexpr int componentLevel = 2;
constexpr int grabAttempts = 10;
constexpr int grabRetryMs = 100;
constexpr unsigned long i2cSlave = 0x0703; // I2C_SLAVE of linux/i2c-dev.h
}

i2cInterface::i2cInterface(const hostSystem &host)
    : interface(host)
{
    devType = QStringLiteral("i2c");
    debug->configure(QStringLiteral("I2C Interface"), componentTypes::i2cInterface, componentLevel);
}

void i2cInterface::configureInterface(const QDomElement &element)
{
    readKeys(element, {{"device", into(device)}});
}

bool i2cInterface::grabBus()
{
    for (int attempt = 0; attempt < grabAttempts; ++attempt) {
        if (openBus())
            return true;
        m_host.sleepMs(grabRetryMs);
    }
    return fail(QStringLiteral("Failed to grab I2C bus"));
}

bool i2cInterface::openBus()
{
    const QString inUse = QStringLiteral("Bus already in use.");
    if (fd != -1) {
        debug->log(inUse);
        return true;
    }
    const int opened = m_host.open(device.toLatin1().constData(), O_RDWR);
    if (opened < 0)
        return fail(QStringLiteral("Failed to open the bus."));
    int free = -1;
    if (!fd.compare_exchange_strong(free, opened)) { // another thread was faster
        m_host.close(opened);
        debug->log(inUse);
    }
    return true;
}

bool i2cInterface::setAddress(int addr)
{
    return m_host.ioctl(fd, i2cSlave, addr) >= 0 || fail(QStringLiteral("Failed to assign slave address."));
}

bool i2cInterface::readRegister(int reg, int len, void *data)
{
    const quint8 number = quint8(reg);
    if (m_host.write(fd, &number, sizeof number) != sizeof number)
        return fail(QStringLiteral("Failed to write register to the i2c bus."));
    // Adapters may refuse a transfer of no bytes, so there is none.
    if (len != 0 && (len < 0 || m_host.read(fd, data, size_t(len)) != len))
        return fail(QStringLiteral("Failed to read from the i2c bus."));
    return true;
}

bool i2cInterface::writeRegister(int reg, int len, void *data)
{
    QByteArray transfer(1, char(reg));
    transfer.append(static_cast<const char *>(data), qMax(0, len));
    if (len < 0 || m_host.write(fd, transfer.constData(), size_t(transfer.size())) != transfer.size())
        return fail(QStringLiteral("Failed to write to the i2c bus."));
    return true;
}

void i2cInterface::releaseBus()
{
    const int held = fd.exchange(-1);
    if (held >= 0)
        m_host.close(held);
}

bool i2cInterface::fail(const QString &message)
{
    debug->log(message);
    return false;
}
