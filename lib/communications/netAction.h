#ifndef NETACTION_H
#define NETACTION_H

#include "lib/communications/netActionInfo.h"

#include "lib/support/childProcess.h"
#include "lib/support/hostSystem.h"

#include <QDateTime>
#include <QObject>
#include <QTimer>

class debugComponent;
class netActionPlaces;

/// One queued upload: writes its body to /tmp/data<index>.json and runs `curl` on it, again and again when
/// asked, until curl ends with exit code 0; then `rm` takes the file away and finished() is emitted.
///
/// The file is the owner's alone (mode 0600) and always a new one: what already bears its name, a leftover, a
/// link, somebody else's file, is removed and never written to; where it cannot be removed nothing is sent.
/// Only the destructor waits for processes: for those that it had to kill, up to a second each.
/// Thread: the queue's (display) thread.
class netAction : public QObject
{
    Q_OBJECT

public:
    /// \a debug is not owned. Without \a places the upload starts as soon as it is asked for. Both and \a
    /// host must outlive the action.
    netAction(const netActionInfo &info, unsigned int index, debugComponent *debug, QObject *parent,
        netActionPlaces *places = nullptr, const hostSystem &host = hostSystem::real());
    /// Ends what runs, and takes the file along.
    ~netAction() override;

    bool isRunning() const { return upload.state() != QProcess::NotRunning; }
    /// Nothing is left to do: the upload was accepted by curl, or its type is unknown.
    bool completedOK() const { return unknownType || m_completeOK; }

    /// Asks the action to run: starts it, leaves it alone while it runs, and kills it to be started anew when
    /// it has been running for more than 180 seconds.
    void doAction();
    /// Writes the file and starts curl; the place must have been taken. For netActionPlaces.
    void startUpload();

signals:
    /// completedOK() has become true by an upload. The receiver may delete the action later, not at once.
    void finished();

private slots:
    void actionFinished();

private:
    void handleRunning();
    void requestStart();
    bool writeBody();
    void trim(QProcess::ProcessChannel output);
    void processFailed(QProcess::ProcessError error);
    void removeFile();
    void fileRemoved();
    void leavePlace();
    QString fileName() const;

    const hostSystem &m_host;
    netActionPlaces *m_places;
    bool m_completeOK = false;
    childProcess upload;
    const unsigned int index;
    const netActionInfo info;
    debugComponent *debug;
    QDateTime started; // UTC; the latest start attempt
    bool unknownType = false;
    bool m_startAgain = false; // killed, to be started anew once it has ended
    bool m_holdsPlace = false;
    bool m_fileIsThere = false;
    bool m_delivered = false; // m_completeOK follows when the file is gone
    childProcess m_remove;
    QTimer m_removeLimit{this};
};

#endif
