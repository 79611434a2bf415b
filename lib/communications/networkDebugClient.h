#ifndef NETWORKDEBUGCLIENT_H
#define NETWORKDEBUGCLIENT_H

#include "lib/communications/debugClient.h"

class QTcpSocket;

/// Sends the byte forms of messages to one viewer, which listens at port 4567 of the debug host.
///
/// Threads: the socket belongs to the thread that called attach(); messages of other threads are queued to
/// it.
class networkDebugClient : public debugClient
{
    Q_OBJECT

public:
    explicit networkDebugClient(const QString &host = QStringLiteral("127.0.0.1"), QObject *parent = nullptr);

    void setPort(int newPort) { port = newPort; }
    /// Connects; what is transmitted while the host cannot be reached is lost.
    void attach() override;
    void transmit(const QByteArray &bytes) override;

private:
    void send(const QByteArray &bytes);

    QString m_host;
    QTcpSocket *connection = nullptr;
    int port = 4567;
};

#endif
