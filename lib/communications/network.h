#ifndef NETWORK_H
#define NETWORK_H

#include "lib/communications/netActionInfo.h"
#include "lib/communications/netActionPlaces.h"

#include "lib/support/childProcess.h"
#include "lib/support/hostSystem.h"

#include <QList>
#include <QThread>
#include <QTimer>
#include <QVariant>

#include <memory>

class debugComponent;
class netAction;

/// The queue of uploads: everything that leaves the controller as telemetry waits here until it is delivered.
///
/// Publishes "networkMessagesRemaining" (int, the number of queued uploads) after every request and every
/// cleanup. A default route is looked for every 5 s; while there is one, all that is queued is asked to run
/// every 30 s, newest first, and a new request at once. At most 8 uploads run at the same time. A failed
/// upload stays queued; nothing is ever dropped for age or number. Requests before the thread has started, or
/// before the first route check, only wait.
/// Threads: the queue's own thread only idles; its timers, processes and slots run on the thread that made
/// it.
class network : public QThread
{
    Q_OBJECT

public:
    /// \a host must outlive the queue.
    explicit network(QThread *parent = nullptr, const hostSystem &host = hostSystem::real());
    ~network() override;

    std::unique_ptr<debugComponent> debug; // before its children

signals:
    void resultAvailable(const QString &key, const QVariant &value);

public slots:
    void actionRequest(const netActionInfo &info);
    void threadStarted();
    void sendData();
    void cleanup();
    void checkNetworkAvailable();
    void processRouteResults();

private:
    enum class reachability { unknown, accessible, notAccessible };

    void repeat(QTimer &timer, int ms, void (network::*slot)());
    void routeCheckFailed(QProcess::ProcessError error);
    void setReachability(reachability found);
    int removeCompleted();
    void withdraw();
    void announceRemaining();

    const hostSystem &m_host;
    unsigned int actionIndex = 0; // of the next action; never used twice
    bool sendImmediate = false;
    std::unique_ptr<debugComponent> actionDebug;
    std::unique_ptr<debugComponent> cleanDebug;
    bool m_routeCheckFails = false; // it could not even be started
    reachability m_reachability = reachability::unknown;
    netActionPlaces m_places;
    QList<netAction *> actionList; // in order of arrival; children of this
    QTimer checkTimer{this};
    QTimer runActions{this};
    QTimer cleanActions{this};
    childProcess routeProcess;
};

#endif
