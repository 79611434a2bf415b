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

#include <map>
#include <vector>

namespace {
/// What a configuration file makes, without its threads.
struct installation {
    explicit installation(const fuzzHost &host)
        : m_host(host)
    {
    }

    void read(const QDomElement &element)
    {
        const QString type = element.attribute(QStringLiteral("type")).toLower();
        const auto made = m_makers.find(element.tagName().toLower() + QLatin1Char(' ') + type);
        if (made != m_makers.end())
            made->second(element);
    }
    /// Interfaces may stand behind the instruments that use them.
    void configureInstruments()
    {
        for (const auto &[device, element] : m_instruments)
            device->configureInstrument(element);
    }

private:
    void keep(std::unique_ptr<interface> made, const QDomElement &element)
    {
        made->configure(element);
        m_interfaces.append(made.get());
        m_owned.push_back(std::move(made));
    }
    void keep(std::unique_ptr<sampler> made, const QDomElement &element)
    {
        made->configure(element);
        m_owned.push_back(std::move(made));
    }
    void keep(std::unique_ptr<instrument> made, const QDomElement &element)
    {
        made->configure(element);
        m_instruments.emplace_back(made.get(), element);
        m_owned.push_back(std::move(made));
    }

    using maker = std::function<void(const QDomElement &)>;
    template <class Base, class Device, class... Arguments>
    maker with(Arguments... arguments)
    {
        return [this, arguments...](const QDomElement &element) {
            keep(std::unique_ptr<Base>(std::make_unique<Device>(arguments...)), element);
        };
    }
    template <class Device>
    maker device()
    {
        return [this](const QDomElement &element) {
            keep(std::unique_ptr<instrument>(
                     std::make_unique<Device>(&m_store, &m_interfaces, nullptr, m_host)),
                element);
        };
    }

    const fuzzHost &m_host;
    datastore m_store;
    timer m_water{&m_store, QStringLiteral("waterTimer"), QString(), nullptr, m_host};
    timer m_heat{&m_store, QStringLiteral("heatTimer"), QString(), nullptr, m_host};
    QList<interface *> m_interfaces;
    std::vector<std::unique_ptr<QObject>> m_owned;
    std::vector<std::pair<instrument *, QDomElement>> m_instruments;
    const std::map<QString, maker> m_makers{
        {QStringLiteral("interface i2c"), with<interface, i2cInterface>(std::cref(m_host))},
        {QStringLiteral("interface serial"), with<interface, serialInterface>(std::cref(m_host))},
        {QStringLiteral("interface tcp"), with<interface, tcpInterface>(std::cref(m_host))},
        {QStringLiteral("sampler thingsboardjson"), with<sampler, iotHttpPost>(&m_store)},
        {QStringLiteral("sampler tcp"), with<sampler, tcpSampler>(&m_store)},
        {QStringLiteral("instrument bme280"), device<bme280>()},
        {QStringLiteral("instrument boilerswitchboard"), device<boilerSwitchBoard>()},
        {QStringLiteral("instrument ds18b20"), device<ds18b20>()},
        {QStringLiteral("instrument internal"), device<internalInst>()},
        {QStringLiteral("instrument valve"), with<instrument, valve>(&m_store, &m_interfaces, nullptr)},
        {QStringLiteral("instrument controllogic"),
            with<instrument, controlLogic>(&m_store, &m_interfaces, &m_water, &m_heat, nullptr)},
    };
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
    made.configureInstruments();
    return 0;
}
