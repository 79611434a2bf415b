#ifndef TERMINALDEBUGCLIENT_H
#define TERMINALDEBUGCLIENT_H

#include "lib/communications/debugClient.h"

#include "lib/support/hostSystem.h"

/// Prints messages to standard output, coloured by level; the time is that of printing, UTC. Whoever reads
/// them cannot hold up the threads that log, see printLine().
/// Kept: the colour is not reset afterwards.
class terminalDebugClient : public debugClient
{
    Q_OBJECT

public:
    explicit terminalDebugClient(QObject *parent = nullptr, const hostSystem &host = hostSystem::real());

    void registerComponent(const debugMessage &m) override;
    void log(const debugMessage &m) override;

private:
    const hostSystem &m_host;
};

#endif
