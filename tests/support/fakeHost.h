#ifndef FAKEHOST_H
#define FAKEHOST_H

#include "lib/support/hostSystem.h"

#include <QTemporaryDir>

#include <atomic>

/// A machine of its own: a temporary tree for files and clocks that move by advance() and by its own sleep
/// only.
class fakeHost : public hostSystem
{
public:
    const hostSystem &system() const { return *this; }

    /// Writes a file of the fake machine, with its folders.
    void write(const QString &path, const QByteArray &content);
    void remove(const QString &path);
    using hostSystem::write;

    /// Moves both clocks.
    void advance(qint64 ms);
    /// Sets the wall clock only, as an operator or a time server would.
    void setUtc(const QDateTime &utc) { m_utcMs = utc.toMSecsSinceEpoch(); }

    QString path(const QString &path) const override { return m_tree.path() + path; }
    qint64 utcMs() const override { return m_utcMs; }
    qint64 uptimeMs() const override { return m_uptimeMs; }
    void sleepMs(int ms) const override;

    qint64 sleptMs() const { return m_sleptMs; }

private:
    QTemporaryDir m_tree;
    mutable std::atomic<qint64> m_utcMs{1768473000000}; // 2026-01-15 10:30:00 UTC
    mutable std::atomic<qint64> m_uptimeMs{1000};
    mutable std::atomic<qint64> m_sleptMs{0};
};

#endif
