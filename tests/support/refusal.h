#ifndef REFUSAL_H
#define REFUSAL_H

#include <atomic>

/// While true, the kernel has no memory for another process (by fork()) or thread of this program.
extern std::atomic_bool refused;

#endif
