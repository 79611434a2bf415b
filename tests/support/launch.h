#ifndef LAUNCH_H
#define LAUNCH_H

#include "lib/instruments/instrument.h"

#include <QDomDocument>

/// The document element of an XML text; fails hard on bad XML. The element keeps its document alive.
inline QDomElement xml(const QByteArray &text)
{
    QDomDocument document;
    QString problem;
    if (!document.setContent(text, true, &problem))
        qFatal("bad XML in a test: %s", qPrintable(problem));
    return document.documentElement();
}

/// Configures \a device with an XML text and starts it, as the loader does, but on the calling thread.
inline void launch(instrument &device, const QByteArray &text)
{
    device.configure(xml(text));
    device.start();
}

#endif
