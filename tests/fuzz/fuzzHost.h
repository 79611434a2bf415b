#ifndef FUZZHOST_H
#define FUZZHOST_H

#include "lib/support/hostSystem.h"

#include <QByteArray>
#include <QString>

#include <cstdint>
#include <cstdlib>

#include <sys/mman.h>
#include <unistd.h>

/// Ends the run, and keeps the input, when a promise is broken.
inline void require(bool holds)
{
    if (!holds)
        std::abort();
}

inline QByteArray bytesOf(const std::uint8_t *data, std::size_t size)
{
    return {reinterpret_cast<const char *>(data), int(size)};
}

/// A machine on which every file is the fuzzer's input, time stands still and no bus exists.
class fuzzHost : public hostSystem
{
public:
    fuzzHost(const std::uint8_t *data, std::size_t size)
        : m_fd(memfd_create("input", 0))
    {
        require(::write(m_fd, data, size) == ssize_t(size));
    }
    ~fuzzHost() override { ::close(m_fd); }
    fuzzHost(const fuzzHost &) = delete;
    fuzzHost &operator=(const fuzzHost &) = delete;

    QString inputPath() const { return QStringLiteral("/proc/self/fd/%1").arg(m_fd); }

    QString path(const QString &) const override { return inputPath(); }
    qint64 utcMs() const override { return 1768473000000; } // 2026-01-15 10:30:00 UTC, a Thursday
    qint64 uptimeMs() const override { return 1000; }
    void sleepMs(int) const override { }
    int open(const char *, int) const override { return -1; }

private:
    const int m_fd;
};

#endif
