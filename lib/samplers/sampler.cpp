#include "lib/samplers/sampler.h"

#include "lib/communications/componentTypes.h"
#include "lib/communications/debugComponent.h"
#include "lib/support/configKeys.h"

namespace {
constexpr int edgeLevel = 1;
constexpr int defaultPeriodMs = 60000;

enum edgeCode { anyEdge = 0, fallingEdge = 1, risingEdge = 2, bothEdges = 3 };
}

sampler::sampler(datastore *store, QObject *parent)
    : QObject(parent)
    , debug(std::make_unique<debugComponent>())
    , store(store)
{
    debug->configure(QStringLiteral("Sampler"), componentTypes::sampler);
}

sampler::~sampler() = default;

void sampler::configure(const QDomElement &element)
{
    const std::vector<configKey> keys{
        {"period", into(samplePeriod)},
        {"key", [this](const QDomElement &key) { addKey(key); }},
    };
    readKeys(element, keys);
    configureSampler(element);
}

void sampler::addKey(const QDomElement &element)
{
    static const QMap<QString, int> codes{
        {QStringLiteral("falling"), fallingEdge},
        {QStringLiteral("rising"), risingEdge},
        {QStringLiteral("both"), bothEdges},
    };
    subscribeList.append(element.text());
    triggerVariableList.append(element.attribute(QStringLiteral("triggerVariable")));
    if (!element.hasAttribute(QStringLiteral("triggerEdge"))) {
        triggerEdgeList.append(anyEdge);
        return;
    }
    const auto code = codes.constFind(element.attribute(QStringLiteral("triggerEdge")).toLower());
    if (code != codes.constEnd())
        triggerEdgeList.append(*code);
}

int sampler::timerInterval()
{
    if (samplePeriod > 0)
        return samplePeriod;
    // A period of 0 would sample as fast as the processor turns, and fill the memory with uploads.
    debug->log(QStringLiteral("No usable period configured, sampling every %1 ms").arg(defaultPeriodMs));
    return defaultPeriodMs;
}

void sampler::configureSampler(const QDomElement &)
{
}

void sampler::start()
{
}

void sampler::takeSample()
{
    debug->log(QStringLiteral("Base class sampler\n"));
}

void sampler::edgeTrigger(const QString &dataKey, const QVariant &, bool rising)
{
    debug->log((rising ? QStringLiteral("Rising edge seen on - ") : QStringLiteral("Falling edge seen on - "))
            + dataKey,
        edgeLevel);
}
