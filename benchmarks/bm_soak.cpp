// The store under load for a while, then the heating's period and the display's event loop under load:
//   bm_soak [seconds]
#include "app/controlLogic.h"
#include "app/mainWindow.h"
#include "app/timer.h"
#include "benchmarks/processUse.h"
#include "benchmarks/ratios.h"
#include "lib/types/datastore.h"
#include "tests/support/launch.h"

#include <QApplication>
#include <QThread>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <thread>
#include <vector>

#include <unistd.h>

namespace {
constexpr int keys = 3000;
constexpr int updatesPerSecond = 10000;
constexpr double limitSeconds = 0.05;

void sleepUntil(double when)
{
    const double left = when - monotonicSeconds();
    if (left > 0)
        usleep(useconds_t(left * 1e6));
}

/// kB that the process grew by while 10,000 values a second went into 3,000 keys.
long storeGrowth(int seconds)
{
    datastore store;
    QStringList names;
    for (int i = 0; i < keys; ++i)
        names.append(QStringLiteral("card%1Sensor%2").arg(i % 7).arg(i));
    const auto update
        = [&](int i) { store.store(names.at(i % keys), i % 2 ? QVariant(i * 0.5) : QVariant(i % 3)); };
    for (int i = 0; i < 3 * keys; ++i)
        update(i);
    const long before = statusKb(getpid(), "VmRSS");
    const double start = monotonicSeconds();
    for (int i = 0; i < seconds * updatesPerSecond; ++i) {
        update(i);
        if (i % (updatesPerSecond / 100) == 0)
            sleepUntil(start + double(i) / updatesPerSecond);
    }
    return statusKb(getpid(), "VmRSS") - before;
}

double percentile99(std::vector<double> values)
{
    if (values.empty())
        return 99.0;
    std::sort(values.begin(), values.end());
    return values[values.size() * 99 / 100];
}

constexpr int controlPeriodMs = 100;

/// Deviation of the control logic's period, on its own thread, in seconds.
class controlWatch
{
public:
    controlWatch(datastore *store, timer *water, timer *heat)
        : m_logic(store, nullptr, water, heat, nullptr)
    {
        m_logic.configure(xml("<instrument><pumpout>pump</pumpout><period>"
            + QByteArray::number(controlPeriodMs) + "</period></instrument>"));
        QObject::connect(
            &m_logic, &instrument::resultAvailable, &m_logic,
            [this](const QString &key) {
                if (key == QLatin1String("pump"))
                    m_at.push_back(monotonicSeconds());
            },
            Qt::DirectConnection);
        m_logic.moveToThread(&m_thread);
        QObject::connect(&m_thread, &QThread::started, &m_logic, &instrument::start);
        m_thread.start();
    }
    ~controlWatch() { end(); }

    double jitter()
    {
        end();
        std::vector<double> deviations;
        for (size_t i = 1; i < m_at.size(); ++i)
            deviations.push_back(std::abs(m_at[i] - m_at[i - 1] - controlPeriodMs / 1000.0));
        return percentile99(deviations);
    }

private:
    void end()
    {
        if (!m_thread.isRunning())
            return;
        QThread *const home = QThread::currentThread();
        QMetaObject::invokeMethod(
            &m_logic, [this, home] { m_logic.moveToThread(home); }, Qt::BlockingQueuedConnection);
        m_thread.quit();
        m_thread.wait();
    }

    QThread m_thread;
    controlLogic m_logic;
    std::vector<double> m_at;
};

/// How long the display's thread takes to get to an event, in seconds, while 200 values a second arrive.
double displayDelay(QApplication &app, datastore *store, int seconds)
{
    std::vector<double> delays;
    std::thread source([&] {
        const double start = monotonicSeconds();
        for (int i = 0; i < seconds * 200; ++i) {
            store->store(
                i % 2 ? QStringLiteral("card1Flowrate2") : QStringLiteral("flowtemperature"), i * 0.01);
            const double posted = monotonicSeconds();
            QMetaObject::invokeMethod(
                &app, [&delays, posted] { delays.push_back(monotonicSeconds() - posted); },
                Qt::QueuedConnection);
            sleepUntil(start + i / 200.0);
        }
        QMetaObject::invokeMethod(&app, &QApplication::quit, Qt::QueuedConnection);
    });
    app.exec();
    source.join();
    return percentile99(delays);
}
}

int main(int argc, char **argv)
{
    QApplication app(argc, argv);
    qRegisterMetaType<datastoreElementType>("datastoreElementType");
    const int seconds = argc > 1 ? std::max(1, std::atoi(argv[1])) : 60;
    const long growth = storeGrowth(seconds);
    std::printf("%d keys, %d updates in %d s: memory grew by %ld kB\n", keys, seconds * updatesPerSecond,
        seconds, growth);
    printRatio("soak.store_growth_vs_1MB", double(growth) / 1024);

    datastore store;
    timer water(&store, QStringLiteral("waterTimer"), QString(), nullptr);
    timer heat(&store, QStringLiteral("heatTimer"), QString(), nullptr);
    mainWindow window(&store, &water, &heat);
    window.setFixedSize(800, 480);
    window.show();
    controlWatch control(&store, &water, &heat);
    const double delay = displayDelay(app, &store, std::min(seconds, 20));
    const double jitter = control.jitter();
    std::printf(
        "99th percentiles: display's event loop %.1f ms late at 200 updates a second, control logic %.1f ms "
        "off its period\n",
        delay * 1000, jitter * 1000);
    printRatio("soak.control_jitter_p99_vs_50ms", jitter / limitSeconds);
    printRatio("soak.display_delay_p99_vs_50ms", delay / limitSeconds);
    return 0;
}
