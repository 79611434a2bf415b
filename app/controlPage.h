#ifndef CONTROLPAGE_H
#define CONTROLPAGE_H

#include "lib/types/datastoreElementType.h"

#include <QList>
#include <QWidget>

class QCheckBox;
class QGridLayout;
class QGroupBox;
class QLabel;
class QPushButton;
class QTimer;
class datastore;
class flashLED;
class timer;

/// The operator's page: lamps that mirror stored values, and Boost, Advance and the thermostat override.
///
/// Reads (as truth): "card1Prs1OK", "thermostatPower2Sense", "thermostatPower1Sense", "waterTimerOn",
/// "heatTimerOn", "card1Power2Control", "card1Power1Control". Writes "heatStatOverride" (bool): false at the
/// start, and again as soon as the heating timer is off, at most a second later.
/// Display thread only; the timers are asked while other threads ask them too.
class controlPage : public QWidget
{
    Q_OBJECT

public:
    /// Store and timers must outlive the page.
    controlPage(datastore *store, timer *water, timer *heat, QWidget *parent = nullptr);

    /// Adds a lamp and, to the right of it, its caption. \a row and \a col (a pair of grid columns) count
    /// from 1.
    void createLED(
        const QString &caption, const QColor &on, const QColor &off, QGridLayout *grid, int row, int col);

public slots:
    void updateStatus();
    void updateData(const datastoreElementType &data);
    void boostHeat();
    void boostWater();
    void advanceHeat();
    void advanceWater();
    /// \a state as a check box tells it: 0 is unticked.
    void overrideHeat(int state);

private:
    QGridLayout *createLamps();
    void createHeatBox();
    void createWaterBox();

    datastore *m_cds;
    timer *m_waterTimer;
    timer *m_heatTimer;
    QTimer *statusTimer;
    QList<QLabel *> label;
    QList<flashLED *> led;
    QGroupBox *heatBox;
    QPushButton *heatBoostBtn;
    QPushButton *heatAdvanceBtn;
    QLabel *heatInfo;
    QCheckBox *heatOvrChk;
    QGroupBox *waterBox;
    QPushButton *waterBoostBtn;
    QPushButton *waterAdvanceBtn;
    QLabel *waterInfo;
};

#endif
