#ifndef THINGSBOARDRPC_H
#define THINGSBOARDRPC_H

#include <QNetworkAccessManager>
#include <QNetworkRequest>
#include <QObject>
#include <QString>

class QNetworkReply;

/// Listens for commands that a ThingsBoard server has for this device: asks, prints the answer to standard
/// output, asks again. It does not act on them.
///
/// The server holds each request until it has a command. Kept: after an error the next request follows
/// without a pause. Thread: the one that makes it.
class thingsboardRPC : public QObject
{
    Q_OBJECT

public:
    /// \a server is a host, with or without a port, asked by HTTPS, or an address that names its own scheme;
    /// \a token is the device's access token. Without both it says so once and stays idle.
    explicit thingsboardRPC(
        QObject *parent = nullptr, const QString &server = QString(), const QString &token = QString());

    void startQuery();

private slots:
    void connectionComplete(QNetworkReply *reply);

private:
    QNetworkAccessManager m_connManager{this};
    QNetworkRequest m_request; // used again for every poll
};

#endif
