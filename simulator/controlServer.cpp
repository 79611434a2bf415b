#include "simulator/controlServer.h"

#include "simulator/commands.h"
#include "simulator/eventLog.h"

#include <QLocalSocket>

controlServer::controlServer(commands &target, eventLog &log)
    : m_target(target)
    , m_log(log)
{
    connect(&m_server, &QLocalServer::newConnection, this, &controlServer::accept);
    connect(&log, &eventLog::added, this, &controlServer::pass);
}

bool controlServer::listen(const QString &path)
{
    QLocalServer::removeServer(path);
    return m_server.listen(path);
}

void controlServer::accept()
{
    while (QLocalSocket *client = m_server.nextPendingConnection()) {
        m_clients.insert(client, following::nothing);
        connect(client, &QLocalSocket::readyRead, this, [this, client] { read(client); });
        connect(client, &QLocalSocket::disconnected, this, [this, client] {
            setFollowing(client, following::nothing);
            m_clients.remove(client);
            client->deleteLater();
        });
    }
}

void controlServer::read(QLocalSocket *client)
{
    while (client->canReadLine()) {
        const QByteArray line = client->readLine().trimmed();
        if (!line.isEmpty())
            client->write(answer(client, line) + '\n');
    }
}

QByteArray controlServer::answer(QLocalSocket *client, const QByteArray &line)
{
    static const QHash<QByteArray, following> words{{"follow off", following::nothing},
        {"follow events", following::events}, {"follow all", following::everything}};
    const auto follow = words.constFind(line.simplified());
    if (follow == words.constEnd())
        return m_target.run(line);
    setFollowing(client, *follow);
    return "ok";
}

void controlServer::setFollowing(QLocalSocket *client, following what)
{
    following &before = m_clients[client];
    m_log.transferReaders += int(what == following::everything) - int(before == following::everything);
    before = what;
}

void controlServer::pass(const QByteArray &line, bool isTransfer)
{
    for (auto client = m_clients.constBegin(); client != m_clients.constEnd(); ++client) {
        if (*client == following::everything || (*client == following::events && !isTransfer))
            client.key()->write("> " + line);
    }
}
