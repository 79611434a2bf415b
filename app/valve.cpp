#include "app/valve.h"

#include "app/storeKeys.h"
#include "lib/communications/componentTypes.h"
#include "lib/communications/debugComponent.h"
#include "lib/instruments/visibilityFlag.h"
#include "lib/support/configKeys.h"
#include "lib/types/datastore.h"

#include <QComboBox>
#include <QLabel>
#include <QThread>
#include <QTimer>
#include <QVBoxLayout>

valve::valve(datastore *store, QList<interface *> *ifaces, QThread *parent)
    : instrument(store, ifaces, parent)
{
    name = QStringLiteral("valve");
    debug->configure(QStringLiteral("Valve logic"), componentTypes::valve);
    buildControl();
}

valve::~valve() = default;

void valve::buildControl()
{
    control = new QWidget; // deleted by the base, or by the window that takes it
    auto *const outputSelect = new QComboBox;
    outputSelect->addItem(QStringLiteral("Heating"), heating);
    outputSelect->addItem(QStringLiteral("Hot Water"), hotWater);
    outputSelect->addItem(QStringLiteral("Both"), both);
    auto *const statusLabel = new QLabel(QStringLiteral("Status"));

    auto *const layout = new QVBoxLayout(control);
    layout->addStretch();
    layout->addWidget(outputSelect);
    layout->addStretch();
    layout->addWidget(statusLabel);
    layout->addStretch();

    m_onScreen = std::make_unique<visibilityFlag>(control);
    // The first connection runs on the display thread, before the second is queued to the instrument's.
    connect(outputSelect, QOverload<int>::of(&QComboBox::currentIndexChanged), m_onScreen.get(),
        [this, outputSelect](int index) { m_selected = outputSelect->itemData(index).toInt(); });
    connect(outputSelect, QOverload<int>::of(&QComboBox::currentIndexChanged), this, &valve::takeSample);
    connect(this, &valve::statusChanged, statusLabel, &QLabel::setText);
}

void valve::configureInstrument(QDomElement block)
{
    const std::vector<configKey> keys{
        {"heatstat", into(heatStat)},
        {"tankstat", into(tankStat)},
        {"midoutcard", into(midCard)},
        {"midoutchan", into(midChannel)},
        {"fulloutcard", into(fullCard)},
        {"fulloutchan", into(fullChannel)},
        {"heattimer", into(heatTimer)},
        {"tanktimer", into(tankTimer)},
        {"period", intoMs(m_sampleInterval, 1, *debug)},
    };
    readKeys(block, keys);
}

/// Two of the store's many keys count here. They are picked out on the thread that stores, which would
/// otherwise wake this one at every update.
void valve::followStore()
{
    const auto pickOut = [this, heat = heatStat, tank = tankStat](const datastoreElementType &element) {
        if (element.key == heat || element.key == tank)
            emit thermostatUpdated(element);
    };
    connect(this, &valve::thermostatUpdated, this, &valve::updateData);
    connect(CDS, &datastore::dataUpdated, this, pickOut, Qt::DirectConnection);
}

QString valve::demandKey(const QString &card, int channel)
{
    return card + QStringLiteral("Power%1Demand").arg(channel);
}

void valve::start()
{
    configureInstrument(configXML);
    followStore();
    sampleTimer = new QTimer(this);
    sampleTimer->setInterval(m_sampleInterval);
    connect(sampleTimer, &QTimer::timeout, this, &valve::takeSample);
    sampleTimer->start();
    midOutput = demandKey(midCard, midChannel);
    fullOutput = demandKey(fullCard, fullChannel);
}

void valve::takeSample()
{
    if (isManual())
        followSelector();
    else
        followThermostats();
}

bool valve::isManual() const
{
    return m_onScreen->isVisible();
}

void valve::followSelector()
{
    const float sum = current(midCard, midChannel) + current(fullCard, fullChannel);
    emit statusChanged(QString::asprintf("Current = %0.2f A", double(sum)));
    const int selected = m_selected;
    if (selected == heating || selected == hotWater || selected == both)
        setOutput(selected != hotWater, selected != heating, true);
}

void valve::followThermostats()
{
    const auto follow = [this](const QString &key, bool &state) {
        const QVariant value = CDS->query(key);
        if (!value.isNull())
            state = value.toBool();
    };
    follow(heatStat, heatState);
    follow(tankStat, tankState);
    // Kept: the override stays in the state until the thermostat next writes it.
    if (reads(QLatin1String(storeKeys::heatStatOverride)))
        heatState = true;
    setOutput(heatState, tankState, false);
}

/// Kept: the override does not act on this way.
void valve::updateData(const datastoreElementType &element)
{
    bool changed = false;
    if (element.key == heatStat) {
        heatState = element.value.toBool();
        changed = heatState != lastHeat;
    }
    if (element.key == tankStat) {
        tankState = element.value.toBool();
        changed = changed || tankState != lastTank;
    }
    if (changed && !isManual())
        setOutput(heatState, tankState, false);
}

void valve::setOutput(bool heat, bool tank, bool force)
{
    if (midOutput.isEmpty())
        return; // not started
    if (!force) {
        heat = heat && reads(heatTimer);
        tank = tank && reads(tankTimer);
    }
    // The valve rests at heating; the mid relay moves it to both, mid and full together to hot water.
    decoderResult(midOutput, tank);
    decoderResult(fullOutput, tank && !heat);
}

/// Amperes drawn on the card's channel; 0 while the card has published none.
float valve::current(const QString &card, int channel) const
{
    return CDS->query(card + QStringLiteral("Current") + QString::number(channel)).toFloat();
}
