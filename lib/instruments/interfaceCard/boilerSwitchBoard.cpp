#include "lib/instruments/interfaceCard/boilerSwitchBoard.h"

#include "lib/communications/componentTypes.h"
#include "lib/communications/debugComponent.h"
#include "lib/instruments/interfaceCard/bsbGuiCtrlChan.h"
#include "lib/interfaces/i2cInterface.h"
#include "lib/support/configKeys.h"
#include "lib/types/datastore.h"

#include <QGridLayout>
#include <QTimer>

#include <cmath>

namespace {

constexpr int attempts = 5;
constexpr int attemptPauseMs = 10;
constexpr int slowMs = 10; // the answers of a card, or a bus, that takes so long do not wait for the rest
constexpr quint8 missingValue = 0xFF;
constexpr double lowestFloat = -0.1; // Kept: for currents too, although their range starts at -15 A

constexpr float maxPressureBar = 3.9F;
constexpr float maxFlowLitresPerMinute = 50.0F;
constexpr float maxCurrentA = 15.0F;

constexpr int senseClamp = 6;     // a steady input rests here, republished every sample
constexpr int senseThreshold = 5; // nothing is published from -5 to 5

// The card's commands: the high nibble is the block, the low one the item.
constexpr quint8 pressure1 = 0x01, pressureSwitch1 = 0x02;
constexpr quint8 pressure2 = 0x11, pressureSwitch2 = 0x12;
constexpr quint8 flow1 = 0x21, flow2 = 0x22;
constexpr quint8 demand1 = 0x31, relay1 = 0x32, mainsSense1 = 0x33, current1 = 0x34;
constexpr quint8 demand2 = 0x41, relay2 = 0x42, mainsSense2 = 0x43, current2 = 0x44;

const QString demand1Key = QStringLiteral("Power1Demand");
const QString demand2Key = QStringLiteral("Power2Demand");
}

boilerSwitchBoard::boilerSwitchBoard(
    datastore *store, QList<interface *> *ifaces, QObject *parent, const hostSystem &host)
    : instrument(store, ifaces, parent)
    , m_host(host)
{
    name = QStringLiteral("boilerswitchboard");
    storagePrepend = QStringLiteral("boiler");
    debug->configure(QStringLiteral("Boiler Switch Board"), componentTypes::boilerSwitchBoard);

    control = new QWidget;
    m_chan1 = new bsbGuiCtrlChan(QStringLiteral("Channel1"), control);
    m_chan2 = new bsbGuiCtrlChan(QStringLiteral("Channel2"), control);
    auto *const grid = new QGridLayout(control);
    grid->addWidget(m_chan1, 1, 1);
    grid->addWidget(m_chan2, 1, 2);
    connect(this, &boilerSwitchBoard::channel1Named, m_chan1, &bsbGuiCtrlChan::setTitle);
    connect(this, &boilerSwitchBoard::channel2Named, m_chan2, &bsbGuiCtrlChan::setTitle);
}

void boilerSwitchBoard::configureInstrument(QDomElement block)
{
    const auto intoFlag = [](bool &target) {
        return [&target](const QDomElement &element) { target = element.text().toInt() != 0; };
    };
    readKeys(block,
        {
            {"interface", [this](const QDomElement &element) { useInterface(element.text()); }},
            {"chan1default", intoFlag(m_ch1Default)},
            {"chan2default", intoFlag(m_ch2Default)},
            {"chan1name", [this](const QDomElement &element) { emit channel1Named(element.text()); }},
            {"chan2name", [this](const QDomElement &element) { emit channel2Named(element.text()); }},
            {"period", intoMs(m_sampleInterval, 1, *debug)},
        });
}

void boilerSwitchBoard::useInterface(const QString &name)
{
    i2cBus = dynamic_cast<i2cInterface *>(getInterface(name));
}

void boilerSwitchBoard::start()
{
    configureInstrument(configXML);
    if (!i2cBus) {
        debug->log(QStringLiteral("No I2C bus configured. Will not start instrument"));
        return;
    }
    debug->addChild(i2cBus->debug.get());
    startInterfacePower(i2cBus);
    sampleTimer = new QTimer(this);
    sampleTimer->start(m_sampleInterval);
    connect(sampleTimer, &QTimer::timeout, this, &boilerSwitchBoard::takeSample);
    decoderResult(demand1Key, m_ch1Default);
    decoderResult(demand2Key, m_ch2Default);
    setRelay(demand1, m_ch1Default);
    setRelay(demand2, m_ch2Default);
}

void boilerSwitchBoard::stop()
{
    if (!i2cBus)
        return;
    setRelay(demand1, false);
    setRelay(demand2, false);
}

void boilerSwitchBoard::takeSample()
{
    samplePressureSwitch(pressureSwitch1, QStringLiteral("Prs1"));
    samplePressureSwitch(pressureSwitch2, QStringLiteral("Prs2"));
    sampleFloat(pressure1, QStringLiteral("Pressure1"), 0.0F, maxPressureBar);
    sampleFloat(pressure2, QStringLiteral("Pressure2"), 0.0F, maxPressureBar);
    sampleFloat(flow1, QStringLiteral("Flowrate1"), 0.0F, maxFlowLitresPerMinute);
    sampleFloat(flow2, QStringLiteral("Flowrate2"), 0.0F, maxFlowLitresPerMinute);
    sampleFloat(current1, QStringLiteral("Current1"), -maxCurrentA, maxCurrentA);
    sampleFloat(current2, QStringLiteral("Current2"), -maxCurrentA, maxCurrentA);
    sampleRelay(relay1, QStringLiteral("Power1Control"));
    sampleRelay(relay2, QStringLiteral("Power2Control"));
    sampleMainsSense(mainsSense1, QStringLiteral("Power1Sense"), r1sns);
    sampleMainsSense(mainsSense2, QStringLiteral("Power2Sense"), r2sns);
    passOn();
    writeDemand(demand1, demand1Key);
    writeDemand(demand2, demand2Key);
}

void boilerSwitchBoard::answered(const QString &key, const QVariant &value)
{
    m_answers.append({key, value});
}

/// The answers go on together, for each alone would wake the display thread.
void boilerSwitchBoard::passOn()
{
    for (const auto &[key, value] : qAsConst(m_answers))
        decoderResult(key, value);
    m_answers.clear();
}

void boilerSwitchBoard::samplePressureSwitch(quint8 command, const QString &prefix)
{
    quint8 state = 0;
    if (!measureUI8(command, &state, true))
        return;
    answered(prefix + QStringLiteral("State"), int(state));
    answered(prefix + QStringLiteral("Fault"), (state & 0x01) != 0);
    answered(prefix + QStringLiteral("Low"), (state & 0x02) != 0);
    answered(prefix + QStringLiteral("OK"), (state & 0x04) != 0);
    answered(prefix + QStringLiteral("High"), (state & 0x08) != 0);
}

void boilerSwitchBoard::sampleFloat(quint8 command, const QString &key, float min, float max)
{
    float value = 0.0F;
    if (measureFloat(command, &value, min, max))
        answered(key, double(value));
}

void boilerSwitchBoard::sampleRelay(quint8 command, const QString &key)
{
    quint8 state = 0;
    if (measureUI8(command, &state, true))
        answered(key, state != 0);
}

/// A change takes twelve readings, from one clamp to the other; the first value after the start takes six.
void boilerSwitchBoard::sampleMainsSense(quint8 command, const QString &key, qint8 &counter)
{
    quint8 mains = 0;
    if (!measureUI8(command, &mains, true))
        return;
    if (mains == 0)
        --counter;
    else if (mains == 1)
        ++counter;
    if (std::abs(counter) <= senseThreshold)
        return;
    counter = counter > 0 ? senseClamp : -senseClamp;
    answered(key, counter > 0);
}

void boilerSwitchBoard::writeDemand(quint8 command, const QString &key)
{
    setRelay(command, reads(storagePrepend + key));
}

bool boilerSwitchBoard::measureUI8(quint8 command, quint8 *value, bool check)
{
    const bool read = exchange([&] { return i2cBus->readRegister(command, sizeof *value, value); });
    return read && (!check || *value != missingValue);
}

bool boilerSwitchBoard::measureFloat(quint8 command, float *value, float min, float max)
{
    // The card sends IEEE 754 single precision in this processor's byte order.
    const bool accepted = exchange([&] {
        float reply = 0.0F;
        if (!i2cBus->readRegister(command, sizeof reply, &reply))
            return false;
        if (!std::isfinite(reply) || double(reply) <= lowestFloat)
            return false;
        *value = reply;
        return true;
    });
    return accepted && *value >= min && *value <= max;
}

bool boilerSwitchBoard::setRelay(quint8 command, bool on)
{
    quint8 data = on ? 1 : 0;
    return exchange([&] { return i2cBus->writeRegister(command, sizeof data, &data); });
}

bool boilerSwitchBoard::exchange(const std::function<bool()> &attempt)
{
    const qint64 begun = m_host.uptimeMs();
    const bool done = exchangeOnBus(attempt);
    if (m_host.uptimeMs() - begun >= slowMs)
        passOn();
    return done;
}

/// Takes the bus, addresses the card, makes the exchange and gives the bus back, whatever happens.
bool boilerSwitchBoard::exchangeOnBus(const std::function<bool()> &attempt)
{
    if (!i2cBus->grabBus()) {
        debug->log(QStringLiteral("Failed to grab I2C bus"));
        return false;
    }
    bool done = false;
    if (i2cBus->setAddress(m_dev))
        done = repeat(attempt);
    else
        debug->log(QStringLiteral("Failed to set address on I2C bus"));
    i2cBus->releaseBus();
    return done;
}

bool boilerSwitchBoard::repeat(const std::function<bool()> &attempt)
{
    for (int i = 0; i < attempts; ++i) {
        if (attempt())
            return true;
        passOn();
        m_host.sleepMs(attemptPauseMs);
    }
    return false;
}
