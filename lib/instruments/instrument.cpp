#include "lib/instruments/instrument.h"

#include "lib/communications/componentTypes.h"
#include "lib/communications/debugComponent.h"
#include "lib/decoders/decoder.h"
#include "lib/interfaces/interface.h"
#include "lib/protocols/protocol.h"
#include "lib/support/configKeys.h"
#include "lib/support/powerControl.h"
#include "lib/types/datastore.h"

#include <QTimer>

namespace {
constexpr int healthCheckMs = 5000;
}

instrument::instrument(datastore *store, QList<interface *> *ifaces, QObject *parent)
    : QObject(parent)
    , debug(std::make_unique<debugComponent>())
    , CDS(store)
    , ifaceList(ifaces)
{
    debug->configure(QStringLiteral("Instrument"), componentTypes::instrument);
}

instrument::~instrument()
{
    for (const QPointer<QWidget> &widget : {control, status}) {
        if (widget && !widget->parent())
            delete widget;
    }
}

void instrument::configure(const QDomElement &block)
{
    if (block.tagName().toLower() != QLatin1String("instrument")) {
        debug->log(QStringLiteral("This is not an instrument configuration block"));
        return;
    }
    bool active = true;
    const auto whileActive = [&active](QString &target) {
        return [&active, &target](const QDomElement &element) {
            if (active)
                target = element.text();
        };
    };
    readKeys(block,
        {
            {"active",
                [&active](const QDomElement &element) {
                    active = active && element.text().toLower() != QLatin1String("false");
                }},
            {"dataprepend", whileActive(storagePrepend)},
            {"name", whileActive(name)},
        });
    if (!active)
        return;
    readKeys(block, {{"interface", [this](const QDomElement &element) { useInterface(element.text()); }}});
    readKeys(block, {{"power", [this](const QDomElement &element) { configurePower(element); }}});
    configXML = block;
}

void instrument::useInterface(const QString &name)
{
    iface = getInterface(name);
    if (!iface)
        return;
    iface->power->setDataStore(CDS);
    attach(iface);
}

void instrument::configurePower(const QDomElement &element)
{
    if (iface)
        iface->power->configure(element);
}

void instrument::attach(interface *used)
{
    if (m_attached.contains(used))
        return;
    m_attached.append(used);
    used->attachSignals(this);
    debug->addChild(used->debug.get());
}

// An element is a handle: all instruments take it by value.
// NOLINTNEXTLINE(performance-unnecessary-value-param)
void instrument::configureInstrument(QDomElement block)
{
    Q_UNUSED(block)
}

interface *instrument::getInterface(const QString &name) const
{
    if (!ifaceList)
        return nullptr;
    for (interface *each : qAsConst(*ifaceList)) {
        if (each->name() == name)
            return each;
    }
    return nullptr;
}

void instrument::start()
{
    configureInstrument(configXML);
    if (!iface) {
        debug->log(QStringLiteral("Interface not defined for instrument"));
        return;
    }
    startInterfacePower(iface);
    if (!iface->open(QIODevice::ReadWrite))
        debug->log(QStringLiteral("Failed to open instrument port - ") + iface->errorString());
    startStages();
    // Kept: made, but left stopped. An instrument that wants its port checked starts it.
    commsHealthCheck = new QTimer(this);
    commsHealthCheck->setInterval(healthCheckMs);
    connect(commsHealthCheck, &QTimer::timeout, this, &instrument::checkComms);
    if (power) {
        power->setDataStore(CDS);
        power->start();
    }
}

void instrument::startStages()
{
    if (proto)
        proto->start();
    for (decoder *each : qAsConst(decode)) {
        debug->addChild(each->debug.get());
        connect(each, &decoder::resultAvailable, this, &instrument::decoderResult);
    }
}

void instrument::stop()
{
}

void instrument::decoderResult(const QString &key, const QVariant &value)
{
    const QString stored = storagePrepend + key;
    if (directStoreUpdate)
        CDS->store(stored, value);
    else
        emit resultAvailable(stored, value);
}

bool instrument::reads(const QString &key) const
{
    return CDS->query(key).toBool();
}

void instrument::startInterfacePower(interface *used)
{
    attach(used);
    used->startPower(CDS);
}

void instrument::checkComms()
{
    const QString error = iface->errorString();
    debug->log(QStringLiteral("Instrument port error string:"));
    debug->log(error);
    if (error == QLatin1String("No error") || error == QLatin1String("Operation timed out"))
        return;
    debug->log(QStringLiteral("Instrument port has an error - ") + error);
    debug->log(QStringLiteral("Trying to reconnect"));
    iface->close();
    debug->log(iface->open(QIODevice::ReadWrite) ? QStringLiteral("Successfully opened instrument port")
                                                 : QStringLiteral("Failed to open instrument port"));
}
