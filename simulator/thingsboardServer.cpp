#include "simulator/thingsboardServer.h"

#include "simulator/thingsboardConnection.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QTcpSocket>

#include <cmath>
#include <cstdio>

namespace {
constexpr int accepted = 200;
constexpr int badRequest = 400;
constexpr int unauthorised = 401;
constexpr int notFound = 404;

/// What the real server takes: a JSON object of a time in whole milliseconds and at least one plain value.
bool isTelemetry(const QByteArray &body)
{
    const QJsonObject message = QJsonDocument::fromJson(body).object();
    const QJsonValue ts = message.value(QLatin1String("ts"));
    const QJsonObject values = message.value(QLatin1String("values")).toObject();
    return ts.isDouble() && ts.toDouble() > 0 && std::floor(ts.toDouble()) == ts.toDouble()
        && !values.isEmpty();
}
}

thingsboardServer::thingsboardServer(const QString &token)
    : m_token(token.toUtf8())
{
    connect(&m_server, &QTcpServer::newConnection, this, &thingsboardServer::accept);
    connect(&m_control, &QTcpServer::newConnection, this, &thingsboardServer::acceptControl);
}

bool thingsboardServer::listen(quint16 port, quint16 controlPort)
{
    return m_server.listen(QHostAddress::LocalHost, port)
        && m_control.listen(QHostAddress::LocalHost, controlPort);
}

bool thingsboardServer::keepBodiesIn(const QString &fileName)
{
    m_bodies.setFileName(fileName);
    return m_bodies.open(QIODevice::WriteOnly | QIODevice::Append);
}

QString thingsboardServer::errorString() const
{
    return m_server.isListening() ? m_control.errorString() : m_server.errorString();
}

void thingsboardServer::accept()
{
    while (QTcpSocket *socket = m_server.nextPendingConnection()) {
        auto *const asker = new thingsboardConnection(socket, this);
        connect(asker, &thingsboardConnection::requested, this, [this, asker] { serve(asker); });
    }
}

void thingsboardServer::acceptControl()
{
    while (QTcpSocket *socket = m_control.nextPendingConnection()) {
        connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
        connect(socket, &QTcpSocket::readyRead, this, [this, socket] {
            while (socket->canReadLine())
                socket->write(obey(socket->readLine().trimmed()) + '\n');
        });
    }
}

void thingsboardServer::serve(thingsboardConnection *asker)
{
    const QList<QByteArray> parts = asker->path.split('/'); // "", "api", "v1", token, what
    const QByteArray what = parts.size() == 5 && asker->path.startsWith("/api/v1/") ? parts[4] : QByteArray();
    const bool known
        = (what == "telemetry" && asker->method == "POST") || (what == "rpc" && asker->method == "GET");
    if (!known || (!m_token.isEmpty() && parts[3] != m_token)) {
        const int code = known ? unauthorised : notFound;
        report(*asker, QByteArray::number(code));
        asker->answer(code);
    } else if (what == "telemetry") {
        takeTelemetry(asker);
    } else {
        m_polling.append(asker);
        handOutCommands();
    }
}

void thingsboardServer::takeTelemetry(thingsboardConnection *asker)
{
    const QByteArray wanted = nextAnswer();
    if (wanted == "hang" || wanted == "close") {
        report(*asker, wanted);
        if (wanted == "hang")
            m_hanging.append(asker);
        else
            asker->close();
        return;
    }
    const int code = wanted.toInt() == accepted ? judge(asker->body) : wanted.toInt();
    report(*asker, QByteArray::number(code));
    asker->answer(code);
}

int thingsboardServer::judge(const QByteArray &body)
{
    if (!isTelemetry(body))
        return badRequest;
    ++m_accepted;
    if (m_bodies.isOpen()) {
        m_bodies.write(body + '\n');
        m_bodies.flush();
    }
    return accepted;
}

void thingsboardServer::handOutCommands()
{
    m_polling.removeAll(nullptr);
    while (!m_commands.isEmpty() && !m_polling.isEmpty()) {
        thingsboardConnection *const asker = m_polling.takeFirst();
        report(*asker, QByteArray::number(accepted));
        asker->answer(accepted, m_commands.takeFirst());
    }
}

QByteArray thingsboardServer::nextAnswer()
{
    if (m_answersLeft == 0) {
        m_answer = QByteArray::number(accepted);
        m_answersLeft = -1;
    }
    if (m_answersLeft > 0)
        --m_answersLeft;
    return m_answer;
}

void thingsboardServer::report(const thingsboardConnection &asker, const QByteArray &answer)
{
    std::printf("%s %s %i bytes: %s\n", asker.method.constData(), asker.path.constData(), asker.body.size(),
        answer.constData());
    std::fflush(stdout);
}

QByteArray thingsboardServer::obey(const QByteArray &line)
{
    const QList<QByteArray> words = line.simplified().split(' ');
    if (words[0] == "answer")
        return setAnswer(words);
    if (words[0] == "release")
        return release();
    if (words[0] == "count")
        return QByteArray::number(m_accepted);
    if (words[0] == "rpc") {
        m_commands.append(line.mid(4));
        handOutCommands();
        return "ok";
    }
    return "error: answer WHAT [COUNT], rpc JSON, release or count";
}

QByteArray thingsboardServer::setAnswer(const QList<QByteArray> &words)
{
    const QByteArray what = words.value(1);
    bool isNumber = true;
    const int count = words.size() > 2 ? words[2].toInt(&isNumber) : -1;
    const int code = what.toInt();
    const bool known = what == "hang" || what == "close" || (code >= accepted && code <= 599);
    if (!known || !isNumber || words.size() > 3)
        return "error: answer 200-599|hang|close [COUNT]";
    m_answer = what;
    m_answersLeft = count;
    return "ok";
}

QByteArray thingsboardServer::release()
{
    const QList<QPointer<thingsboardConnection>> hanging = m_hanging;
    m_hanging.clear();
    for (const QPointer<thingsboardConnection> &each : hanging) {
        if (each)
            each->close();
    }
    return "ok";
}
