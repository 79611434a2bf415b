#include "benchmarks/processUse.h"

#include <QFile>

#include <ctime>

#include <unistd.h>

namespace {
double seconds(clockid_t clock)
{
    timespec time{};
    clock_gettime(clock, &time);
    return double(time.tv_sec) + double(time.tv_nsec) / 1e9;
}

QByteArray processFile(pid_t process, const char *name)
{
    QFile file(QStringLiteral("/proc/%1/%2").arg(process).arg(QLatin1String(name)));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}
}

double ownCpuSeconds()
{
    return seconds(CLOCK_PROCESS_CPUTIME_ID);
}

double cpuSeconds(pid_t process)
{
    clockid_t clock{};
    return clock_getcpuclockid(process, &clock) == 0 ? seconds(clock) : 0.0;
}

long statusKb(pid_t process, const QByteArray &name)
{
    for (const QByteArray &line : processFile(process, "status").split('\n')) {
        if (line.startsWith(name + ':'))
            return line.mid(name.size() + 1).trimmed().split(' ')[0].toLong();
    }
    return -1;
}

double monotonicSeconds()
{
    return seconds(CLOCK_MONOTONIC);
}
