#include "lib/instruments/internal/internalInst.h"

#include "lib/communications/componentTypes.h"
#include "lib/communications/debugComponent.h"
#include "lib/instruments/internal/int_cpuload.h"
#include "lib/instruments/internal/int_diskfree.h"
#include "lib/instruments/internal/int_processMem.h"
#include "lib/instruments/internal/int_temperature.h"
#include "lib/support/configKeys.h"

#include <QTimer>

namespace {

template <class T>
std::unique_ptr<int_sensor> make(const QDomElement &element, const hostSystem &host)
{
    return std::make_unique<T>(element, host);
}

struct sensorType {
    const char *type;
    std::unique_ptr<int_sensor> (*make)(const QDomElement &, const hostSystem &);
};

const sensorType sensorTypes[] = {
    {"cpu", make<int_cpuload>},
    {"diskfree", make<int_diskfree>},
    {"temperature", make<int_temperature>},
    {"mem", make<int_processMem>},
};
}

internalInst::internalInst(
    datastore *store, QList<interface *> *ifaces, QObject *parent, const hostSystem &host)
    : instrument(store, ifaces, parent)
    , m_host(host)
{
    name = QStringLiteral("internal");
    storagePrepend = name;
    debug->configure(QStringLiteral("Internal Sensors"), componentTypes::internalSensors);
}

internalInst::~internalInst() = default;

void internalInst::configureInstrument(QDomElement block)
{
    readKeys(block,
        {
            {"sensor", [this](const QDomElement &element) { addSensor(element); }},
            {"period", intoMs(sampleInterval)}, // Kept: 0 is taken as it stands
        });
    for (const std::unique_ptr<int_sensor> &each : sensor)
        debug->addChild(each->debug.get());
}

void internalInst::addSensor(const QDomElement &element)
{
    const QString wanted = element.attribute(QStringLiteral("type"));
    for (const sensorType &each : sensorTypes) {
        if (wanted == QLatin1String(each.type))
            sensor.push_back(each.make(element, m_host));
    }
}

void internalInst::start()
{
    configureInstrument(configXML);
    sampleTimer = new QTimer(this);
    connect(sampleTimer, &QTimer::timeout, this, &internalInst::takeSample);
    sampleTimer->start(sampleInterval);
}

void internalInst::takeSample()
{
    for (const std::unique_ptr<int_sensor> &each : sensor) {
        const sensorResultPacket packet = each->takeSample();
        for (int j = 0; j < packet.resultName.size(); ++j)
            emit resultAvailable(packet.resultName[j], packet.resultData[j]); // Kept: without the prefix
    }
}
