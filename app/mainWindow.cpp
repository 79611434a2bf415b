#include "app/mainWindow.h"

#include "app/Widgets/statusPanel.h"
#include "app/controlPage.h"
#include "app/eventLoop.h"
#include "app/servicePage.h"
#include "lib/support/standardOutput.h"
#include "lib/types/datastore.h"

#include <QBoxLayout>
#include <QDateTime>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QTabWidget>
#include <QTimer>

#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <utility>

namespace {
constexpr int clockInterval = 200;   // ms
constexpr int clockHeight = 50;      // pixels
constexpr int statusWidth = 250;     // pixels
constexpr int shutdownWidth = 100;   // pixels
constexpr int shutdownSpacing = 150; // pixels

constexpr float secondsPerMinute = 60.0F;
constexpr float specificHeat = 4.186F; // of water, kJ per kg and K; one litre is taken as one kilogram
constexpr double kilobytesPerMegabyte = 1000.0;

// On the window's black ground the widget style draws nearly black outlines, and no box to tick at all.
const char controlStyle[] = R"(
    QPushButton, QComboBox, QGroupBox, QTabWidget::pane, QTabBar::tab, QMessageBox { border: 1px solid #808080; }
    QPushButton { border-radius: 4px; min-height: 24px; padding: 5px 10px; background-color: #202020; }
    QPushButton:pressed { background-color: #606060; }
    QPushButton:focus { border-color: #c0c0c0; }
    QPushButton:disabled, QComboBox:disabled { color: #808080; border-color: #404040; }
    QComboBox { min-height: 24px; padding: 2px 8px; }
    QGroupBox { border-radius: 4px; margin-top: 2ex; padding-top: 1ex; }
    QGroupBox::title { subcontrol-origin: margin; subcontrol-position: top center; padding: 0 6px; }
    QTabBar::tab { min-height: 24px; padding: 3px 14px; }
    QTabBar::tab:selected { background-color: #404040; }
    QCheckBox { spacing: 8px; }
    QCheckBox::indicator { width: 18px; height: 18px; border: 1px solid #c0c0c0; }
    QCheckBox::indicator:checked { background-color: #c0c0c0; }
)";

/// As "%.*f" prints it, whatever the locale.
QString fixed(double value, int decimals)
{
    std::array<char, 400> text{}; // the longest double has 309 digits before the point
    const auto end
        = std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed, decimals)
              .ptr;
    return QString::fromLatin1(text.data(), int(end - text.data()));
}

}

/// A stored value that the panel shows.
struct mainWindow::source {
    const char *key;
    float mainWindow::*field;
};

// Kept: flow meter 2 sits in the heating circuit and flow meter 1 in the hot-water circuit.
const mainWindow::source mainWindow::sources[] = {
    {"card1Flowrate2", &mainWindow::chFlow},
    {"card1Flowrate1", &mainWindow::hwFlow},
    {"card1Pressure1", &mainWindow::pressure},
    {"flowtemperature", &mainWindow::flowTmp},
    {"returntemperature", &mainWindow::returnTemp},
    {"SysTemperature", &mainWindow::intTemp},
    {"SysPressure", &mainWindow::intPressure},
    {"SysHumidity", &mainWindow::intHumidity},
    {"cpu", &mainWindow::cpuLoad},
    {"procMem", &mainWindow::procMem},
};

/// A line of the panel; one without a field is a heading with an empty line above it.
struct mainWindow::row {
    const char *title = "";
    float mainWindow::*field = nullptr;
    int decimals = 0;
    const char *unit = "";
    double perUnit = 1.0;
};

const mainWindow::row mainWindow::rows[] = {
    {"Heating", &mainWindow::chFlow, 2, "l/min"},
    {"Hot Water", &mainWindow::hwFlow, 2, "l/min"},
    {"Pressure", &mainWindow::pressure, 2, "Bar"},
    {"Flow", &mainWindow::flowTmp, 2, "C"},
    {"Return", &mainWindow::returnTemp, 2, "C"},
    {"Power"},
    {"Total Flow", &mainWindow::totFlow, 2, "l/s"},
    {"Delta T", &mainWindow::deltaT, 1, "C"},
    {"Power", &mainWindow::power, 2, "kW"},
    {"Internal"},
    {"Temperature", &mainWindow::intTemp, 1, "C"},
    {"Air Pressure", &mainWindow::intPressure, 1, "mBar"},
    {"Humidity", &mainWindow::intHumidity, 2, "%"},
    {"CPU Usage", &mainWindow::cpuLoad, 2, "%"},
    {"Memory Usage", &mainWindow::procMem, 2, "MB", kilobytesPerMegabyte},
};

mainWindow::mainWindow(datastore *store, timer *water, timer *heat, QMainWindow *parent)
    : QMainWindow(parent)
    , m_cds(store)
    , m_waterTimer(water)
    , m_heatTimer(heat)
    , central(new QWidget)
    , statusLabel(new statusPanel(tr("Hello World!")))
    , clockLabel(new QLabel(tr("Hello World!")))
    , clockTimer(new QTimer(this))
    , tabs(new QTabWidget)
    , shutdownBtn(new QPushButton(tr("Shutdown")))
{
    setWindowTitle(QStringLiteral("Calorix"));
    connect(m_cds, &datastore::dataUpdated, this, &mainWindow::updateData);
    createClock();
    statusLabel->setAlignment(Qt::AlignCenter);
    statusLabel->setFixedWidth(statusWidth);
    // The pages come last: the control page stores a value, and the panel shows every one.
    control = new controlPage(m_cds, m_waterTimer, m_heatTimer);
    service = new servicePage(m_cds);
    tabs->addTab(control, tr("Control"));
    tabs->addTab(service, tr("Service"));
    createShutdownButton();
    arrange();
}

void mainWindow::createClock()
{
    clockLabel->setStyleSheet(QStringLiteral("font-size: 26px;"));
    clockLabel->setAlignment(Qt::AlignCenter);
    clockLabel->setFixedHeight(clockHeight);
    connect(clockTimer, &QTimer::timeout, this, &mainWindow::updateClock);
    clockTimer->start(clockInterval);
}

void mainWindow::createShutdownButton()
{
    shutdownBtn->setFixedWidth(shutdownWidth);
    connect(shutdownBtn, &QPushButton::clicked, this, &mainWindow::shutdown);
}

void mainWindow::arrange()
{
    auto *const upper = new QHBoxLayout;
    upper->addWidget(statusLabel);
    upper->addWidget(tabs);
    auto *const lower = new QHBoxLayout;
    lower->addWidget(shutdownBtn);
    lower->addSpacing(shutdownSpacing);
    lower->addWidget(clockLabel);
    auto *const whole = new QVBoxLayout(central);
    whole->addLayout(upper);
    whole->addLayout(lower);
    central->setStyleSheet(QString::fromLatin1(controlStyle));
    setCentralWidget(central);
}

void mainWindow::addServiceGui(QWidget *widget, const QString &name)
{
    service->addTab(widget, QString(name).replace('&', "&&")); // no mark of a shortcut
}

void mainWindow::updateClock()
{
    const QDateTime now = QDateTime::currentDateTimeUtc();
    const qint64 second = now.toSecsSinceEpoch();
    if (std::exchange(m_shownSecond, second) != second)
        clockLabel->setText(now.toLocalTime().toString(QStringLiteral("ddd d MMM yyyy hh:mm:ss ap")));
}

void mainWindow::updateData(const datastoreElementType &data)
{
    for (const source &each : sources) {
        if (data.key == QLatin1String(each.key))
            setShown(each.field, data.value.toFloat());
    }
    // These two are stored by the refresh itself.
    if (data.key != QLatin1String("power") && data.key != QLatin1String("deltaT"))
        updateStatus();
}

void mainWindow::setShown(float mainWindow::*field, float value)
{
    float &shown = this->*field;
    // The panel shows a minus before a zero, too.
    const bool same = shown == value && std::signbit(shown) == std::signbit(value);
    m_outdated = m_outdated || !same;
    shown = value;
}

/// Most updates of the store bring nothing new to the panel, and its text is long.
void mainWindow::updateStatus()
{
    computeHeatOutput();
    m_cds->store(QStringLiteral("power"), power);
    m_cds->store(QStringLiteral("deltaT"), deltaT);
    if (m_outdated)
        statusLabel->showStatus(statusText());
    m_outdated = false;
}

/// Negative when the return is warmer than the flow.
void mainWindow::computeHeatOutput()
{
    totFlow = (chFlow + hwFlow) / secondsPerMinute;
    deltaT = flowTmp - returnTemp;
    power = deltaT * specificHeat * totFlow;
}

QString mainWindow::statusText() const
{
    QString text = QStringLiteral("<table>");
    for (const row &each : rows) {
        if (!each.field) {
            text += QStringLiteral("<tr></tr><tr><th>%1</th></tr>").arg(QLatin1String(each.title));
            continue;
        }
        text += QStringLiteral("<tr><th>") + QLatin1String(each.title) + QStringLiteral("</th><td>")
            + fixed(double(this->*each.field) / each.perUnit, each.decimals) + QLatin1Char(' ')
            + QLatin1String(each.unit) + QStringLiteral("</td></tr>");
    }
    return text + QStringLiteral("</table>");
}

void mainWindow::shutdown()
{
    printLine("Shutdown requested\n");
    QMessageBox question(QMessageBox::Critical, tr("Calorix System"),
        tr("This will shut down the control system. Are you sure?"), QMessageBox::Yes | QMessageBox::No,
        this);
    question.setStyleSheet(QString::fromLatin1(controlStyle));
    for (QAbstractButton *each : question.buttons())
        each->setStyleSheet(QString::fromLatin1(controlStyle)); // a message box does not hand its own on
    const int answer = question.exec();
    if (answer == QMessageBox::Yes)
        powerOff();
    else if (answer == QMessageBox::No)
        printLine("Shutdown canceled by user\n");
}

void mainWindow::powerOff()
{
    printLine("User confirmed shutdown\n");
    if (m_evLoop)
        m_evLoop->stop();
    if (std::system("sudo shutdown -hP now") != 0)
        std::fputs("The shutdown command failed\n", stderr);
}
