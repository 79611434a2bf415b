// Configuration files: every interface, sampler and instrument that a file can name reads its element, and
// the instruments their own keys, as they do at their start. No device is opened and nothing is sampled.
#include "app/controlLogic.h"
#include "app/timer.h"
#include "app/valve.h"
#include "lib/communications/debugComponent.h"
#include "lib/instruments/PCB/bme280.h"
#include "lib/instruments/ds18b20.h"
#include "lib/instruments/interfaceCard/boilerSwitchBoard.h"
#include "lib/instruments/internal/internalInst.h"
#include "lib/interfaces/i2cInterface.h"
#include "lib/interfaces/serialInterface.h"
#include "lib/interfaces/tcpInterface.h"
#include "lib/samplers/iotHttpPost.h"
#include "lib/samplers/tcpSampler.h"
#include "lib/support/xmlFile.h"
#include "lib/types/datastore.h"
#include "tests/fuzz/fuzzHost.h"

#include <QApplication>
#include <QDomDocument>

#include <vector>

namespace {
/// What a configuration file makes, without its threads. Every class of its kind reads an element, whatever
/// type that names.
struct installation {
    const fuzzHost &host;
    datastore store;
    timer water{&store, QStringLiteral("waterTimer"), QString(), nullptr, host};
    timer heat{&store, QStringLiteral("heatTimer"), QString(), nullptr, host};
    QList<interface *> lines;
    std::vector<std::unique_ptr<QObject>> owned;

    explicit installation(const fuzzHost &machine)
        : host(machine)
    {
    }
    template <class Device>
    Device *configured(const QDomElement &element, Device *made)
    {
        owned.emplace_back(made);
        made->configure(element);
        return made;
    }
    void read(const QDomElement &element)
    {
        const QString kind = element.tagName().toLower();
        if (kind == QLatin1String("interface"))
            lines << configured(element, new i2cInterface(host))
                  << configured(element, new serialInterface(host))
                  << configured(element, new tcpInterface(host));
        if (kind == QLatin1String("sampler")) {
            configured(element, new iotHttpPost(&store));
            configured(element, new tcpSampler(&store));
        }
        if (kind != QLatin1String("instrument"))
            return;
        const QList<instrument *> devices{new bme280(&store, &lines, nullptr, host),
            new boilerSwitchBoard(&store, &lines, nullptr, host), new ds18b20(&store, &lines, nullptr, host),
            new internalInst(&store, &lines, nullptr, host), new valve(&store, &lines, nullptr),
            new controlLogic(&store, &lines, &water, &heat, nullptr)};
        for (instrument *device : devices)
            configured(element, device)->configureInstrument(element);
    }
};
}

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    // Never destroyed: the fuzzer looks for leaks when it is gone, and finds what Qt keeps beside it.
    static const auto *const app = new QApplication(*argc, *argv);
    Q_UNUSED(app)
    return 0;
}

void fuzz(const QByteArray &input)
{
    const fuzzHost host(input);
    debugComponent log;
    const std::optional<QDomDocument> document = loadXmlFile(host.inputPath(), log);
    require(document || !log.lastLog().isEmpty());
    const QDomElement root = document.value_or(QDomDocument()).documentElement();
    installation made(host);
    for (QDomElement e = root.firstChildElement(); !e.isNull(); e = e.nextSiblingElement())
        made.read(e);
}
