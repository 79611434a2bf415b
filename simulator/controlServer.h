#ifndef CONTROLSERVER_H
#define CONTROLSERVER_H

#include <QHash>
#include <QLocalServer>
#include <QObject>

class commands;
class eventLog;

/// The simulator's control socket: every line is a command, every command gets one answer. The words "follow
/// events" and "follow all" make the log arrive too, each of its lines after a "> "; "follow off" ends that.
class controlServer : public QObject
{
    Q_OBJECT

public:
    /// Both must outlive the server.
    controlServer(commands &target, eventLog &log);

    bool listen(const QString &path);
    QString errorString() const { return m_server.errorString(); }

private:
    enum class following { nothing, events, everything };

    void accept();
    void read(QLocalSocket *client);
    QByteArray answer(QLocalSocket *client, const QByteArray &line);
    void setFollowing(QLocalSocket *client, following what);
    void pass(const QByteArray &line, bool isTransfer);

    commands &m_target;
    eventLog &m_log;
    QHash<QLocalSocket *, following> m_clients; // outlives the server, whose end disconnects them
    QLocalServer m_server;
};

#endif
