#ifndef FILEDEBUGCLIENT_H
#define FILEDEBUGCLIENT_H

#include "lib/communications/debugClient.h"

#include "lib/support/hostSystem.h"

/// Appends messages to a file per UTC day.
///
/// Kept: the day follows the directory's name without a separator, so with "/var/log/heating" the files lie
/// beside that directory ("/var/log/heating13_Nov_26.log"); log rotation on site is set up for those names.
class fileDebugClient : public debugClient
{
    Q_OBJECT

public:
    explicit fileDebugClient(
        const QString &path, QObject *parent = nullptr, const hostSystem &host = hostSystem::real());

    /// Makes the directory, with its parents.
    void registerComponent(const debugMessage &m) override;
    /// A file that cannot be opened costs this message and prints one line.
    void log(const debugMessage &m) override;

private:
    QString m_path;
    const hostSystem &m_host;
};

#endif
