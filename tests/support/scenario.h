#ifndef SCENARIO_H
#define SCENARIO_H

#include "tests/support/lineLink.h"
#include "tests/support/publishedValues.h"

#include <QDateTime>
#include <QProcess>
#include <QTemporaryDir>

#include <functional>

/// How often the parts of the example installation act, in ms.
struct installationPace {
    int boards = 50;
    int logic = 50;
    int startup = 1000;
    int shutdown = 1500;
    int sensors = 200;
};

/// One run of the real, unmodified controller on simulated devices, looked at from outside only: relays,
/// files, log lines, published values, its window.
///
/// Everything lies in a private folder and ends with the scenario. Test's main thread only.
class scenario
{
public:
    /// What a busy machine may take for anything; only a failure takes so long.
    static constexpr int patienceMs = 30000;
    /// A change of a relay, seconds on the simulator's clock.
    struct relayChange {
        double at;
        QByteArray relay; // "pump", "boiler", "mid" or "full"
        bool on;
    };

    scenario();
    ~scenario();

    QString path(const QString &name) const { return m_folder.filePath(name); }
    void write(const QString &name, const QByteArray &content) const;

    /// A port that nobody listens at and that nobody gets by chance; another one for every test process.
    static quint16 freePort();
    /// config.xml: the elements inside the root, and a TCP sampler that shows what is published.
    void configure(const QByteArray &elements);
    /// Three switch boards, control and valve logic as in a real house.
    static QByteArray installation(const installationPace &pace = {});
    /// The rest of its devices: the BME280 on the first bus, and the controller board itself.
    static QByteArray furnishings(int period);
    /// A control file that is on all day, or never.
    static QByteArray programme(bool allDay);
    /// "heatTimer.xml" and "waterTimer.xml".
    void setTimers(bool heating, bool water) const;

    /// Sets the wall clock that the controller sees, and only that clock. Before start() it arms the control
    /// of the clock, later it makes a step; either way the clock goes on from there.
    void setWallClock(const QDateTime &instant);
    void setVariable(const QString &name, const QString &value) { m_environment.insert(name, value); }

    /// \a options for the simulator.
    bool startDevices(const QStringList &options = {});
    /// Starts it and waits for its window; \a arguments after "-c FOLDER/".
    bool startController(const QStringList &arguments = {});
    /// Both, and the stream of published values.
    bool start();

    /// Sends a command to the simulator; fails the test when it is refused.
    QByteArray tell(const QByteArray &command);
    /// Sends a command to the controller's window.
    QByteArray puppet(const QByteArray &command);

    static bool waitFor(const std::function<bool()> &condition, int timeoutMs = patienceMs);
    bool waitForLog(const QByteArray &text, int timeoutMs = patienceMs);
    bool waitForRelays(const QByteArray &state, int timeoutMs = patienceMs);

    /// What the controller printed, without colours.
    QByteArray log();
    QList<relayChange> relayChanges();
    const QList<QByteArray> &events() { return m_simulator.events(); }
    bool isRunning() const { return m_controller.state() == QProcess::Running; }

    /// Closes the window and waits for the end. Empty after a clean run; else the exit code when it is not 0,
    /// or the crash, and the lines in which Qt or a sanitizer complained.
    QByteArray leave();

    publishedValues values;

private:
    QProcessEnvironment controllerEnvironment() const;
    QByteArray complaints();

    QTemporaryDir m_folder;
    QProcessEnvironment m_environment = QProcessEnvironment::systemEnvironment();
    QProcess m_devices;
    QProcess m_controller;
    lineLink m_simulator;
    lineLink m_puppet;
    QByteArray m_log;
    quint16 m_port = 0;
};

#endif
