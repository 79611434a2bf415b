#include "lib/instruments/nativeTransferInstrument.h"

#include "lib/communications/componentTypes.h"
#include "lib/communications/debugComponent.h"
#include "lib/interfaces/interface.h"
#include "lib/parsers/nativeTransferParser.h"
#include "lib/types/datastore.h"

nativeTransferInstrument::nativeTransferInstrument(
    datastore *store, QList<interface *> *ifaces, QObject *parent)
    : instrument(store, ifaces, parent)
{
    name = QStringLiteral("nativeTransfer");
    storagePrepend = name; // never used: the messages bring their keys
    debug->configure(QStringLiteral("Native Transfer Instrument"), componentTypes::nativeTransfer);
}

void nativeTransferInstrument::start()
{
    configureInstrument(configXML);
    if (!iface) {
        debug->log(QStringLiteral("Interface not defined for instrument"));
        return;
    }
    startInterfacePower(iface);
    parse = new nativeTransferParser(iface, this);
    connect(parse, &parser::dataOut, this, &nativeTransferInstrument::packetAvailable);
    iface->open(QIODevice::ReadWrite); // a failure is the interface's to repeat
}

void nativeTransferInstrument::packetAvailable(const QByteArray &packet)
{
    CDS->store(packet);
}
