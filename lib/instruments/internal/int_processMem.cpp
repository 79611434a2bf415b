#include "lib/instruments/internal/int_processMem.h"

#include "lib/communications/componentTypes.h"
#include "lib/communications/debugComponent.h"

namespace {
constexpr int linesRead = 100;
}

int_processMem::int_processMem(const QDomElement &element, const hostSystem &host)
    : int_sensor(host)
{
    name = QStringLiteral("int_processMem");
    debug->configure(QStringLiteral("Process Memory"), componentTypes::memorySensor);
    configure(element);
}

sensorResultPacket int_processMem::takeSample()
{
    const QString path = QStringLiteral("/proc/self/status");
    const std::optional<QByteArray> text = readFile(path);
    if (!text)
        return {};
    sensorResultPacket packet;
    // Kept: the walk goes on behind a match, so that every matching line is a reading.
    for (const QByteArray &line : text->split('\n').mid(0, linesRead)) {
        if (!line.contains("VmRSS:"))
            continue;
        bool isNumber = false;
        const double kilobytes = line.simplified().split(' ').value(1).toDouble(&isNumber);
        if (isNumber)
            packet.add(storagePrepend + QStringLiteral("procMem"), kilobytes);
        else
            logUnreadable(path);
    }
    return packet;
}
