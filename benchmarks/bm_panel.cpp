// The window at 70 stored values a second, beside a label that is laid out and painted with every value.
#include "app/mainWindow.h"
#include "app/timer.h"
#include "benchmarks/processUse.h"
#include "benchmarks/ratios.h"
#include "lib/types/datastore.h"

#include <QApplication>
#include <QEventLoop>
#include <QLabel>
#include <QTimer>
#include <QVBoxLayout>

#include <cstdio>

namespace {
constexpr int updatesPerSecond = 70;
constexpr int seconds = 5;

const char windowStyle[] = "background-color: black; color: white; font-size: 14px;";

/// Share of a core while \a update is called 70 times a second, evenly.
template <class F>
double loadOf(F update)
{
    QEventLoop loop;
    QTimer clock;
    clock.setTimerType(Qt::PreciseTimer);
    const double start = monotonicSeconds();
    int done = 0;
    QObject::connect(&clock, &QTimer::timeout, &loop, [&] {
        while (done < (monotonicSeconds() - start) * updatesPerSecond && done < updatesPerSecond * seconds)
            update(done++);
        if (done == updatesPerSecond * seconds)
            loop.quit();
    });
    clock.start(1000 / updatesPerSecond);
    const double cpu = ownCpuSeconds();
    loop.exec();
    return (ownCpuSeconds() - cpu) / seconds;
}

void settle()
{
    QEventLoop loop;
    QTimer::singleShot(300, &loop, &QEventLoop::quit);
    loop.exec();
}

/// What the panel of \a window shows now.
QString panelText(const mainWindow &window)
{
    for (const QLabel *label : window.findChildren<QLabel *>()) {
        if (label->text().startsWith(QLatin1String("<table>")))
            return label->text();
    }
    return {};
}
}

int main(int argc, char **argv)
{
    const QApplication app(argc, argv);
    datastore store;
    timer water(&store, QStringLiteral("waterTimer"), QString(), nullptr);
    timer heat(&store, QStringLiteral("heatTimer"), QString(), nullptr);
    mainWindow window(&store, &water, &heat);
    window.setStyleSheet(QLatin1String(windowStyle));
    window.setFixedSize(800, 480);
    window.show();
    QStringList texts;
    settle();
    const double limited = loadOf([&](int i) {
        store.store(QStringLiteral("card1Flowrate2"), 5.0 + i % 50 * 0.1);
        if (i < 50)
            texts.append(panelText(window));
    });
    window.hide();

    QWidget plain;
    plain.setStyleSheet(QLatin1String(windowStyle));
    auto *const label = new QLabel;
    label->setAlignment(Qt::AlignCenter);
    label->setFixedWidth(250);
    auto *const layout = new QVBoxLayout(&plain);
    layout->addWidget(label);
    plain.setFixedSize(800, 480);
    plain.show();
    settle();
    const double immediate = loadOf([&](int i) {
        label->setText(texts.at(i % texts.size()));
        label->repaint();
    });
    std::printf("%d updates a second: window %.1f %% of a core, painted with each %.1f %%\n",
        updatesPerSecond, limited * 100, immediate * 100);
    printRatio("panel.70_single_updates_cpu_vs_immediate", limited / immediate);
    return texts.last().isEmpty() ? 1 : 0;
}
