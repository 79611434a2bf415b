#ifndef TCPSAMPLER_H
#define TCPSAMPLER_H

#include "lib/samplers/sampler.h"

#include "lib/types/datastoreElementType.h"

#include <QAbstractSocket>
#include <QList>

class QTcpServer;
class QTcpSocket;

/// Serves store elements to any number of TCP clients as a stream of serialised elements
/// (docs/protocols/element.md), one record after another.
///
/// Timer mode sends a snapshot of the configured keys (or of all) every period; push mode forwards every
/// update of every key. Every new connection makes all clients get a snapshot. What clients send is thrown
/// away; a client that does not read is dropped when 2 MiB wait for it, and a 129th client is refused.
/// Trigger variables have no effect. Thread: everything from start() on runs on the sampler's own thread.
class tcpSampler : public sampler
{
    Q_OBJECT

public:
    enum sampleMode { timer = 0, push = 1 };

    explicit tcpSampler(datastore *store, QObject *parent = nullptr);

    /// Listens on all addresses. A failed listen is not reported; without a port, it is not tried.
    void start() override;
    void configureSampler(const QDomElement &element) override;
    /// The port listened at, 0 while there is none.
    int serverPort() const;

public slots:
    void takeSample();
    void incomingConnection();
    void pushData(const datastoreElementType &element);

private:
    void listen();
    void acceptLater(QAbstractSocket::SocketError error);
    void forget(QTcpSocket *client);

    sampleMode mode = timer;
    int tcpPort = -1; // -1 = not configured; 0 = any free one
    bool allkeys = false;
    QTcpServer *tcpServer = nullptr; // child of this, made on the sampler's thread
    QList<QTcpSocket *> tcpClient;   // in order of connecting; children of the server
};

#endif
