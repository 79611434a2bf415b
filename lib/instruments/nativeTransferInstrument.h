#ifndef NATIVETRANSFERINSTRUMENT_H
#define NATIVETRANSFERINSTRUMENT_H

#include "lib/instruments/instrument.h"

/// Brings the values of another device, sent as serialised data store elements over an interface, into the
/// store, under the keys that they come with.
///
/// Noise and damaged messages are dropped without a word; a lost connection is the interface's to restore.
/// Thread: everything from start() on runs on the instrument's own thread, which also stores the messages.
class nativeTransferInstrument : public instrument
{
    Q_OBJECT

public:
    nativeTransferInstrument(datastore *store, QList<interface *> *ifaces, QObject *parent);

public slots:
    void start() override;

private slots:
    void packetAvailable(const QByteArray &packet);
};

#endif
