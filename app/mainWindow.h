#ifndef MAINWINDOW_H
#define MAINWINDOW_H

#include "lib/types/datastoreElementType.h"

#include <QMainWindow>

class QBoxLayout;
class QLabel;
class QPushButton;
class QTabWidget;
class QTimer;
class controlPage;
class datastore;
class eventLoop;
class servicePage;
class statusPanel;
class timer;

/// The window of the touch display: live values, the pages, Shutdown and a clock.
///
/// Also works out the boiler's heat output: every refresh of the panel stores "power" (float, kW) and
/// "deltaT" (float, degrees C). Every stored value refreshes the panel, but for those two themselves.
/// Display thread only; values stored by other threads arrive queued.
class mainWindow : public QMainWindow
{
    Q_OBJECT

public:
    /// Store and timers must outlive the window.
    mainWindow(datastore *store, timer *water, timer *heat, QMainWindow *parent = nullptr);

    /// What Shutdown stops; it must outlive the window.
    void setEventLoop(eventLoop *loop) { m_evLoop = loop; }
    /// Shows an instrument's control widget as a tab of the service page, which takes it over.
    void addServiceGui(QWidget *widget, const QString &name);

public slots:
    void updateClock();
    void updateData(const datastoreElementType &data);
    /// Asks first; then stops the system and powers the machine off.
    void shutdown();

private:
    struct source;
    struct row;
    static const source sources[];
    static const row rows[];

    void createClock();
    void createShutdownButton();
    void arrange();
    void setShown(float mainWindow::*field, float value);
    void updateStatus();
    void computeHeatOutput();
    QString statusText() const;
    void powerOff();

    datastore *m_cds;
    eventLoop *m_evLoop = nullptr;
    timer *m_waterTimer;
    timer *m_heatTimer;
    qint64 m_shownSecond = -1; // UTC, since 1970
    bool m_outdated = true;    // whether a value on the panel is newer than its text
    float totFlow = 0;         // l/s
    float deltaT = 0;          // degrees C
    float power = 0;           // kW
    float chFlow = 0;          // l/min
    float hwFlow = 0;          // l/min
    float pressure = 0;        // Bar
    float flowTmp = 0;         // degrees C
    float returnTemp = 0;      // degrees C
    float intTemp = 0;         // degrees C
    float intPressure = 0;     // mBar
    float intHumidity = 0;     // %
    float cpuLoad = 0;         // %
    float procMem = 0;         // kB
    QWidget *central;
    statusPanel *statusLabel;
    QLabel *clockLabel;
    QTimer *clockTimer;
    QTabWidget *tabs;
    QPushButton *shutdownBtn;
    controlPage *control = nullptr;
    servicePage *service = nullptr;
};

#endif
