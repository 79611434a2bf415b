#include "tests/support/refusal.h"

#include <cerrno>

#include <dlfcn.h>
#include <pthread.h>
#include <unistd.h>

std::atomic_bool refused = false;

namespace {
template <class Function>
Function *usual(const char *name)
{
    return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}
}

// A program's own functions go before those of the libraries, also where these call them.
pid_t fork() noexcept
{
    static auto *const real = usual<pid_t()>("fork");
    if (!refused)
        return real();
    errno = ENOMEM;
    return -1;
}

int pthread_create(
    pthread_t *thread, const pthread_attr_t *attributes, void *(*run)(void *), void *argument) noexcept
{
    static auto *const real
        = usual<int(pthread_t *, const pthread_attr_t *, void *(*)(void *), void *)>("pthread_create");
    return refused ? EAGAIN : real(thread, attributes, run, argument);
}
