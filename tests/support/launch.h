#ifndef LAUNCH_H
#define LAUNCH_H

#include <QByteArray>
#include <QDomElement>

class instrument;

/// The document element of an XML text; fails hard on bad XML. The element keeps its document alive.
QDomElement xml(const QByteArray &text);

/// Configures \a device with an XML text and starts it, as the loader does, but on the calling thread.
void launch(instrument &device, const QByteArray &text);

#endif
