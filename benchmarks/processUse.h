#ifndef PROCESSUSE_H
#define PROCESSUSE_H

#include <QByteArray>

#include <sys/types.h>

/// Processor time of the whole calling process so far, in seconds.
double ownCpuSeconds();
/// Processor time of another process so far, in seconds; 0 when it is gone.
double cpuSeconds(pid_t process);
/// A number of kB from /proc/PID/status, such as "VmRSS" or "VmHWM"; -1 if there is none.
long statusKb(pid_t process, const QByteArray &name);
/// Monotonic seconds.
double monotonicSeconds();

#endif
