#include "app/watchdog.h"

#include "lib/communications/debugComponent.h"

#include <QTimer>

#include <algorithm>
#include <chrono>
#include <cstring>

#include <systemd/sd-daemon.h>

namespace {
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
    const std::chrono::milliseconds interval(limitUs / 1000 / reportsPerLimit);
    auto *const timer = new QTimer(this);
    connect(timer, &QTimer::timeout, this, &watchdog::report);
    timer->start(std::clamp(interval, shortest, longest));
}

void watchdog::report()
{
    const int result = sd_notify(0, "WATCHDOG=1");
    if (result < 0)
        m_debug->log(QStringLiteral("Cannot reach the service manager: ") + std::strerror(-result));
}
