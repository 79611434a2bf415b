#ifndef GPIOINTERFACE_H
#define GPIOINTERFACE_H

#include "lib/support/hostSystem.h"

#include <QString>

#include <memory>

class debugComponent;
class QFile;

/// Reads and drives single GPIO pins through the kernel's sysfs files.
///
/// Every call exports the pin, sets its direction and opens and closes the files; nothing is kept between
/// calls. Both calls are false, with one log line, when a file cannot be opened, or one of the pin's own not
/// written within a second, and false without one for pin -1, which means that no pin is assigned.
/// Thread: any one at a time. Source: Linux kernel, Documentation/admin-guide/gpio/sysfs.rst.
class gpioInterface
{
public:
    /// \a host must outlive the interface.
    explicit gpioInterface(const hostSystem &host = hostSystem::real());
    ~gpioInterface();

    /// Logical level of \a pin. Kept: makes the pin an input first.
    bool get(int pin, bool *value);
    /// Makes \a pin an output and drives it to the logical level \a value.
    bool set(int pin, bool value);

    bool invert = false; ///< the logical level is the inverse of the pin's electrical one
    std::unique_ptr<debugComponent> debug;

private:
    bool prepare(int pin, const char *direction);
    bool writePin(int pin, const char *name, const QByteArray &text);
    bool write(const QString &path, const QByteArray &text);
    bool fail(const QString &message, int pin);

    const hostSystem &m_host;
};

#endif
