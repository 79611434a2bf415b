#include "app/controlPage.h"

#include "app/Widgets/flashLED.h"
#include "app/storeKeys.h"
#include "app/timer.h"
#include "lib/types/datastore.h"

#include <QCheckBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QLabel>
#include <QPushButton>
#include <QTimer>

namespace {
constexpr int lampSize = 30;         // pixels
constexpr int heatInfoHeight = 50;   // pixels
constexpr int statusInterval = 1000; // ms

struct lamp {
    const char *caption;
    int row;
    int column; // pair of grid columns
    QRgb on;
    QRgb off;
    const char *key;
};

// In order of creation. Relay 1 of the switch board is the pump, relay 2 the boiler.
constexpr lamp lamps[] = {
    {"System Pressure OK", 1, 1, qRgb(0, 255, 0), qRgb(255, 0, 0), "card1Prs1OK"},
    {"Hot Water Demand", 2, 1, qRgb(255, 0, 0), qRgb(20, 0, 0), "thermostatPower2Sense"},
    {"Heating Demand", 3, 1, qRgb(255, 0, 0), qRgb(20, 0, 0), "thermostatPower1Sense"},
    {"Water Timer", 1, 2, qRgb(0, 0, 255), qRgb(0, 0, 10), "waterTimerOn"},
    {"Heating Timer", 2, 2, qRgb(0, 0, 255), qRgb(0, 0, 10), "heatTimerOn"},
    {"Boiler On", 3, 2, qRgb(0, 0, 255), qRgb(0, 0, 10), "card1Power2Control"},
    {"Pump On", 4, 2, qRgb(0, 0, 255), qRgb(0, 0, 10), "card1Power1Control"},
};
constexpr int lampCount = int(std::size(lamps));
}

controlPage::controlPage(datastore *store, timer *water, timer *heat, QWidget *parent)
    : QWidget(parent)
    , m_cds(store)
    , m_waterTimer(water)
    , m_heatTimer(heat)
    , statusTimer(new QTimer(this))
    , heatBox(new QGroupBox(tr("Heating")))
    , heatBoostBtn(new QPushButton(tr("Boost")))
    , heatAdvanceBtn(new QPushButton(tr("Advance")))
    , heatInfo(new QLabel)
    , heatOvrChk(new QCheckBox(tr("Override Thermostat")))
    , waterBox(new QGroupBox(tr("Hot Water")))
    , waterBoostBtn(new QPushButton(tr("Boost")))
    , waterAdvanceBtn(new QPushButton(tr("Advance")))
    , waterInfo(new QLabel)
{
    connect(m_cds, &datastore::dataUpdated, this, &controlPage::updateData);
    auto *const page = new QVBoxLayout(this);
    page->addLayout(createLamps());
    createHeatBox();
    createWaterBox();
    auto *const boxes = new QHBoxLayout;
    boxes->addWidget(heatBox);
    boxes->addWidget(waterBox);
    page->addLayout(boxes);

    connect(statusTimer, &QTimer::timeout, this, &controlPage::updateStatus);
    statusTimer->start(statusInterval);
    overrideHeat(0);
}

QGridLayout *controlPage::createLamps()
{
    auto *const grid = new QGridLayout;
    for (const lamp &each : lamps)
        createLED(tr(each.caption), each.on, each.off, grid, each.row, each.column);
    return grid;
}

void controlPage::createLED(
    const QString &caption, const QColor &on, const QColor &off, QGridLayout *grid, int row, int col)
{
    auto *const text = new QLabel(caption, this);
    auto *const lamp = new flashLED(lampSize, on, off, 0, this);
    label.append(text);
    led.append(lamp);
    grid->addWidget(lamp, row, 2 * (col - 1) + 1);
    grid->addWidget(text, row, 2 * col);
}

void controlPage::createHeatBox()
{
    heatBox->setAlignment(Qt::AlignHCenter);
    heatInfo->setFixedHeight(heatInfoHeight);
    auto *const grid = new QGridLayout(heatBox);
    grid->addWidget(heatBoostBtn, 1, 1);
    grid->addWidget(heatAdvanceBtn, 1, 2);
    grid->addWidget(heatInfo, 2, 1, 1, 2);
    grid->addWidget(heatOvrChk, 3, 1, 1, 2);
    connect(heatOvrChk, &QCheckBox::stateChanged, this, &controlPage::overrideHeat);
    connect(heatBoostBtn, &QPushButton::clicked, this, &controlPage::boostHeat);
    connect(heatAdvanceBtn, &QPushButton::clicked, this, &controlPage::advanceHeat);
}

void controlPage::createWaterBox()
{
    waterBox->setAlignment(Qt::AlignHCenter);
    auto *const grid = new QGridLayout(waterBox);
    grid->addWidget(waterBoostBtn, 1, 1);
    grid->addWidget(waterAdvanceBtn, 1, 2);
    grid->addWidget(waterInfo, 2, 1, 1, 3);
    connect(waterBoostBtn, &QPushButton::clicked, this, &controlPage::boostWater);
    connect(waterAdvanceBtn, &QPushButton::clicked, this, &controlPage::advanceWater);
}

void controlPage::updateData(const datastoreElementType &data)
{
    for (int i = 0; i < lampCount; i++) {
        if (data.key == QLatin1String(lamps[i].key))
            led.at(i)->set(data.value.toBool());
    }
}

void controlPage::updateStatus()
{
    heatInfo->setText(m_heatTimer->operationText());
    waterInfo->setText(m_waterTimer->operationText());
    // The override lasts only as long as the heating period or boost.
    if (!m_heatTimer->isOn())
        heatOvrChk->setChecked(false);
}

void controlPage::boostHeat()
{
    m_heatTimer->boost();
}

void controlPage::boostWater()
{
    m_waterTimer->boost();
}

void controlPage::advanceHeat()
{
    m_heatTimer->advance();
}

void controlPage::advanceWater()
{
    m_waterTimer->advance();
}

void controlPage::overrideHeat(int state)
{
    m_cds->store(QLatin1String(storeKeys::heatStatOverride), state != 0);
}
