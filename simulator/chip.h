#ifndef CHIP_H
#define CHIP_H

#include <QByteArray>

/// A simulated chip on an I2C bus, seen as its bus master sees it: one call per transfer that reaches its
/// address. Simulator's only thread.
class chip
{
public:
    virtual ~chip() = default;

    /// Takes the bytes of one write transfer; by the usual rule the first one selects a register.
    /// Returns how many were accepted, or -errno (-EREMOTEIO is a chip that does not acknowledge).
    virtual int write(const QByteArray &bytes) = 0;

    /// The bytes of one read transfer from the selected register on, exactly \a length of them.
    virtual QByteArray read(int length) = 0;
};

#endif
