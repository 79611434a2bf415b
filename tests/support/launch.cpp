#include "tests/support/launch.h"

#include "lib/instruments/instrument.h"

#include <QDomDocument>

QDomElement xml(const QByteArray &text)
{
    QDomDocument document;
    QString problem;
    if (!document.setContent(text, true, &problem))
        qFatal("bad XML in a test: %s", qPrintable(problem));
    return document.documentElement();
}

void launch(instrument &device, const QByteArray &text)
{
    device.configure(xml(text));
    device.start();
}
