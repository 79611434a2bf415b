#ifndef HOSTSYSTEM_H
#define HOSTSYSTEM_H

#include <QByteArray>
#include <QDateTime>
#include <QString>

#include <optional>

#include <sys/types.h>

/// The one seam between the program and the machine: kernel files, clocks, sleeping and the raw bus calls.
///
/// Tests put a temporary tree, a clock that they move and a bus of their own behind it.
/// Thread: every call may be made from any thread; the real one holds no state.
class hostSystem
{
public:
    virtual ~hostSystem() = default;

    /// The machine itself.
    static const hostSystem &real();

    /// Where the absolute path \a path of the controller really lies.
    virtual QString path(const QString &path) const { return path; }

    /// Whole content of a (kernel) file, or nothing when it cannot be opened.
    std::optional<QByteArray> read(const QString &path) const;

    /// UTC wall clock, milliseconds since 1970-01-01. Steps when somebody sets the clock.
    virtual qint64 utcMs() const;
    /// UTC wall clock; the same instant as utcMs().
    QDateTime now() const { return QDateTime::fromMSecsSinceEpoch(utcMs(), Qt::UTC); }
    /// Monotonic clock in milliseconds; never steps.
    virtual qint64 uptimeMs() const;
    /// Blocks the calling thread.
    virtual void sleepMs(int ms) const;

    /// The bus calls are those of the kernel's I2C character devices: results and errno as in open(2),
    /// ioctl(2), read(2), write(2), close(2).
    virtual int open(const char *path, int flags) const;
    virtual int ioctl(int fd, unsigned long request, long argument) const;
    virtual ssize_t read(int fd, void *data, size_t length) const;
    virtual ssize_t write(int fd, const void *data, size_t length) const;
    virtual int close(int fd) const;
};

#endif
