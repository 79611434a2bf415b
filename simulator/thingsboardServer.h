#ifndef THINGSBOARDSERVER_H
#define THINGSBOARDSERVER_H

#include <QByteArray>
#include <QFile>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QTcpServer>

class QTcpSocket;
class thingsboardConnection;

/// Stands in for a ThingsBoard server on 127.0.0.1: takes telemetry as strictly as the real one, hands out
/// commands to a device that polls for them, and misbehaves on demand.
///
/// Prints one line per request. Its control port takes lines:
///   answer WHAT [COUNT]   200, another status code, "hang" (no answer) or "close" (hangs up), for the next
///   COUNT
///                         requests of telemetry or for all of them; 200 means as they deserve
///   rpc JSON              a command for the polling device
///   release               hangs up on everybody who was left without an answer
///   count                 says how many messages were accepted
class thingsboardServer : public QObject
{
    Q_OBJECT

public:
    /// Only \a token is let in; any token when it is empty.
    explicit thingsboardServer(const QString &token);

    /// Ports of 0 stand for any free one.
    bool listen(quint16 port, quint16 controlPort);
    /// Every accepted body is appended to this file, a line each.
    bool keepBodiesIn(const QString &fileName);
    QString errorString() const;
    int port() const { return m_server.serverPort(); }
    int controlPort() const { return m_control.serverPort(); }

private:
    void accept();
    void acceptControl();
    void serve(thingsboardConnection *asker);
    void takeTelemetry(thingsboardConnection *asker);
    int judge(const QByteArray &body);
    void handOutCommands();
    QByteArray obey(const QByteArray &line);
    QByteArray setAnswer(const QList<QByteArray> &words);
    QByteArray release();
    QByteArray nextAnswer();
    static void report(const thingsboardConnection &asker, const QByteArray &answer);

    const QByteArray m_token;
    QTcpServer m_server;
    QTcpServer m_control;
    QFile m_bodies;
    int m_accepted = 0;
    QByteArray m_answer = "200";
    int m_answersLeft = -1; // -1: no end
    QList<QByteArray> m_commands;
    QList<QPointer<thingsboardConnection>> m_polling;
    QList<QPointer<thingsboardConnection>> m_hanging;
};

#endif
