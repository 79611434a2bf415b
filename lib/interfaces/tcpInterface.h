#ifndef TCPINTERFACE_H
#define TCPINTERFACE_H

#include "lib/interfaces/interface.h"

#include <QAbstractSocket>

class QTcpSocket;

/// A TCP client.
///
/// open() blocks its thread for up to 5 s per attempt; a failed attempt is repeated 5 s later, without end.
/// It publishes neither "commsState" nor "commsFail".
/// Kept: a connection that drops is not noticed; the next open() connects again with the same socket.
class tcpInterface : public interface
{
public:
    enum ifMode { unknown = 0, client = 1, server = 2 };

    explicit tcpInterface(const hostSystem &host = hostSystem::real());
    ~tcpInterface() override;

    /// Keys: mode ("client" or "server", which is not provided), ip, port.
    void configureInterface(const QDomElement &element) override;
    int handle() override;
    bool canReturnHandle() override;
    /// True when connected, and at once while the socket is in any other state than unconnected.
    bool open(QIODevice::OpenMode mode) override;
    using interface::open;

    /// One attempt to open, 5 s from now; replaces the one that is due.
    void startReconnectTimer();
    // Kept: neither is connected to the socket, so that a drop is not noticed.
    void socketError(QAbstractSocket::SocketError error);
    void socketDisconnected();

protected:
    ifMode tcpMode = unknown;
    int port = 0;
    QString IP;
    int connectTimeout = 5000;              // ms
    int reconnectTimeout = 5000;            // ms
    std::unique_ptr<QTimer> reconnectTimer; // not the base's, whose delay differs; null until first needed
    std::unique_ptr<QTcpSocket> skt;        // null until the first open and after a failed one

private:
    void createSocket();
    void dropSocket();
    void readMode(const QDomElement &key);
    bool connectToServer();
};

#endif
