#include "simulator/simulation.h"

#include <QDir>
#include <QFile>

#include <cerrno>
#include <cstring>

namespace {
constexpr int stepMs = 50;
const char flowSensor[] = "28-0000000000f1";
const char returnSensor[] = "28-0000000000a2";
}

simulation::simulation(const QString &root)
    : files(root)
    , pins(root, log)
    , m_root(root)
{
    name(m_control, "control");
    name(m_thermostats, "thermostat");
    name(m_valve, "valve");
    buses.attach(QStringLiteral("i2c-1"), cardAddress, &m_control);
    buses.attach(QStringLiteral("i2c-1"), sensorAddress, &m_environment);
    buses.attach(QStringLiteral("i2c-2"), cardAddress, &m_thermostats);
    buses.attach(QStringLiteral("i2c-3"), cardAddress, &m_valve);
    connect(&m_timer, &QTimer::timeout, this, &simulation::advance);
}

void simulation::name(switchBoardChip &card, const QByteArray &called)
{
    card.relayChanged = [this, called](int channel, bool on) {
        log.event("relay " + called + ' ' + QByteArray::number(channel) + (on ? " on" : " off"));
        wire();
    };
}

bool simulation::start(QString *why)
{
    QFile console(m_root + QStringLiteral("/dev/tty0"));
    if (!QDir().mkpath(m_root + QStringLiteral("/dev")) || !console.open(QIODevice::WriteOnly)) {
        *why = QStringLiteral("cannot write in %1").arg(m_root);
        return false;
    }
    if (!pins.build() || !buses.listen(m_root + QStringLiteral("/i2c.sock"))) {
        *why = QStringLiteral("cannot set up %1: %2")
                   .arg(m_root, QString::fromLocal8Bit(std::strerror(errno)));
        return false;
    }
    wire();
    m_clock.start();
    m_timer.start(stepMs);
    return true;
}

bool simulation::addTcpPeer(quint16 port, QString *why)
{
    tcp = std::make_unique<elementPeer>(QStringLiteral("tcp"), house, log);
    return tcp->listenAt(port, why);
}

bool simulation::addSerialPeer(const QString &link, QString *why)
{
    serial = std::make_unique<elementPeer>(QStringLiteral("serial"), house, log);
    return serial->makeTerminal(link, why);
}

plant::supply simulation::relays() const
{
    return {m_control.relay(1), m_control.relay(2), m_valve.relay(1), m_valve.relay(2)};
}

void simulation::advance()
{
    house.advance(double(m_clock.restart()) / 1000.0 * m_speed, relays());
    wire();
}

void simulation::wire()
{
    wireCards();
    wireFiles();
    emit moved();
}

void simulation::wireCards()
{
    const plant::supply on = relays();
    m_control.inputs.pressure = {house.value(plant::systemPressure), house.value(plant::mainsPressure)};
    m_control.inputs.flow = {house.value(plant::waterFlow), house.value(plant::heatingFlow)};
    m_control.inputs.current = {house.value(plant::pumpCurrent), house.value(plant::boilerCurrent)};
    m_control.inputs.sense = {on.pump, on.boiler};
    m_thermostats.inputs.sense = {house.roomCalls(), house.tankCalls()};
    m_valve.inputs.current = {house.value(plant::valveMidCurrent), house.value(plant::valveFullCurrent)};
    m_valve.inputs.sense = {on.valveMid, on.valveFull};
    m_environment.setClimate(
        house.value(plant::airTemperature), house.value(plant::airPressure), house.value(plant::airHumidity));
}

void simulation::wireFiles()
{
    files.setSensor(QLatin1String(flowSensor), house.value(plant::flowTemperature));
    files.setSensor(QLatin1String(returnSensor), house.value(plant::returnTemperature));
    files.setLoad(house.value(plant::processorLoad));
    files.setProcessorTemperature(house.value(plant::processorTemperature));
}
