#ifndef STREAMCLIENT_H
#define STREAMCLIENT_H

#include <QObject>
#include <QTcpSocket>
#include <QTimer>

/// Stays connected to a controller's port: connects again by itself, a second after the connection failed or
/// broke.
class streamClient : public QObject
{
    Q_OBJECT

public:
    streamClient(const QString &host, quint16 port, QObject *parent = nullptr);

    /// With \a once, the end of the first connection, or its failure, ends it all with lost().
    void start(bool once);
    bool hasBeenConnected() const { return m_connectedOnce; }

signals:
    /// A new connection; what came before it is of no use to what comes now.
    void connected();
    void received(const QByteArray &bytes);
    /// Not connected any more, or again not, and why.
    void lost(const QString &why);

private:
    void end();

    const QString m_host;
    const quint16 m_port;
    bool m_once = false;
    bool m_connectedOnce = false;
    QTcpSocket m_socket;
    QTimer m_retry;
};

#endif
