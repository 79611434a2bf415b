#include "lib/communications/debugComponent.h"
#include "lib/communications/fileDebugClient.h"
#include "lib/communications/networkDebugClient.h"
#include "lib/communications/networkDebugServer.h"
#include "lib/communications/terminalDebugClient.h"

#include "tests/support/fakeHost.h"
#include "tests/support/printed.h"

#include <QDir>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>

#include <thread>

namespace {
const QString uuid = QStringLiteral("00010203-0405-0607-0809-0a0b0c0d0e0f");

debugMessage message(quint32 level, const QString &text = QStringLiteral("100 %s"))
{
    debugMessage m;
    m.level = level;
    m.componentName = QStringLiteral("Data Store");
    m.UUID.fromString(uuid);
    m.debugData = text;
    return m;
}

/// A debug server at a free port of this machine.
struct server {
    networkDebugServer sink;
    int port = 0;

    server()
    {
        sink.shutdown();
        sink.setPort(0);
        sink.listen();
        port = sink.port();
        sink.logLevel = 1;
    }
};

struct viewer {
    QTcpSocket socket;
    QByteArray received;

    explicit viewer(int port)
    {
        QObject::connect(&socket, &QTcpSocket::readyRead, &socket, [this] { received += socket.readAll(); });
        socket.connectToHost(QStringLiteral("127.0.0.1"), quint16(port));
    }
};
}

class tst_debugClients : public QObject
{
    Q_OBJECT
private slots:
    void levelsThatComeOut_data()
    {
        QTest::addColumn<int>("limit");
        QTest::addColumn<QByteArray>("levels");
        QTest::newRow("0, as made") << 0 << QByteArray("0");
        QTest::newRow("1") << 1 << QByteArray("01");
        QTest::newRow("all") << -1 << QByteArray("0123459");
        QTest::newRow("none") << -2 << QByteArray();
    }
    void levelsThatComeOut()
    {
        QFETCH(int, limit);
        terminalDebugClient sink;
        QCOMPARE(sink.logLevel.load(), 0);
        sink.logLevel = limit;
        QByteArray levels;
        for (const char level : QByteArray("0123459")) {
            const auto log = [&] { sink.log(message(quint32(level - '0'))); };
            if (!printed(log).isEmpty())
                levels += level;
        }
        QTEST(levels, "levels");
    }

    void terminalLine_data()
    {
        QTest::addColumn<quint32>("level");
        QTest::addColumn<QByteArray>("start");
        QTest::newRow("0") << 0U << QByteArray("\033[36m10:30:00.250 : Level0");
        QTest::newRow("1") << 1U << QByteArray("\033[35m10:30:00.250 : Level1");
        QTest::newRow("2") << 2U << QByteArray("\033[34m10:30:00.250 : Level2");
        QTest::newRow("3") << 3U << QByteArray("\033[32m10:30:00.250 : Level3");
        QTest::newRow("above") << 4U << QByteArray("\033[02m10:30:00.250 : Level4");
    }
    void terminalLine()
    {
        QFETCH(quint32, level);
        QFETCH(QByteArray, start);
        fakeHost host;
        host.advance(250);
        terminalDebugClient sink(nullptr, host);
        sink.logLevel = -1;
        QCOMPARE(printed([&] { sink.log(message(level)); }), start + " - Data Store - 100 %s\n");
        QCOMPARE(printed([&] { sink.registerComponent(message(level)); }),
            "Registered component - Data Store with UUID " + uuid.toLatin1() + "\n");
    }

    // Kept: no separator between the directory's name and the day.
    void fileOfTheDay()
    {
        fakeHost host;
        fileDebugClient sink(QStringLiteral("/var/log/heating"), nullptr, host);
        sink.logLevel = 2;
        const QString day = QStringLiteral("/var/log/heating15_Jan_26.log");
        QCOMPARE(printed([&] { sink.log(message(1)); }),
            "Could not append to \"" + day.toLatin1() + "\"\n"); // no such directory yet
        sink.registerComponent(message(0));
        QVERIFY(QDir(host.path(QStringLiteral("/var/log/heating"))).exists());
        sink.log(message(3));
        sink.log(message(2));
        host.advance(1000);
        sink.log(message(0, QStringLiteral("next")));
        QCOMPARE(host.read(day).value_or("none"),
            QByteArray("Jan 15 10:30:00 Data_Store[0c0d0e0f]:2 100 %s\n"
                       "Jan 15 10:30:01 Data_Store[0c0d0e0f]:0 next\n")
                .replace("0c0d0e0f", "0d0e0f"));
        host.advance(24 * 3600 * 1000);
        sink.log(message(0));
        QVERIFY(host.read(QStringLiteral("/var/log/heating16_Jan_26.log")));
    }

    void aLateViewerGetsTheTreeFirst()
    {
        QByteArray tree;
        printed([&] {
            server s;
            debugComponent root;
            debugComponent child;
            root.registerWithClient(&s.sink);
            root.addChild(&child);
            root.log(QStringLiteral("before"), 0); // nobody there
            tree = root.registrationMessage().createRegistrationMessage()
                + child.registrationMessage().createRegistrationMessage();

            viewer v(s.port);
            QTRY_COMPARE(v.received, tree);
            child.log(QStringLiteral("too detailed"), 2);
            std::thread([&] { child.log(QStringLiteral("from a thread"), 1); }).join();
            QTRY_VERIFY(v.received.endsWith(QByteArray("from a thread\0\0", 15)));
            QVERIFY(!v.received.contains("too detailed") && !v.received.contains("before"));
        });
        QVERIFY(!tree.isEmpty());
    }

    // Kept: a second dead viewer right behind the first waits for the next call.
    void viewersMayVanish()
    {
        const QByteArray output = printed([] {
            server s;
            viewer first(s.port);
            viewer second(s.port);
            s.sink.registerComponent(message(0));
            QTRY_VERIFY(!first.received.isEmpty() && !second.received.isEmpty());
            first.socket.abort();
            for (int i = 0; i < 200; ++i)
                s.sink.log(message(0, QString(1000, QLatin1Char('x'))));
            QTRY_VERIFY(second.received.size() > 200 * 1000);
            second.socket.disconnectFromHost();
            QTRY_COMPARE(second.socket.state(), QAbstractSocket::UnconnectedState);
            viewer third(s.port);
            QTRY_VERIFY(!third.received.isEmpty());
        });
        QVERIFY2(output.contains("Client connected from 127.0.0.1:")
                || output.contains("Client connected from ::ffff:127.0.0.1:"),
            output);
        QCOMPARE(output.count("Destroying client 0\n"), 2);
    }

    void listeningIsReportedOnStandardError()
    {
        server s;
        QCOMPARE(printed([&] { s.sink.listen(); }, stderr), QByteArray("Debug server already listening\n"));
        s.sink.shutdown();
        QVERIFY(!s.sink.isListening());
        s.sink.setPort(s.port);
        QCOMPARE(printed([&] { s.sink.listen(); }, stderr),
            "Debug server listening on port " + QByteArray::number(s.port) + "\n");
    }

    void clientSendsToTheDebugHost()
    {
        QTcpServer host;
        QVERIFY(host.listen(QHostAddress::LocalHost));
        networkDebugClient sink;
        sink.setPort(host.serverPort());
        sink.transmit("lost"); // not attached yet
        sink.attach();
        QTRY_VERIFY(host.hasPendingConnections());
        QTcpSocket *const peer = host.nextPendingConnection();
        const debugMessage m = message(0);
        std::thread([&] { sink.log(m); }).join();
        QTRY_COMPARE(peer->bytesAvailable(), qint64(m.createDebugMessage().size()));
        QCOMPARE(peer->readAll(), m.createDebugMessage());
        sink.log(message(1)); // above its level
        peer->disconnectFromHost();
        QCoreApplication::processEvents();
        sink.log(m); // nobody there any more
    }
};

QTEST_GUILESS_MAIN(tst_debugClients)
#include "tst_debugClients.moc"
