#include "lib/decoders/decoder.h"

#include "lib/communications/componentTypes.h"
#include "lib/communications/debugComponent.h"
#include "lib/support/configKeys.h"

#include <cstdio>

namespace {
constexpr int traceLevel = 1;
}

decoder::decoder(QObject *ioProtocol, QObject *parent)
    : QObject(parent)
    , debug(std::make_unique<debugComponent>())
    , ioProtocol(ioProtocol)
{
    debug->configure(QStringLiteral("Decoder"), componentTypes::decoder, traceLevel);
    debug->disable();
    // By name: parsers and protocols share the signal, but no base class that declares it.
    if (ioProtocol)
        connect(ioProtocol, SIGNAL(dataOut(QByteArray)), this, SLOT(decode(QByteArray)));
}

decoder::~decoder() = default;

void decoder::configure(const QDomElement &block)
{
    readKeys(block, {{"debug", [this](const QDomElement &) { debug->enable(); }}});
}

void decoder::decode(const QByteArray &data)
{
    // Kept: printed whether or not the log is enabled.
    std::printf("Decoding : %s\n", data.constData());
}
