#ifndef INT_DISKFREE_H
#define INT_DISKFREE_H

#include "lib/instruments/internal/int_sensor.h"

#include <QHash>
#include <QPointer>

#include <memory>

class QProcess;
class childProcess;

/// Publishes how much of each configured file system is free (double, per cent), under the name given to it
/// or its path followed by "Free".
///
/// Runs `df -P` once per file system and sample; blocks the calling thread for at most 6 s each. A file
/// system without an answer is logged and passed over, also as long as a df hangs on it for good. Source:
/// POSIX df, output format of option -P.
class int_diskfree final : public int_sensor
{
public:
    /// \a timeLimitMs is what one df may take before it is killed.
    explicit int_diskfree(
        const QDomElement &element, const hostSystem &host = hostSystem::real(), int timeLimitMs = 5000);

    sensorResultPacket takeSample() override;
    void configureSensor(const QDomElement &element) override;

    /// Free share in per cent; empty when \a output (of df -P) is not that of a file system with any blocks.
    static std::optional<double> percentFreeIn(const QByteArray &output);

private:
    void addFileSystem(const QDomElement &element);
    std::optional<double> percentFree(QProcess &df, const QString &path) const;
    bool finishes(QProcess &df) const;
    void leaveBehind(std::unique_ptr<childProcess> df, const QString &path);

    const int m_timeLimitMs;
    QStringList fileSystem;
    QStringList fileSystemName;                 // keys, by the same index
    QHash<QString, QPointer<QProcess>> m_stuck; // by file system; null once it has ended after all
};

#endif
