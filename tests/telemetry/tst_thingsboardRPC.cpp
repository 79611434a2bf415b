#include "lib/communications/thingsboardRPC.h"

#include "tests/support/printed.h"

#include <QNetworkReply>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>

namespace {
/// Gives each poll the next answer; when there is none left, the poll waits.
struct standIn : QTcpServer {
    QByteArrayList answers;
    QByteArrayList requests;

    standIn()
    {
        listen(QHostAddress::LocalHost);
        connect(this, &QTcpServer::newConnection, this, [this] {
            QTcpSocket *const asker = nextPendingConnection();
            connect(asker, &QTcpSocket::readyRead, this, [this, asker] {
                requests.append(asker->readAll().split('\r').first());
                asker->write(answers.value(requests.size() - 1));
            });
        });
    }
    QString address() const { return QStringLiteral("http://127.0.0.1:%1").arg(serverPort()); }
    static QByteArray answer(const QByteArray &status, const QByteArray &body)
    {
        return "HTTP/1.1 " + status + "\r\nContent-Length: " + QByteArray::number(body.size()) + "\r\n\r\n"
            + body;
    }
};
}

class tst_thingsboardRPC : public QObject
{
    Q_OBJECT
private slots:
    void printsEveryAnswerOnceAndAsksAgain()
    {
        const QByteArray command = "{\"method\":\"setBoost\",\"params\":{\"h\":\"100%s\"}}";
        standIn server;
        server.answers = {standIn::answer("200 OK", command), standIn::answer("401 Unauthorized", "")};
        for (int i = 0; i < 50; ++i)
            server.answers.append(standIn::answer("200 OK", "{}"));
        int replies = 0;
        const QByteArray output = printed([&] {
            const thingsboardRPC poll(nullptr, server.address(), QStringLiteral("tok"));
            static_cast<void>(
                QTest::qWaitFor([&] { return server.requests.size() > server.answers.size(); }));
            replies = poll.findChildren<QNetworkReply *>().size();
        });
        QCOMPARE(server.requests.size(), server.answers.size() + 1);
        QVERIFY(replies <= 2); // the present one, and one on its way out
        QVERIFY(output.startsWith("Network Answer - " + command + "\nNetwork reply error - "));
        QCOMPARE(output.count("\nNetwork Answer - {}\n"), 50);
        for (const QByteArray &request : qAsConst(server.requests))
            QCOMPARE(request, QByteArray("GET /api/v1/tok/rpc HTTP/1.1"));
    }
};

QTEST_GUILESS_MAIN(tst_thingsboardRPC)
#include "tst_thingsboardRPC.moc"
