#include "lib/protocols/protocol.h"

protocol::protocol(interface *stream, QObject *parent)
    : QObject(parent)
    , ioStream(stream)
{
}

void protocol::configure(const QDomElement &block)
{
    Q_UNUSED(block)
}

void protocol::start()
{
}
