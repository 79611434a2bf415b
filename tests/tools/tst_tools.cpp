#include "lib/communications/debugComponent.h"
#include "lib/communications/networkDebugServer.h"

#include <QProcess>
#include <QRegularExpression>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>

namespace {
// Records written out by hand, their checksums computed by an independent CRC-16/ARC.
const QByteArray temperature = QByteArray::fromHex("abcd190000000100000074060000000000000000803540bacc");
const QByteArray isOn = QByteArray::fromHex("abcd13000000020000006f6e01000000019c60");
const QByteArray mode = QByteArray::fromHex("abcd19000000040000006d6f64650a000000612c226222ec70");
const QByteArray withoutValue = QByteArray::fromHex("abcd11000000010000007804000000b69d");

/// A tool that runs against a server of this test.
struct tool {
    QProcess process;
    QByteArray out;

    tool(const QString &name, const QStringList &arguments)
    {
        process.start(QStringLiteral(CALORIX_BIN_DIR "/") + name, arguments);
    }
    ~tool()
    {
        process.kill();
        process.waitForFinished();
    }
    const QByteArray &output() { return out += process.readAllStandardOutput(); }
    bool endsWell()
    {
        return QTest::qWaitFor([this] { return process.state() == QProcess::NotRunning; })
            && process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
    }
};

struct streamServer {
    QTcpServer server;
    QTcpSocket *client = nullptr;

    streamServer() { static_cast<void>(server.listen(QHostAddress::LocalHost)); }
    QString port() const { return QString::number(server.serverPort()); }
    bool accept()
    {
        return QTest::qWaitFor([this] { return (client = server.nextPendingConnection()) != nullptr; });
    }
};
}

class tst_tools : public QObject
{
    Q_OBJECT
private slots:
    void watchShowsRecordsOutOfABrokenStreamAndConnectsAgain()
    {
        streamServer stream;
        tool watch(QStringLiteral("calorix-watch"), {"--csv", "127.0.0.1", stream.port()});
        QVERIFY(stream.accept());
        stream.client->write(temperature.mid(5) + temperature.left(9)); // half of one, then half of one
        stream.client->flush();
        stream.client->write(QByteArray::fromHex("abcdffffff7f") + isOn
            + QByteArray::fromHex("abcd2800000000") + mode + withoutValue + temperature.left(20));
        QTRY_COMPARE(watch.output().count('\n'), 4);
        stream.client->disconnectFromHost();
        QVERIFY(stream.accept());
        stream.client->write(temperature); // the half record of before is forgotten
        QTRY_COMPARE(watch.output().count('\n'), 5);
        QString lines = QString::fromLatin1(watch.out);
        lines.remove(QRegularExpression(QStringLiteral("^[^,]*,"), QRegularExpression::MultilineOption));
        QCOMPARE(lines,
            QStringLiteral(
                "key,value,type\non,true,bool\nmode,\"a,\"\"b\"\"\",text\nx,-,-\nt,21.5,double\n"));
    }

    void logShowsTheTreeThenTheMessages()
    {
        networkDebugServer server;
        server.shutdown();
        server.setPort(0);
        server.listen();
        debugComponent root;
        debugComponent queue;
        debugComponent actions;
        root.configure(QStringLiteral("Heating Control System"), 0, -1);
        queue.configure(QStringLiteral("Network"), 20, -1);
        actions.configure(QStringLiteral("Actions"), 20, -1);
        queue.addChild(&actions);
        root.registerWithClient(&server);
        root.addChild(&queue);
        const QString port = QString::number(server.port());
        tool all(QStringLiteral("calorix-log"), {"127.0.0.1", port});
        tool some(
            QStringLiteral("calorix-log"), {"--under", "network", "--grep", "FAILED", "127.0.0.1", port});
        QTRY_VERIFY(all.output().contains("| ") && some.output().contains("| ")); // they have the tree
        for (debugComponent *each : {&root, &actions}) {
            each->log(QStringLiteral("two\nlines"));
            each->log(QStringLiteral("Action 1 failed"));
        }
        QTRY_COMPARE(all.output().count('\n'), 7);
        QTRY_COMPARE(some.output().count('\n'), 3);
        const QRegularExpression time(QStringLiteral("^\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\dZ "),
            QRegularExpression::MultilineOption);
        QCOMPARE(QString::fromLatin1(all.out).remove(time),
            QStringLiteral("| Heating Control System\n|   Network\n|     Actions\n"
                           "Heating Control System: two.lines\nHeating Control System: Action 1 failed\n"
                           "Actions: two.lines\nActions: Action 1 failed\n"));
        QCOMPARE(QString::fromLatin1(some.out).remove(time),
            QStringLiteral("| Network\n|   Actions\nActions: Action 1 failed\n"));
    }

    void logSkipsWhatIsNoMessage()
    {
        streamServer stream;
        tool log(QStringLiteral("calorix-log"), {"--once", "127.0.0.1", stream.port()});
        QVERIFY(stream.accept());
        // Seconds 0, text "ok", between noise, a data message and a text that claims to be 2 GiB long.
        const QByteArray message = QByteArray::fromHex("ff00000102030405060708090a0b0c0d0e0f"
                                                       "0000000000000000020000006f6b0000");
        QCOMPARE(message.size(), 34);
        stream.client->write(message.mid(7) + QByteArray::fromHex("ff02") + QByteArray(20, '\1')
            + message.left(26) + QByteArray::fromHex("ffffff7f") + message);
        stream.client->disconnectFromHost();
        QVERIFY(log.endsWell());
        QCOMPARE(log.output(), QByteArray("1970-01-01T00:00:00Z 0d0e0f: ok\n"));
    }
};

QTEST_GUILESS_MAIN(tst_tools)
#include "tst_tools.moc"
