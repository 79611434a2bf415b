#include "lib/communications/debugComponent.h"
#include "lib/communications/networkDebugServer.h"

#include <QProcess>
#include <QRegularExpression>
#include <QTcpServer>
#include <QTcpSocket>
#include <QtTest>

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
    QByteArray err;

    tool(const QString &name, const QStringList &arguments)
    {
        process.start(QStringLiteral(CALORIX_BIN_DIR "/") + name, arguments);
    }
    ~tool()
    {
        process.kill();
        process.waitForFinished();
    }
    const QByteArray &output()
    {
        out += process.readAllStandardOutput();
        err += process.readAllStandardError();
        return out;
    }
    int exitCode()
    {
        static_cast<void>(QTest::qWaitFor([this] { return process.state() == QProcess::NotRunning; }));
        output();
        return process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
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
    void refusesAWrongCommandLine_data()
    {
        QTest::addColumn<QString>("program");
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<int>("code");
        QTest::addColumn<QByteArray>("complaint");
        const QString watch = QStringLiteral("calorix-watch");
        const QString log = QStringLiteral("calorix-log");
        QTest::newRow("nothing") << watch << QStringList() << 2 << QByteArray("give a host and a port");
        QTest::newRow("no port") << watch << QStringList{"localhost"} << 2
                                 << QByteArray("give a host and a port");
        QTest::newRow("no such port")
            << watch << QStringList{"localhost", "65536"} << 2 << QByteArray("'65536' is no port");
        QTest::newRow("unknown option")
            << log << QStringList{"--all", "localhost"} << 2 << QByteArray("'all'");
        QTest::newRow("nobody there")
            << log << QStringList{"--once", "127.0.0.1", "1"} << 1 << QByteArray("Connection refused");
        QTest::newRow("help") << log << QStringList{"--help"} << 0 << QByteArray();
    }
    void refusesAWrongCommandLine()
    {
        QFETCH(QString, program);
        QFETCH(QStringList, arguments);
        QFETCH(QByteArray, complaint);
        tool run(program, arguments);
        QTEST(run.exitCode(), "code");
        QVERIFY2(run.err.contains(complaint), run.err.constData());
        QCOMPARE(run.out.isEmpty(), !complaint.isEmpty());
    }

    void watchShowsRecordsOutOfABrokenStream()
    {
        streamServer stream;
        tool watch(QStringLiteral("calorix-watch"), {"--csv", "127.0.0.1", stream.port()});
        QVERIFY(stream.accept());
        stream.client->write(
            temperature.mid(5) + temperature.left(9)); // in the middle of one, then half of one
        stream.client->flush();
        stream.client->write(QByteArray::fromHex("abcdffffff7f") + isOn
            + QByteArray::fromHex("abcd2800000000") + mode + withoutValue + temperature.left(20));
        QTRY_COMPARE(watch.output().count('\n'), 4);
        stream.client->write(temperature.mid(20));
        QTRY_COMPARE(watch.output().count('\n'), 5);
        QByteArrayList lines = watch.output().trimmed().split('\n');
        QCOMPARE(lines.takeFirst(), QByteArray("time,key,value,type"));
        for (QByteArray &line : lines)
            line.remove(0, line.indexOf(',') + 1); // the time
        QCOMPARE(
            lines, QByteArrayList({"on,true,bool", "mode,\"a,\"\"b\"\"\",text", "x,-,-", "t,21.5,double"}));
    }

    void watchConnectsAgain()
    {
        streamServer stream;
        tool watch(QStringLiteral("calorix-watch"), {"--follow", "127.0.0.1", stream.port()});
        QVERIFY(stream.accept());
        stream.client->write(isOn.left(10));
        stream.client->disconnectFromHost();
        QVERIFY(stream.accept());
        stream.client->write(temperature); // the half record of before is forgotten
        QTRY_COMPARE(watch.output().count('\n'), 1);
        QVERIFY2(watch.out.endsWith(" t = 21.5 (double)\n"), watch.out.constData());
        QTRY_VERIFY2(watch.err.contains("remote host closed"), watch.err.constData());
    }

    void watchPrintsItsTableAtTheEnd()
    {
        streamServer stream;
        tool watch(QStringLiteral("calorix-watch"), {"--once", "127.0.0.1", stream.port()});
        QVERIFY(stream.accept());
        stream.client->write(temperature + isOn + temperature);
        stream.client->disconnectFromHost();
        QCOMPARE(watch.exitCode(), 0);
        const QByteArrayList lines = watch.out.split('\n');
        QVERIFY(QRegularExpression("^KEY +VALUE +TYPE +AGE$").match(lines[0]).hasMatch());
        QVERIFY(QRegularExpression("^on +true +bool +\\d+ s$").match(lines[1]).hasMatch());
        QVERIFY(QRegularExpression("^t +21.5 +double +\\d+ s$").match(lines[2]).hasMatch());
        QVERIFY(lines[3].startsWith("2 of 2 keys, "));
    }

    void logShowsTheTreeThenTheMessages_data()
    {
        QTest::addColumn<QStringList>("filters");
        QTest::addColumn<QByteArrayList>("lines");
        const QByteArrayList tree{"| Heating Control System", "|   Network", "|     Actions", "|   Samplers"};
        QTest::newRow("everything") << QStringList()
                                    << tree
                + QByteArrayList{
                    "Heating Control System: start", "Actions: Action 1 failed", "Samplers: two.lines"};
        QTest::newRow("a subtree") << QStringList{"--under", "network"}
                                   << QByteArrayList{"| Network", "|   Actions", "Actions: Action 1 failed"};
        QTest::newRow("a text") << QStringList{"--grep", "FAILED"}
                                << tree + QByteArrayList{"Actions: Action 1 failed"};
    }
    void logShowsTheTreeThenTheMessages()
    {
        QFETCH(QStringList, filters);
        QFETCH(QByteArrayList, lines);
        networkDebugServer server;
        server.shutdown();
        server.setPort(0);
        server.listen();
        debugComponent root;
        debugComponent queue;
        debugComponent actions;
        debugComponent samplers;
        root.configure(QStringLiteral("Heating Control System"), 0, -1);
        queue.configure(QStringLiteral("Network"), 20, -1);
        actions.configure(QStringLiteral("Actions"), 20, -1);
        samplers.configure(QStringLiteral("Samplers"), 0, -1);
        queue.addChild(&actions);
        root.registerWithClient(&server);
        root.addChild(&queue);
        root.addChild(&samplers);

        tool log(QStringLiteral("calorix-log"),
            filters + QStringList{"127.0.0.1", QString::number(server.port())});
        QTRY_VERIFY(log.output().contains("| ")); // it is connected, and has the tree
        root.log(QStringLiteral("start"));
        actions.log(QStringLiteral("Action 1 failed"));
        samplers.log(QStringLiteral("two\nlines"));
        QTRY_COMPARE(log.output().count('\n'), lines.size());
        QByteArrayList shown = log.output().trimmed().split('\n');
        const QRegularExpression time(QStringLiteral("^\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\dZ "));
        for (QByteArray &line : shown)
            line = QString::fromLocal8Bit(line).remove(time).toLocal8Bit();
        QCOMPARE(shown, lines);
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
        QCOMPARE(log.exitCode(), 0);
        QCOMPARE(log.out, QByteArray("1970-01-01T00:00:00Z 0d0e0f: ok\n"));
    }
};

QTEST_GUILESS_MAIN(tst_tools)
#include "tst_tools.moc"
