#include "lib/communications/thingsboardRPC.h"

#include <QNetworkReply>
#include <QUrl>

#include <cstdio>

namespace {
QUrl pollAddress(const QString &server, const QString &token)
{
    const QString scheme = server.contains(QLatin1String("://")) ? QString() : QStringLiteral("https://");
    return QUrl(
        scheme + server + QStringLiteral("/api/v1/") + token + QStringLiteral("/rpc"), QUrl::TolerantMode);
}

void print(const char *what, const QByteArray &text)
{
    std::printf("%s - %s\n", what, text.constData());
    std::fflush(stdout); // a journal is not a terminal
}
}

thingsboardRPC::thingsboardRPC(QObject *parent, const QString &server, const QString &token)
    : QObject(parent)
{
    if (server.isEmpty() || token.isEmpty()) {
        std::puts("No ThingsBoard server configured for remote procedure calls");
        std::fflush(stdout);
        return;
    }
    m_request.setUrl(pollAddress(server, token));
    connect(&m_connManager, &QNetworkAccessManager::finished, this, &thingsboardRPC::connectionComplete);
    startQuery();
}

void thingsboardRPC::startQuery()
{
    m_connManager.get(m_request);
}

void thingsboardRPC::connectionComplete(QNetworkReply *reply)
{
    reply->deleteLater();
    if (reply->error() != QNetworkReply::NoError)
        print("Network reply error", reply->errorString().toLatin1());
    else
        print("Network Answer", QString::fromUtf8(reply->readAll()).toLatin1());
    startQuery();
}
