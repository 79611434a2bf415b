#include "lib/communications/thingsboardRPC.h"

#include "tests/telemetry/thingsboardRig.h"

#include <QNetworkReply>
#include <QTemporaryFile>

#include <memory>

#include <unistd.h>

namespace {
/// What this process prints to standard output goes into a file while this lives.
class capturedOutput
{
public:
    capturedOutput()
        : m_standard(::dup(STDOUT_FILENO))
    {
        fflush(stdout);
        if (!m_file.open() || ::dup2(m_file.handle(), STDOUT_FILENO) == -1)
            qFatal("cannot capture the output");
    }
    ~capturedOutput()
    {
        fflush(stdout);
        ::dup2(m_standard, STDOUT_FILENO);
        ::close(m_standard);
    }
    QByteArray text() const
    {
        QFile printed(m_file.fileName());
        return printed.open(QIODevice::ReadOnly) ? printed.readAll() : QByteArray();
    }

private:
    QTemporaryFile m_file;
    int m_standard;
};
}

class tst_thingsboardRPC : public QObject
{
    Q_OBJECT
private slots:
    void printsEachCommandOnceAndAsksAgain()
    {
        thingsboardRig server({QStringLiteral("--token"), QStringLiteral("tok")});
        const capturedOutput output;
        const thingsboardRPC poll(nullptr, server.address(), QStringLiteral("tok"));
        const QByteArray command = "{\"method\":\"setBoost\",\"params\":{\"h\":\"100%s\"}}";
        QCOMPARE(server.tell("rpc " + command), QByteArray("ok"));
        QTRY_COMPARE(output.text(), "Network Answer - " + command + '\n');
        QCOMPARE(server.tell("rpc 2"), QByteArray("ok"));
        QTRY_COMPARE(output.text(), "Network Answer - " + command + "\nNetwork Answer - 2\n");
        QVERIFY(server.requests().startsWith("GET /api/v1/tok/rpc "));
    }

    void repeatsWithoutPauseAfterAnError_data()
    {
        QTest::addColumn<QString>("server");
        QTest::newRow("nobody listens") << QStringLiteral("http://127.0.0.1:1");
        QTest::newRow("by HTTPS when nothing else is said") << QStringLiteral("127.0.0.1:1");
        QTest::newRow("no address at all") << QStringLiteral("nonsense://:::");
    }
    void repeatsWithoutPauseAfterAnError()
    {
        QFETCH(QString, server);
        const capturedOutput output;
        const thingsboardRPC poll(nullptr, server, QStringLiteral("tok"));
        QTRY_VERIFY(output.text().count('\n') > 20);
        for (const QByteArray &line : output.text().trimmed().split('\n'))
            QVERIFY2(line.startsWith("Network reply error - "), line.constData());
    }

    void aRefusedTokenIsAnError()
    {
        thingsboardRig server({QStringLiteral("--token"), QStringLiteral("other")});
        const capturedOutput output;
        const thingsboardRPC poll(nullptr, server.address(), QStringLiteral("tok"));
        QTRY_VERIFY(output.text().startsWith("Network reply error - "));
    }

    void staysIdleWithoutAServer()
    {
        const capturedOutput output;
        const thingsboardRPC without;
        const thingsboardRPC withoutToken(nullptr, QStringLiteral("http://127.0.0.1:1"));
        QCoreApplication::processEvents();
        const QByteArray words = "No ThingsBoard server configured for remote procedure calls\n";
        QCOMPARE(output.text(), words + words);
        QCOMPARE(without.findChildren<QNetworkReply *>().size(), 0);
    }

    /// CALORIX_TEST_POLLS says how many commands come in a row.
    void manyPollsLeaveNothingBehind()
    {
        const int count = qMax(200, qEnvironmentVariableIntValue("CALORIX_TEST_POLLS"));
        thingsboardRig server;
        const capturedOutput output;
        const thingsboardRPC poll(nullptr, server.address(), QStringLiteral("tok"));
        for (int i = 0; i < count; ++i)
            server.tell("rpc " + QByteArray::number(i));
        QVERIFY(QTest::qWaitFor([&] { return output.text().count('\n') == count; }, 10000 + 40 * count));
        QVERIFY(poll.findChildren<QNetworkReply *>().size() <= 2); // the present one, and one on its way out
    }
};

QTEST_GUILESS_MAIN(tst_thingsboardRPC)
#include "tst_thingsboardRPC.moc"
