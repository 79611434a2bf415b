#ifndef FAKEHOST_H
#define FAKEHOST_H

#include "lib/support/hostSystem.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <atomic>

/// A machine of its own: a temporary tree for files and a clock that moves by advance() and by its own sleep
/// only.
class fakeHost : public hostSystem
{
public:
    /// Writes a file of the fake machine, with its folders.
    void write(const QString &path, const QByteArray &content)
    {
        QFile file(this->path(path));
        QDir().mkpath(QFileInfo(file).path());
        if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
            qFatal("cannot write %s", qPrintable(file.fileName()));
    }
    using hostSystem::write;
    void remove(const QString &path) { QFile::remove(this->path(path)); }

    void advance(qint64 ms)
    {
        m_utcMs += ms;
        m_uptimeMs += ms;
    }
    void setUtc(const QDateTime &utc) { m_utcMs = utc.toMSecsSinceEpoch(); }

    QString path(const QString &path) const override { return m_tree.path() + path; }
    qint64 utcMs() const override { return m_utcMs; }
    qint64 uptimeMs() const override { return m_uptimeMs; }
    void sleepMs(int ms) const override
    {
        m_sleptMs += ms;
        m_utcMs += ms;
        m_uptimeMs += ms;
    }
    qint64 sleptMs() const { return m_sleptMs; }

private:
    QTemporaryDir m_tree;
    mutable std::atomic<qint64> m_utcMs{1768473000000}; // 2026-01-15 10:30:00 UTC
    mutable std::atomic<qint64> m_uptimeMs{0};
    mutable std::atomic<qint64> m_sleptMs{0};
};

#endif
