#ifndef NETWORKDEBUGSERVER_H
#define NETWORKDEBUGSERVER_H

#include "lib/communications/debugClient.h"

#include <QList>

class QTcpServer;
class QTcpSocket;

/// Streams the byte forms of messages to any number of viewers on a TCP port; a new viewer first gets every
/// registration, so that it knows the whole component tree.
///
/// Threads: the sockets belong to the thread that made the server; messages of other threads are queued to
/// it.
class networkDebugServer : public debugClient
{
    Q_OBJECT

public:
    /// Listens at port 1234 at once. A port that is taken is not reported here; see isListening().
    explicit networkDebugServer(QObject *parent = nullptr);

    void setPort(int port) { m_port = port; }
    int port() const;
    bool isListening() const;
    void listen();
    /// Closes the server; viewers that are connected stay.
    void shutdown();

    void transmit(const QByteArray &bytes) override;

private slots:
    void connectClient();
    void disconnectClient();

private:
    void send(const QByteArray &bytes);

    QTcpServer *tcpServer;
    QList<QTcpSocket *> client;
    int m_port = 1234;
};

#endif
