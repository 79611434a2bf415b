#include "app/eventLoop.h"

#include "app/controlLogic.h"
#include "app/mainWindow.h"
#include "app/timer.h"
#include "app/valve.h"
#include "app/wiringCheck.h"
#include "lib/communications/componentTypes.h"
#include "lib/communications/debugComponent.h"
#include "lib/communications/network.h"
#include "lib/instruments/PCB/bme280.h"
#include "lib/instruments/ds18b20.h"
#include "lib/instruments/interfaceCard/boilerSwitchBoard.h"
#include "lib/instruments/internal/internalInst.h"
#include "lib/interfaces/i2cInterface.h"
#include "lib/interfaces/serialInterface.h"
#include "lib/interfaces/tcpInterface.h"
#include "lib/samplers/iotHttpPost.h"
#include "lib/samplers/tcpSampler.h"
#include "lib/support/configKeys.h"
#include "lib/support/xmlFile.h"
#include "lib/types/datastore.h"

#include <QThread>
#include <QTimer>

#include <algorithm>
#include <functional>

namespace {
constexpr int threadRetryMs = 1000;

/// One type of component: the configuration's word for it and its constructor call.
template <class T>
struct typeRow {
    const char *type;
    std::function<std::unique_ptr<T>()> make;
};

/// A new component of the type that is exactly \a type, or null.
template <class T>
std::unique_ptr<T> make(const std::vector<typeRow<T>> &rows, const QString &type)
{
    for (const typeRow<T> &row : rows) {
        if (type == QLatin1String(row.type))
            return row.make();
    }
    return nullptr;
}

/// A thread that the kernel refuses, for it is short of memory or tasks at the moment, is asked for again:
/// without its timer or its card the house would stay cold until somebody looks.
void startThread(QThread *thread, debugComponent *debug)
{
    thread->start(QThread::InheritPriority);
    if (thread->isRunning())
        return;
    debug->log(QStringLiteral("Could not start a thread, trying again"));
    QTimer::singleShot(threadRetryMs, thread, [thread, debug] { startThread(thread, debug); });
}

QString typeOf(const QDomElement &element)
{
    return element.attribute(QStringLiteral("type"));
}
}

eventLoop::eventLoop(datastore *store, debugComponent *debug, mainWindow *gui, timer *waterTimer,
    timer *heatTimer, QObject *parent)
    : QObject(parent)
    , systemDebug(debug)
    , store(store)
    , m_gui(gui)
    , m_waterTimer(waterTimer)
    , m_heatTimer(heatTimer)
    , instrumentDebug(std::make_unique<debugComponent>())
    , samplerDebug(std::make_unique<debugComponent>())
    , netCtrl(std::make_unique<network>())
{
    startThread(netCtrl.get(), systemDebug);
    instrumentDebug->configure(QStringLiteral("Instruments"), componentTypes::group);
    samplerDebug->configure(QStringLiteral("Samplers"), componentTypes::group);
    for (debugComponent *child : {netCtrl->debug.get(), samplerDebug.get(), instrumentDebug.get()})
        systemDebug->addChild(child);
    connect(netCtrl.get(), &network::resultAvailable, store,
        QOverload<const QString &, const QVariant &>::of(&datastore::store));
}

eventLoop::~eventLoop()
{
    finish(QDeadlineTimer(QDeadlineTimer::Forever));
}

bool eventLoop::configureSystem(const QString &fileName)
{
    systemDebug->log(QStringLiteral("Loading configuration..."));
    QString file = fileName;
    if (file.isEmpty()) {
        file = QStringLiteral("config.xml");
        systemDebug->log(QStringLiteral("No configuration file provided."));
    }
    systemDebug->log(QStringLiteral("Trying %1...").arg(file));
    const std::optional<QDomDocument> document = loadXmlFile(file, *systemDebug);
    if (!document)
        return false;
    const QDomElement root = document->documentElement();
    if (root.tagName() != QLatin1String("telemetrydevice")) {
        systemDebug->log(QStringLiteral("This is not a telemetry device configuration file."));
        return false;
    }
    readKeys(root,
        {
            {"interface", [this](const QDomElement &element) { readInterface(element); }},
            {"sampler", [this](const QDomElement &element) { readSampler(element); }},
            {"instrument", [this](const QDomElement &element) { readInstrument(element); }},
        });
    for (const QString &mistake : wiringMistakes(root))
        systemDebug->log(mistake);
    systemDebug->log(QStringLiteral("Loaded configuration file."));
    return true;
}

void eventLoop::readInterface(const QDomElement &element)
{
    std::unique_ptr<interface> made = makeInterface(typeOf(element).toLower());
    if (!made)
        return;
    ifaceList.append(made.get());
    made->configure(element);
    m_interfaces.push_back(std::move(made));
}

/// Kept: the type of a sampler, unlike the others, is compared with its case.
void eventLoop::readSampler(const QDomElement &element)
{
    std::unique_ptr<sampler> made = makeSampler(typeOf(element));
    if (!made)
        return;
    dataSampler.append(made.get());
    made->configure(element);
    samplerDebug->addChild(made->debug.get());
    m_samplers.push_back(std::move(made));
}

void eventLoop::readInstrument(const QDomElement &element)
{
    std::unique_ptr<instrument> made = makeInstrument(typeOf(element).toLower());
    if (!made)
        return;
    addInstrument(element, made.get());
    m_instruments.push_back(std::move(made));
}

std::unique_ptr<interface> eventLoop::makeInterface(const QString &type) const
{
    const std::vector<typeRow<interface>> rows{
        {"i2c", [] { return std::make_unique<i2cInterface>(); }},
        {"serial", [] { return std::make_unique<serialInterface>(); }},
        {"tcp", [] { return std::make_unique<tcpInterface>(); }},
    };
    return make(rows, type);
}

std::unique_ptr<sampler> eventLoop::makeSampler(const QString &type)
{
    const auto thingsboard = [this] {
        auto made = std::make_unique<iotHttpPost>(store, nullptr);
        connect(made.get(), &iotHttpPost::networkAction, netCtrl.get(), &network::actionRequest);
        return made;
    };
    const std::vector<typeRow<sampler>> rows{
        {"thingsboardjson", thingsboard},
        {"tcp", [this] { return std::make_unique<tcpSampler>(store, nullptr); }},
    };
    return make(rows, type);
}

std::unique_ptr<instrument> eventLoop::makeInstrument(const QString &type)
{
    const auto logic = [this] {
        return std::make_unique<controlLogic>(store, &ifaceList, m_waterTimer, m_heatTimer, nullptr);
    };
    const std::vector<typeRow<instrument>> rows{
        {"internal", [this] { return std::make_unique<internalInst>(store, &ifaceList, nullptr); }},
        {"controllogic", logic},
        {"ds18b20", [this] { return std::make_unique<ds18b20>(store, &ifaceList, nullptr); }},
        {"bme280", [this] { return std::make_unique<bme280>(store, &ifaceList, nullptr); }},
        {"boilerswitchboard",
            [this] { return std::make_unique<boilerSwitchBoard>(store, &ifaceList, nullptr); }},
        {"valve", [this] { return std::make_unique<valve>(store, &ifaceList, nullptr); }},
    };
    return make(rows, type);
}

void eventLoop::addInstrument(const QDomElement &element, instrument *added)
{
    inst.append(added);
    added->configure(element);
    instrumentDebug->addChild(added->debug.get());
    connect(added, &instrument::resultAvailable, store,
        QOverload<const QString &, const QVariant &>::of(&datastore::store));
    if (added->control && m_gui)
        m_gui->addServiceGui(added->control, added->name);
}

void eventLoop::start()
{
    systemDebug->log(QStringLiteral("Starting system"));
    for (int i = 0; i < dataSampler.size(); ++i) {
        systemDebug->log(QStringLiteral("Starting data sampler %1").arg(i));
        startOnThread(dataSampler[i]);
    }
    for (int i = 0; i < inst.size(); ++i) {
        systemDebug->log(QStringLiteral("Starting instrument %1").arg(i));
        startOnThread(inst[i]);
    }
}

template <class T>
void eventLoop::startOnThread(T *worker)
{
    workerThread.push_back(std::make_unique<QThread>());
    QThread *const thread = workerThread.back().get();
    worker->moveToThread(thread);
    connect(thread, &QThread::started, worker, &T::start);
    // A timer can be stopped on its own thread only, and somebody else destroys the worker.
    connect(thread, &QThread::finished, worker, [worker] {
        for (QTimer *running : worker->template findChildren<QTimer *>())
            running->stop();
    });
    startThread(thread, systemDebug);
}

bool eventLoop::finish(QDeadlineTimer deadline)
{
    netCtrl->quit();
    for (const auto &thread : workerThread)
        thread->quit();
    return netCtrl->wait(deadline)
        && std::all_of(workerThread.cbegin(), workerThread.cend(),
            [deadline](const auto &thread) { return thread->wait(deadline); });
}
