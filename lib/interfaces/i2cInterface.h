#ifndef I2CINTERFACE_H
#define I2CINTERFACE_H

#include "lib/interfaces/interface.h"

/// One I2C bus adapter, reached through the kernel's I2C character device.
///
/// Calling order: grabBus(), setAddress(), any number of register transfers, releaseBus() on every way out.
/// The bus is held by holding its device file open, for one transaction at a time; nothing keeps two users of
/// one object apart, so instruments that share a bus have interfaces of their own.
/// All calls are true on success and log what fails; errorString() is the last such message.
/// Thread: the using instrument's; grabBus() blocks it for up to a second. Source: Linux i2c-dev interface.
class i2cInterface : public interface
{
public:
    explicit i2cInterface(const hostSystem &host = hostSystem::real());

    /// Reads the key "device", the path of the bus, e.g. /dev/i2c-1.
    void configureInterface(const QDomElement &element) override;

    /// Takes the bus: ten attempts, 100 ms apart.
    bool grabBus();
    /// Opens the device file. Kept: succeeds, with a message, when it is open already.
    bool openBus();
    /// Selects the chip, by its 7-bit address, for the transfers that follow.
    bool setAddress(int addr);
    /// Two transfers: writes the register number, then reads \a len bytes into \a data.
    bool readRegister(int reg, int len, void *data);
    /// One transfer: the register number and \a len bytes of \a data.
    bool writeRegister(int reg, int len, void *data);
    void releaseBus();

private:
    bool fail(const QString &message);

    std::atomic<int> fd{-1}; // -1: not held
    QString device;
};

#endif
