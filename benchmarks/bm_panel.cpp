// The window at 70 stored values a second, beside one whose panel is laid out and painted with every value.
#include "app/mainWindow.h"
#include "app/timer.h"
#include "benchmarks/processUse.h"
#include "benchmarks/ratios.h"
#include "lib/types/datastore.h"

#include <QApplication>
#include <QEventLoop>
#include <QLabel>
#include <QTimer>
#include <QBoxLayout>

#include <cstdio>

namespace {
constexpr int updatesPerSecond = 70;
constexpr int seconds = 2;
constexpr int rounds = 5;

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

/// The panel, known by its rich text.
QLabel *panelOf(const mainWindow &window)
{
    for (QLabel *label : window.findChildren<QLabel *>()) {
        if (label->text().startsWith(QLatin1String("<table>")))
            return label;
    }
    return nullptr;
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
    const auto update
        = [&store](int i) { store.store(QStringLiteral("card1Flowrate2"), 5.0 + i % 50 * 0.1); };
    update(0);
    settle();
    QLabel *const panel = panelOf(window);
    if (!panel)
        return 1;
    // An ordinary label, to stand in the panel's place every other second: both see the same machine.
    auto *const plain = new QLabel;
    plain->setAlignment(Qt::AlignCenter);
    plain->setFixedWidth(panel->width());
    auto *const row = qobject_cast<QBoxLayout *>(window.centralWidget()->layout()->itemAt(0)->layout());
    row->insertWidget(0, plain);
    double limited = 0.0;
    double immediate = 0.0;
    for (int i = 0; i < rounds; ++i) {
        plain->hide();
        panel->show();
        settle();
        limited += loadOf(update) / rounds;
        panel->hide();
        plain->show();
        settle();
        immediate += loadOf([&](int k) {
            update(k);
            plain->setText(panel->text());
            plain->repaint();
        }) / rounds;
    }
    std::printf("%d updates a second: window %.1f %% of a core, painted with each %.1f %%\n",
        updatesPerSecond, limited * 100, immediate * 100);
    printRatio("panel.70_single_updates_cpu_vs_immediate", limited / immediate);
    return 0;
}
