#include "app/watchdog.h"

#include "lib/communications/debugComponent.h"

#include <QTimer>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstring>

#include <sys/socket.h>
#include <sys/un.h>
#include <systemd/sd-daemon.h>
#include <unistd.h>

namespace {
constexpr char message[] = "WATCHDOG=1";
constexpr std::uint64_t reportsPerLimit = 3; // one may be late, and one more lost
constexpr std::chrono::milliseconds shortest(1);
constexpr std::chrono::milliseconds longest = std::chrono::hours(1);
}

watchdog::watchdog(debugComponent *debug, QObject *parent)
    : QObject(parent)
    , m_debug(debug)
{
    std::uint64_t limitUs = 0;
    if (sd_watchdog_enabled(0, &limitUs) <= 0)
        return;
    m_socket = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    const std::chrono::milliseconds interval(limitUs / 1000 / reportsPerLimit);
    auto *const timer = new QTimer(this);
    connect(timer, &QTimer::timeout, this, &watchdog::report);
    timer->start(std::clamp(interval, shortest, longest));
}

watchdog::~watchdog()
{
    if (m_socket >= 0)
        ::close(m_socket);
}

void watchdog::report()
{
    // sd_notify(3) would wait for a service manager that hangs with a full queue, and the heating with it.
    const QByteArray name = qgetenv("NOTIFY_SOCKET");
    sockaddr_un address{AF_UNIX, {}};
    std::copy_n(name.begin(), std::min(size_t(name.size()), sizeof address.sun_path), address.sun_path);
    if (name.startsWith('@')) // an abstract one
        address.sun_path[0] = '\0';
    const auto length = socklen_t(offsetof(sockaddr_un, sun_path) + size_t(name.size()));
    if (::sendto(m_socket, message, sizeof message - 1, MSG_NOSIGNAL,
            reinterpret_cast<const sockaddr *>(&address), std::min(length, socklen_t(sizeof address)))
        < 0)
        m_debug->log(QStringLiteral("Cannot reach the service manager: ") + std::strerror(errno));
}
