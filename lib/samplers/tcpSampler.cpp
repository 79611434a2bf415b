#include "lib/samplers/tcpSampler.h"

#include "lib/communications/componentTypes.h"
#include "lib/communications/debugComponent.h"
#include "lib/support/configKeys.h"
#include "lib/types/datastore.h"

#include <QTcpServer>
#include <QTcpSocket>

namespace {
constexpr int lastPort = 65535;
constexpr int acceptRetryMs = 1000; // Qt stops accepting for good when descriptors run out
// Whoever is on the network may connect; together they must not eat the memory that the heating needs.
constexpr int mostClients = 128;
constexpr qint64 unsentLimit = 2LL * 1024 * 1024; // bytes that may wait for one client
constexpr int kernelBufferSize = 64 * 1024;       // bytes, and what waits in the kernel behind them
}

tcpSampler::tcpSampler(datastore *store, QObject *parent)
    : sampler(store, parent)
{
    debug->configure(QStringLiteral("TCP Sampler"), componentTypes::tcpSampler);
}

void tcpSampler::configureSampler(const QDomElement &element)
{
    const std::vector<configKey> keys{
        {"port", into(tcpPort)},
        {"mode",
            [this](const QDomElement &key) {
                if (key.text().toLower() == QLatin1String("push"))
                    mode = push;
            }},
        {"allkeys",
            [this](const QDomElement &key) {
                if (key.text().toLower() == QLatin1String("true"))
                    allkeys = true;
            }},
    };
    readKeys(element, keys);
}

void tcpSampler::start()
{
    sampleTimer = new QTimer(this);
    if (mode == timer)
        sampleTimer->setInterval(timerInterval());
    if (connect(sampleTimer, &QTimer::timeout, this, &tcpSampler::takeSample))
        debug->log(QStringLiteral("New timer connection created successfully"));
    listen();
    if (mode == timer)
        sampleTimer->start();
}

void tcpSampler::listen()
{
    tcpServer = new QTcpServer(this);
    if (tcpPort < 0 || tcpPort > lastPort) {
        debug->log(QStringLiteral("No usable port configured, not listening"));
        return;
    }
    if (!tcpServer->listen(QHostAddress::Any, quint16(tcpPort)))
        return;
    debug->log(QStringLiteral("TCP Sample Server now listening on port %1").arg(serverPort()));
    if (connect(tcpServer, &QTcpServer::newConnection, this, &tcpSampler::incomingConnection))
        debug->log(QStringLiteral("New connection path created successfully"));
    connect(tcpServer, &QTcpServer::acceptError, this, &tcpSampler::acceptLater);
}

void tcpSampler::acceptLater(QAbstractSocket::SocketError error)
{
    debug->log(error);
    QTimer::singleShot(acceptRetryMs, tcpServer, &QTcpServer::resumeAccepting);
}

int tcpSampler::serverPort() const
{
    return tcpServer ? tcpServer->serverPort() : 0;
}

void tcpSampler::incomingConnection()
{
    QTcpSocket *const client = tcpServer->nextPendingConnection();
    if (!client)
        return;
    if (tcpClient.size() >= mostClients) {
        debug->log(QStringLiteral("Too many clients, refused"));
        client->abort();
        client->deleteLater();
        return;
    }
    tcpClient.append(client);
    // Only while somebody listens: without clients, no update of the store wakes this thread.
    if (mode == push)
        connect(store, &datastore::dataUpdated, this, &tcpSampler::pushData, Qt::UniqueConnection);
    connect(client, &QTcpSocket::disconnected, this, [this, client] { forget(client); });
    connect(client, &QTcpSocket::readyRead, client, [client] { client->skip(client->bytesAvailable()); });
    // A peer that vanished without a word is found out even when there is nothing to send.
    client->setSocketOption(QAbstractSocket::KeepAliveOption, 1);
    // The kernel would let it grow to megabytes for each client that does not read.
    client->setSocketOption(QAbstractSocket::SendBufferSizeSocketOption, kernelBufferSize);
    debug->log(QStringLiteral("Client Connected"));
    takeSample();
}

void tcpSampler::forget(QTcpSocket *client)
{
    tcpClient.removeOne(client);
    if (tcpClient.isEmpty())
        disconnect(store, &datastore::dataUpdated, this, &tcpSampler::pushData);
    client->deleteLater();
}

void tcpSampler::takeSample()
{
    const QStringList keys = allkeys ? store->getKeys() : subscribeList;
    for (const QString &key : keys) {
        if (const std::optional<datastoreElementType> element = store->copyElement(key))
            pushData(*element);
    }
}

void tcpSampler::pushData(const datastoreElementType &element)
{
    if (tcpClient.isEmpty())
        return;
    const QByteArray record = element.serialise();
    const QList<QTcpSocket *> clients = tcpClient; // dropping one changes the list
    for (QTcpSocket *client : clients) {
        if (client->bytesToWrite() > unsentLimit) {
            debug->log(QStringLiteral("Client does not read, dropped"));
            client->abort();
            continue;
        }
        // Bytes and length rather than the array: small records then share a buffer and go out together when
        // the event loop turns. Never flushed, that would be a system call per record.
        client->write(record.constData(), record.size());
    }
}
