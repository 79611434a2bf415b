#include "lib/interfaces/serialInterface.h"

#include "lib/communications/componentTypes.h"
#include "lib/communications/debugComponent.h"
#include "lib/support/configKeys.h"

#include <QThread>
#include <QTimer>

namespace {

template <class T>
struct word {
    const char *text; // lower case
    T value;
};

constexpr word<QSerialPort::Parity> parityWords[] = {
    {"n", QSerialPort::NoParity},
    {"none", QSerialPort::NoParity},
    {"o", QSerialPort::OddParity},
    {"odd", QSerialPort::OddParity},
    {"e", QSerialPort::EvenParity},
    {"even", QSerialPort::EvenParity},
    {"m", QSerialPort::MarkParity},
    {"mark", QSerialPort::MarkParity},
    {"s", QSerialPort::SpaceParity},
    {"space", QSerialPort::SpaceParity},
};
constexpr word<QSerialPort::StopBits> stopBitsWords[] = {
    {"1", QSerialPort::OneStop},
    {"1.5", QSerialPort::OneAndHalfStop},
    {"2", QSerialPort::TwoStop},
};
constexpr word<QSerialPort::FlowControl> flowWords[] = {
    {"n", QSerialPort::NoFlowControl},
    {"none", QSerialPort::NoFlowControl},
    {"h", QSerialPort::HardwareControl},
    {"hardware", QSerialPort::HardwareControl},
    {"s", QSerialPort::SoftwareControl},
    {"software", QSerialPort::SoftwareControl},
};

/// Sets a property of \a port to what the element's text stands for; other texts leave it alone.
template <class T, size_t n>
auto setByWord(QSerialPort &port, const word<T> (&words)[n], bool (QSerialPort::*set)(T))
{
    return [&port, &words, set](const QDomElement &element) {
        const QString text = element.text().toLower();
        for (const word<T> &each : words) {
            if (text == QLatin1String(each.text))
                (port.*set)(each.value);
        }
    };
}
}

serialInterface::serialInterface(const hostSystem &host)
    : interface(host)
{
    devType = QStringLiteral("Serial");
    devName = QStringLiteral("SerialInterface");
    debug->configure(QStringLiteral("Serial Interface"), componentTypes::serialInterface);
}

serialInterface::~serialInterface() = default;

void serialInterface::configureInterface(const QDomElement &element)
{
    configXML = element;
}

int serialInterface::handle()
{
    return m_port ? m_port->handle() : interface::handle();
}

bool serialInterface::canReturnHandle()
{
    return true;
}

bool serialInterface::open(QIODevice::OpenMode mode)
{
    debug->log(QStringLiteral("Attempting to open interface."));
    if (!m_port)
        createPort();
    prepareReconnectTimer();
    if (m_port->isOpen()) {
        debug->log(QStringLiteral("Interface is already open."));
        return true;
    }
    if (mode)
        m_mode = mode;
    debug->log(QStringLiteral("Opening interface at ") + m_url);
    // Kept: the mode as passed, not the last one; see the class.
    if (!m_port->open(mode)) {
        emit resultAvailable(QStringLiteral("commsState"), QStringLiteral("Failed to open"));
        debug->log(QStringLiteral("Failed to open interface - ") + m_port->errorString());
        debug->log(QStringLiteral("Will try again in %1 seconds").arg(reconnectSeconds()));
        reconnectTimer->start();
        return false;
    }
    debug->log(QStringLiteral("Opened successfully"));
    announceOpen();
    return true;
}

void serialInterface::errorDetected(QSerialPort::SerialPortError error)
{
    Q_UNUSED(error)
    close();
}

void serialInterface::createPort()
{
    debug->log(QStringLiteral("Interface does not exist. Creating interface..."));
    m_port = std::make_unique<QSerialPort>();
    configureInterfacePrivate(configXML);
    stream = m_port.get();
    connect(QThread::currentThread(), &QThread::finished, stream, &QIODevice::close);
}

void serialInterface::configureInterfacePrivate(const QDomElement &element)
{
    const auto setDevice = [this](const QDomElement &key) {
        m_url = key.text();
        m_port->setPortName(m_url);
    };
    const auto setBaud = [this](const QDomElement &key) {
        m_speed = key.text().toInt();
        m_port->setBaudRate(m_speed);
    };
    const auto setDataBits = [this](const QDomElement &key) {
        const int bits = key.text().toInt();
        if (bits >= QSerialPort::Data5 && bits <= QSerialPort::Data8)
            m_port->setDataBits(QSerialPort::DataBits(bits));
    };
    QSerialPort &port = *m_port;
    readKeys(element,
        {
            {"device", setDevice},
            {"baud", setBaud},
            {"databits", setDataBits},
            {"parity", setByWord(port, parityWords, &QSerialPort::setParity)},
            {"stopbits", setByWord(port, stopBitsWords, &QSerialPort::setStopBits)},
            {"flow", setByWord(port, flowWords, &QSerialPort::setFlowControl)},
        });
}
