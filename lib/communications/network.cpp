#include "lib/communications/network.h"

#include "lib/communications/componentTypes.h"
#include "lib/communications/debugComponent.h"
#include "lib/communications/netAction.h"

#include <QCoreApplication>

#include <utility>

namespace {
constexpr int shownLevel = 0;
constexpr int routeLevel = 4;
constexpr int checkIntervalMs = 5000;
constexpr int sendIntervalMs = 30000;
constexpr int cleanIntervalMs = 60000;

std::unique_ptr<debugComponent> makeComponent(const QString &name)
{
    auto component = std::make_unique<debugComponent>();
    component->configure(name, componentTypes::network);
    return component;
}
}

network::network(QThread *parent, const hostSystem &host)
    : QThread(parent)
    , debug(makeComponent(QStringLiteral("Network")))
    , m_host(host)
    , actionDebug(makeComponent(QStringLiteral("Actions")))
    , cleanDebug(makeComponent(QStringLiteral("Cleanup")))
{
    debug->addChild(actionDebug.get());
    debug->addChild(cleanDebug.get());
    connect(this, &QThread::started, this, &network::threadStarted);
}

network::~network()
{
    quit();
    wait();
    routeProcess.disconnect(this);
    if (routeProcess.state() != QProcess::NotRunning) {
        routeProcess.kill();
        routeProcess.waitForFinished();
    }
    withdraw(); // while the places and the log are still there
}

/// Ends every upload and takes its file along; those too that are only waiting to be deleted.
void network::withdraw()
{
    actionList.clear();
    qDeleteAll(findChildren<netAction *>());
}

void network::threadStarted()
{
    connect(&routeProcess, static_cast<void (QProcess::*)(int, QProcess::ExitStatus)>(&QProcess::finished),
        this, &network::processRouteResults);
    connect(&routeProcess, &QProcess::errorOccurred, this, &network::routeCheckFailed);
    repeat(checkTimer, checkIntervalMs, &network::checkNetworkAvailable);
    repeat(runActions, sendIntervalMs, &network::sendData);
    repeat(cleanActions, cleanIntervalMs, &network::cleanup);
    // The queue is not kept over a restart, and the program may end without destroying it.
    connect(QCoreApplication::instance(), &QCoreApplication::aboutToQuit, this, &network::withdraw);
    sendImmediate = true;
}

void network::repeat(QTimer &timer, int ms, void (network::*slot)())
{
    timer.start(ms);
    connect(&timer, &QTimer::timeout, this, slot);
}

void network::actionRequest(const netActionInfo &info)
{
    auto *const action = new netAction(info, actionIndex++, actionDebug.get(), this, &m_places, m_host);
    actionList.append(action);
    connect(action, &netAction::finished, this, &network::cleanup);
    if (sendImmediate && m_reachability == reachability::accessible)
        action->doAction();
    announceRemaining();
}

void network::sendData()
{
    if (m_reachability != reachability::accessible) {
        actionDebug->log(QStringLiteral("Network not accessible"), debugComponent::detailLevel);
        return;
    }
    for (int i = actionList.size() - 1; i >= 0; --i)
        actionList[i]->doAction();
}

void network::cleanup()
{
    const int removed = removeCompleted();
    cleanDebug->log(QStringLiteral("Network action cleanup: Completed: %1 Remaining %2")
                        .arg(removed)
                        .arg(actionList.size()),
        debugComponent::detailLevel);
    announceRemaining();
}

int network::removeCompleted()
{
    int removed = 0;
    for (int i = 0; i < actionList.size();) {
        netAction *const action = actionList[i];
        if (!action->completedOK()) {
            ++i;
            continue;
        }
        cleanDebug->log(
            QStringLiteral("Network action cleanup: Removing action %1 of %2").arg(i).arg(actionList.size()),
            debugComponent::detailLevel);
        action->disconnect(this);
        actionList.removeAt(i);
        action->deleteLater(); // it may be the one whose signal brought us here
        ++removed;
    }
    return removed;
}

void network::announceRemaining()
{
    emit resultAvailable(QStringLiteral("networkMessagesRemaining"), actionList.size());
}

void network::checkNetworkAvailable()
{
    if (routeProcess.state() != QProcess::NotRunning)
        return;
    debug->log(QStringLiteral("Checking available routes"), routeLevel);
    routeProcess.start(QStringLiteral("ip"), {QStringLiteral("route")}, QIODevice::ReadWrite);
}

/// Nothing is uploaded while this lasts; it is said once.
void network::routeCheckFailed(QProcess::ProcessError error)
{
    if (error != QProcess::FailedToStart)
        return; // what else fails ends the process, which reports that itself
    debug->log(
        QStringLiteral("\"ip route\" command could not be started: %1").arg(routeProcess.errorString()),
        std::exchange(m_routeCheckFails, true) ? routeLevel : shownLevel);
}

void network::processRouteResults()
{
    m_routeCheckFails = false;
    if (routeProcess.exitCode() != 0) {
        debug->log(QStringLiteral("\"ip route\" command finished with code %1").arg(routeProcess.exitCode()),
            routeLevel);
        return;
    }
    if (routeProcess.readAllStandardOutput().contains("default")) {
        debug->log(QStringLiteral("Default route found - network is accessible"), routeLevel);
        setReachability(reachability::accessible);
    } else {
        debug->log(QStringLiteral("No default route found - no internet access"), routeLevel);
        setReachability(reachability::notAccessible);
    }
}

void network::setReachability(reachability found)
{
    m_reachability = found;
    if (found != reachability::accessible)
        m_places.sendAllHome(); // the send tick asks them again when there is a route
}
