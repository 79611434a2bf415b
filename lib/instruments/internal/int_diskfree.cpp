#include "lib/instruments/internal/int_diskfree.h"

#include "lib/communications/componentTypes.h"
#include "lib/communications/debugComponent.h"
#include "lib/support/childProcess.h"
#include "lib/support/configKeys.h"

#include <utility>

namespace {
constexpr int killedMs = 1000; // for the end of a df after its kill
}

int_diskfree::int_diskfree(const QDomElement &element, const hostSystem &host, int timeLimitMs)
    : int_sensor(host)
    , m_timeLimitMs(timeLimitMs)
{
    name = QStringLiteral("int_diskfree");
    debug->configure(QStringLiteral("Disk free"), componentTypes::diskSensor);
    configure(element);
}

void int_diskfree::configureSensor(const QDomElement &element)
{
    readKeys(element, {{"filesystem", [this](const QDomElement &entry) { addFileSystem(entry); }}});
}

void int_diskfree::addFileSystem(const QDomElement &element)
{
    const QString nameAttribute = QStringLiteral("name");
    fileSystem.append(element.text());
    fileSystemName.append(element.hasAttribute(nameAttribute) ? element.attribute(nameAttribute)
                                                              : element.text() + QStringLiteral("Free"));
}

sensorResultPacket int_diskfree::takeSample()
{
    sensorResultPacket packet;
    auto df = std::make_unique<childProcess>();
    for (int i = 0; i < fileSystem.size(); ++i) {
        const QString &path = fileSystem[i];
        if (m_stuck.value(path)) {
            debug->log(QStringLiteral("df has still not finished for %1").arg(path));
            continue;
        }
        const std::optional<double> free = percentFree(*df, path);
        if (free)
            packet.add(storagePrepend + fileSystemName[i], *free);
        if (df->state() != QProcess::NotRunning)
            leaveBehind(std::exchange(df, std::make_unique<childProcess>()), path);
    }
    return packet;
}

/// A dead network mount holds a df that even its kill does not end; to destroy the object would wait for it.
void int_diskfree::leaveBehind(std::unique_ptr<childProcess> df, const QString &path)
{
    QProcess *const stuck = df.release();
    QObject::connect(
        stuck, QOverload<int, QProcess::ExitStatus>::of(&QProcess::finished), stuck, &QObject::deleteLater);
    m_stuck.insert(path, stuck);
}

std::optional<double> int_diskfree::percentFreeIn(const QByteArray &output)
{
    const QStringList lines = QString::fromLocal8Bit(output).split(QLatin1Char('\n'));
    if (lines.size() < 2)
        return std::nullopt;
    const QStringList fields = lines[1].split(QLatin1Char(' '), Qt::SkipEmptyParts);
    if (fields.size() < 4)
        return std::nullopt;
    const qlonglong total = fields[1].toLongLong(); // blocks of 1024 bytes, both
    const qlonglong available = fields[3].toLongLong();
    if (total <= 0)
        return std::nullopt;
    return double(available) / double(total) * percent;
}

std::optional<double> int_diskfree::percentFree(QProcess &df, const QString &path) const
{
    df.start(QStringLiteral("df"), {QStringLiteral("-P"), path});
    if (!finishes(df))
        return std::nullopt;
    if (df.exitCode() != 0) {
        debug->log(QStringLiteral("df finished with code %1").arg(df.exitCode()));
        return std::nullopt;
    }
    const std::optional<double> free = percentFreeIn(df.readAllStandardOutput());
    if (!free)
        debug->log(QStringLiteral("df gave no figures for %1").arg(path));
    return free;
}

bool int_diskfree::finishes(QProcess &df) const
{
    if (df.waitForFinished(m_timeLimitMs))
        return true;
    if (df.state() == QProcess::NotRunning) {
        debug->log(QStringLiteral("Failed to start df"));
        return false;
    }
    debug->log(QStringLiteral("df did not finish within %1 ms, killed").arg(m_timeLimitMs));
    df.kill();
    df.waitForFinished(killedMs);
    return false;
}
