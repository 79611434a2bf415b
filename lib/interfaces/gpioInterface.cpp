#include "lib/interfaces/gpioInterface.h"

#include "lib/communications/componentTypes.h"
#include "lib/communications/debugComponent.h"

#include <QFile>

#include <cstdlib>

namespace {
constexpr int noPin = -1;
constexpr int valueLineLimit = 15; // characters
constexpr int udevLimitMs = 1000;
constexpr int udevStepMs = 20;

QString pinFile(int pin, const char *name)
{
    return QStringLiteral("/sys/class/gpio/gpio%1/%2").arg(pin).arg(QLatin1String(name));
}
}

gpioInterface::gpioInterface(const hostSystem &host)
    : debug(std::make_unique<debugComponent>())
    , m_host(host)
{
    debug->configure(QStringLiteral("GPIO Interface"), componentTypes::gpioInterface);
}

gpioInterface::~gpioInterface() = default;

bool gpioInterface::get(int pin, bool *value)
{
    if (pin == noPin || !prepare(pin, "in\n"))
        return false;
    QFile file(m_host.path(pinFile(pin, "value")));
    if (!file.open(QIODevice::ReadOnly))
        return fail(QStringLiteral("Could not get pin value (GPIO%1)"), pin);
    char line[valueLineLimit + 1] = {};
    file.readLine(line, sizeof line);
    constexpr int anyBase = 0; // decimal, 0x and leading 0, as the C library guesses
    *value = (std::strtol(line, nullptr, anyBase) == 1) != invert;
    return true;
}

bool gpioInterface::set(int pin, bool value)
{
    if (pin == noPin || !prepare(pin, "out\n"))
        return false;
    if (!writePin(pin, "value", value != invert ? "1\n" : "0\n"))
        return fail(QStringLiteral("Could not set pin value (GPIO%1)"), pin);
    return true;
}

bool gpioInterface::prepare(int pin, const char *direction)
{
    QFile file(m_host.path(QStringLiteral("/sys/class/gpio/export")));
    if (!file.open(QIODevice::WriteOnly | QIODevice::Unbuffered))
        return fail(QStringLiteral("Could not open export (GPIO%1)"), pin);
    file.write(QByteArray::number(pin) + '\n'); // again: refused by the kernel and harmless
    if (!writePin(pin, "direction", direction))
        return fail(QStringLiteral("Could not set pin direction (GPIO%1)"), pin);
    return true;
}

/// A pin that was exported a moment ago belongs to root until udev has given it to the group.
bool gpioInterface::writePin(int pin, const char *name, const QByteArray &text)
{
    for (int waited = 0; !write(pinFile(pin, name), text); waited += udevStepMs) {
        if (waited >= udevLimitMs)
            return false;
        m_host.sleepMs(udevStepMs);
    }
    return true;
}

bool gpioInterface::write(const QString &path, const QByteArray &text)
{
    QFile file(m_host.path(path));
    return file.open(QIODevice::WriteOnly | QIODevice::Unbuffered) && file.write(text) == text.size();
}

bool gpioInterface::fail(const QString &message, int pin)
{
    debug->log(message.arg(pin));
    return false;
}
