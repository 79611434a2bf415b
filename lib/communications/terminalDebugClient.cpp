#include "lib/communications/terminalDebugClient.h"

#include "lib/support/standardOutput.h"

namespace {
const char *colour(quint32 level)
{
    static constexpr const char *colours[] = {"\033[36m", "\033[35m", "\033[34m", "\033[32m"};
    return level < std::size(colours) ? colours[level] : "\033[02m";
}
}

terminalDebugClient::terminalDebugClient(QObject *parent, const hostSystem &host)
    : debugClient(parent)
    , m_host(host)
{
}

void terminalDebugClient::registerComponent(const debugMessage &m)
{
    printLine("Registered component - " + m.componentName.toLocal8Bit() + " with UUID "
        + m.UUID.toString().toLatin1() + '\n');
}

void terminalDebugClient::log(const debugMessage &m)
{
    if (!outputRequired(m))
        return;
    printLine(colour(m.level) + m_host.now().toString(QStringLiteral("hh:mm:ss.zzz")).toLatin1() + " : Level"
        + QByteArray::number(int(m.level)) + " - " + m.componentName.toLocal8Bit() + " - "
        + m.debugData.toLocal8Bit() + '\n');
}
