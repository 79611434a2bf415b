#include "lib/instruments/instrument.h"

#include "lib/communications/debugComponent.h"
#include "lib/decoders/decoder.h"
#include "lib/protocols/protocol.h"
#include "lib/support/configKeys.h"
#include "lib/types/datastore.h"

#include <QTimer>

namespace {
constexpr unsigned int componentType = 10000;
constexpr int inheritLevel = -1;
constexpr int healthCheckMs = 5000;
}

instrument::instrument(datastore *store, QList<interface *> *ifaces, QObject *parent)
    : QObject(parent)
    , debug(std::make_unique<debugComponent>())
    , CDS(store)
    , ifaceList(ifaces)
{
    debug->configure(QStringLiteral("Instrument"), componentType, inheritLevel);
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
    configXML = block;
}

void instrument::configureInstrument(QDomElement block)
{
    Q_UNUSED(block)
}

interface *instrument::getInterface(const QString &name) const
{
    Q_UNUSED(name)
    return nullptr;
}

void instrument::start()
{
    configureInstrument(configXML);
    debug->log(QStringLiteral("Interface not defined for instrument"));
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

void instrument::startInterfacePower(interface *used)
{
    Q_UNUSED(used)
}

void instrument::checkComms()
{
}
