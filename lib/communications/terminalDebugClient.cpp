#include "lib/communications/terminalDebugClient.h"

#include <cstdio>

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
    std::printf("Registered component - %s with UUID %s\n", m.componentName.toLocal8Bit().constData(),
        m.UUID.toString().toLatin1().constData());
    std::fflush(stdout);
}

void terminalDebugClient::log(const debugMessage &m)
{
    if (!outputRequired(m))
        return;
    // One call prints one whole line, whatever other threads print. Flushed, because a journal is not a
    // terminal and the last lines before a crash are the ones that matter.
    std::printf("%s%s : Level%i - %s - %s\n", colour(m.level),
        m_host.now().toString(QStringLiteral("hh:mm:ss.zzz")).toLatin1().constData(), int(m.level),
        m.componentName.toLocal8Bit().constData(), m.debugData.toLocal8Bit().constData());
    std::fflush(stdout);
}
