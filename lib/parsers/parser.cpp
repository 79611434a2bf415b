#include "lib/parsers/parser.h"

#include "lib/interfaces/interface.h"
#include "lib/support/configKeys.h"

#include <cstdio>

namespace {
constexpr unsigned int defaultBufferSize = 1024; // bytes
}

parser::parser(interface *iface, QObject *parent)
    : QObject(parent)
    , iface(iface)
{
    setBufferSize(defaultBufferSize);
    connect(iface, &interface::interfaceConnected, this, &parser::interfaceConnected);
}

void parser::setBufferSize(unsigned int bytes)
{
    if (debug)
        std::printf("%s :: Request to set buffer size to %u bytes\n", name.toLatin1().constData(), bytes);
    bufferLimit = bytes;
}

void parser::configure(const QDomElement &block)
{
    readKeys(block, {});
}

void parser::newDataInBuffer()
{
}

void parser::clearBuffer()
{
    if (debug)
        std::printf("%s :: Request to clear buffer\n", name.toLatin1().constData());
    buffer.clear();
}

void parser::interfaceConnected()
{
    // The interface reports every reconnection; one connection is enough.
    connect(iface, &interface::readyRead, this, &parser::readDataToBuffer, Qt::UniqueConnection);
}

void parser::readDataToBuffer()
{
    const QByteArray data = iface->readAll();
    if (debug)
        std::printf("%s :: %i bytes new data\n", name.toLatin1().constData(), data.size());
    // The oldest bytes go, never the new ones: a block larger than the limit is kept whole.
    const qint64 overrun = qint64(buffer.size()) + data.size() - bufferLimit;
    if (overrun > 0)
        buffer.remove(0, int(qMin<qint64>(overrun, buffer.size())));
    buffer.append(data);
    if (debug) {
        const QByteArray latinName = name.toLatin1();
        std::printf("%s :: Buffer size %i bytes\n", latinName.constData(), buffer.size());
        std::printf("%s :: Buffer overrun %i bytes\n", latinName.constData(), int(qMax<qint64>(0, overrun)));
    }
    newDataInBuffer();
}
