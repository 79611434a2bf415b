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
    explicit installation(const fuzzHost &host)
        : m_host(host)
    {
    }

    void read(const QDomElement &element)
    {
        const QString kind = element.tagName().toLower();
        if (kind == QLatin1String("interface"))
            m_interfaces << make<i2cInterface>(element, m_host) << make<serialInterface>(element, m_host)
                         << make<tcpInterface>(element, m_host);
        if (kind == QLatin1String("sampler")) {
            make<iotHttpPost>(element, &m_store);
            make<tcpSampler>(element, &m_store);
        }
        if (kind == QLatin1String("instrument"))
            readInstruments(element);
    }

private:
    template <class Device, class... Arguments>
    Device *make(const QDomElement &element, Arguments &&...arguments)
    {
        auto made = std::make_unique<Device>(std::forward<Arguments>(arguments)...);
        made->configure(element);
        Device *const device = made.get();
        m_owned.push_back(std::move(made));
        return device;
    }
    void readInstruments(const QDomElement &element)
    {
        const QList<instrument *> devices{make<bme280>(element, &m_store, &m_interfaces, nullptr, m_host),
            make<boilerSwitchBoard>(element, &m_store, &m_interfaces, nullptr, m_host),
            make<ds18b20>(element, &m_store, &m_interfaces, nullptr, m_host),
            make<internalInst>(element, &m_store, &m_interfaces, nullptr, m_host),
            make<valve>(element, &m_store, &m_interfaces, nullptr),
            make<controlLogic>(element, &m_store, &m_interfaces, &m_water, &m_heat, nullptr)};
        for (instrument *device : devices)
            device->configureInstrument(element);
    }

    const fuzzHost &m_host;
    datastore m_store;
    timer m_water{&m_store, QStringLiteral("waterTimer"), QString(), nullptr, m_host};
    timer m_heat{&m_store, QStringLiteral("heatTimer"), QString(), nullptr, m_host};
    QList<interface *> m_interfaces;
    std::vector<std::unique_ptr<QObject>> m_owned;
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

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const fuzzHost host(data, size);
    debugComponent log;
    const std::optional<QDomDocument> document = loadXmlFile(host.inputPath(), log);
    if (!document) {
        require(!log.lastLog().isEmpty());
        return 0;
    }
    installation made(host);
    for (QDomElement e = document->documentElement().firstChildElement(); !e.isNull();
         e = e.nextSiblingElement())
        made.read(e);
    return 0;
}
