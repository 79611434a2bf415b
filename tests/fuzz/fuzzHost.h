#ifndef FUZZHOST_H
#define FUZZHOST_H

#include "lib/support/hostSystem.h"

#include <QByteArray>
#include <QString>

#include <cstdint>
#include <cstdlib>

#include <sys/mman.h>
#include <unistd.h>

/// What a target does with one input.
void fuzz(const QByteArray &input);

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    fuzz({reinterpret_cast<const char *>(data), int(size)});
    return 0;
}

/// Ends the run, and keeps the input, when a promise is broken.
inline void require(bool holds)
{
    if (!holds)
        std::abort();
}

/// A machine on which every file is the fuzzer's input, time stands still and no bus exists.
class fuzzHost : public hostSystem
{
public:
    explicit fuzzHost(const QByteArray &input)
        : m_fd(memfd_create("input", 0))
    {
        require(::write(m_fd, input.constData(), size_t(input.size())) == input.size());
    }
    ~fuzzHost() override { ::close(m_fd); }
    fuzzHost(const fuzzHost &) = delete;
    fuzzHost &operator=(const fuzzHost &) = delete;

    QString inputPath() const { return QStringLiteral("/proc/self/fd/%1").arg(m_fd); }
    QString path(const QString &) const override { return inputPath(); }
    qint64 utcMs() const override { return 1768473000000; } // 2026-01-15 10:30:00 UTC, a Thursday
    void sleepMs(int) const override { }
    int open(const char *, int) const override { return -1; }

private:
    const int m_fd;
};

#endif
