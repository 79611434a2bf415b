#ifndef WATCHDOG_H
#define WATCHDOG_H

#include <QObject>

class debugComponent;

/// Tells the service manager regularly that the calling thread's event loop runs; without that it restarts
/// the process (sd_watchdog_enabled(3), WatchdogSec= of the unit).
///
/// Made on the display thread, which carries the heating's decisions: the boards' own threads would go on
/// writing the last of them. Does nothing when nobody asks for it. Never waits; a message that cannot be sent
/// is logged.
class watchdog : public QObject
{
    Q_OBJECT

public:
    /// \a debug is not owned and must outlive the watchdog.
    explicit watchdog(debugComponent *debug, QObject *parent = nullptr);
    ~watchdog() override;

private:
    void report();

    debugComponent *m_debug;
    int m_socket = -1;
};

#endif
