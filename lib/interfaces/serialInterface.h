#ifndef SERIALINTERFACE_H
#define SERIALINTERFACE_H

#include "lib/interfaces/interface.h"

#include <QSerialPort>

/// A serial line.
///
/// The port is made and set up by the first open(), on the thread that calls it, and kept for later ones.
/// Kept: the reopening that the timer starts passes an empty mode, which the port refuses, so it fails again
/// and the timer is armed anew. Only an open() with a mode brings the line back.
class serialInterface : public interface
{
public:
    explicit serialInterface(const hostSystem &host = hostSystem::real());
    ~serialInterface() override;

    /// Keeps the element for the first open. Keys: device, baud, databits, parity, stopbits, flow; what is
    /// missing or unknown leaves the port's default.
    void configureInterface(const QDomElement &element) override;
    int handle() override;
    bool canReturnHandle() override;
    bool open(QIODevice::OpenMode mode) override;
    using interface::open;

    /// Closes the interface, whatever the error. Kept: not connected to the port.
    void errorDetected(QSerialPort::SerialPortError error);

private:
    void createPort();
    void configureInterfacePrivate(const QDomElement &element);

    QDomElement configXML;
    std::unique_ptr<QSerialPort> m_port; // null before the first open
};

#endif
