#include "lib/support/hostSystem.h"

#include <QFile>

#include <chrono>
#include <thread>

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

const hostSystem &hostSystem::real()
{
    static const hostSystem machine;
    return machine;
}

std::optional<QByteArray> hostSystem::read(const QString &path) const
{
    QFile file(this->path(path));
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    return file.readAll();
}

qint64 hostSystem::utcMs() const
{
    using namespace std::chrono;
    return duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
}

qint64 hostSystem::uptimeMs() const
{
    using namespace std::chrono;
    return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

void hostSystem::sleepMs(int ms) const
{
    std::this_thread::sleep_for(std::chrono::milliseconds(ms));
}

int hostSystem::open(const char *path, int flags) const
{
    return ::open(path, flags | O_CLOEXEC);
}

int hostSystem::ioctl(int fd, unsigned long request, long argument) const
{
    return ::ioctl(fd, request, argument);
}

ssize_t hostSystem::read(int fd, void *data, size_t length) const
{
    return ::read(fd, data, length);
}

ssize_t hostSystem::write(int fd, const void *data, size_t length) const
{
    return ::write(fd, data, length);
}

int hostSystem::close(int fd) const
{
    return ::close(fd);
}
