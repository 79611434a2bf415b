#include "lib/communications/debugComponent.h"
#include "lib/communications/fileDebugClient.h"
#include "lib/communications/networkDebugClient.h"
#include "lib/communications/networkDebugServer.h"
#include "lib/communications/terminalDebugClient.h"

#include "tests/support/fakeHost.h"
#include "tests/support/printed.h"

#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>

#include <thread>

#include <fcntl.h>
#include <pty.h>
#include <unistd.h>

namespace {
debugMessage message(quint32 level, const QString &text = QStringLiteral("100 %s"))
{
    debugMessage m;
    m.level = level;
    m.componentName = QStringLiteral("Data Store");
    m.UUID.fromString(QStringLiteral("00010203-0405-0607-0809-0a0b0c0d0e0f"));
    m.debugData = text;
    return m;
}

struct viewer : QTcpSocket {
    QByteArray received;

    explicit viewer(int port)
    {
        connect(this, &QTcpSocket::readyRead, this, [this] { received += readAll(); });
        connectToHost(QStringLiteral("127.0.0.1"), quint16(port));
    }
};
}

class tst_debugClients : public QObject
{
    Q_OBJECT
private slots:
    // Qt warns of a socket that is used on a wrong thread.
    void initTestCase() { qputenv("QT_FATAL_WARNINGS", "1"); }

    void terminalLinesOfTheWantedLevels()
    {
        const char *const colours[] = {"36", "35", "34", "32", "02"};
        fakeHost host;
        host.advance(250);
        terminalDebugClient sink(nullptr, host);
        for (const int limit : {0, 1, -1, -2}) {
            sink.logLevel = limit;
            for (int level = 0; level < 5; ++level) {
                const QString line = QStringLiteral("\033[%1m10:30:00.250 : Level%2 - Data Store - 100 %s\n")
                                         .arg(colours[level])
                                         .arg(level);
                const bool isWanted = limit == -1 || level <= limit;
                QCOMPARE(QString(printed([&] { sink.log(message(quint32(level))); })), isWanted ? line : "");
            }
        }
    }

    void terminalLosesLinesRatherThanWait()
    {
        for (const bool isTerminal : {false, true}) {
            int ends[2] = {}; // reader, writer
            QCOMPARE(isTerminal ? ::openpty(&ends[0], &ends[1], nullptr, nullptr, nullptr) : ::pipe(ends), 0);
            QCOMPARE(::fcntl(ends[0], F_SETFL, O_NONBLOCK), 0);
            const int kept = ::dup(STDOUT_FILENO);
            ::dup2(ends[1], STDOUT_FILENO);
            terminalDebugClient sink;
            for (int i = 0; i < 1000; ++i) // many times what waits for a reader
                sink.log(message(0, QString(1000, QLatin1Char('x'))));
            QFile output;
            output.open(ends[0], QIODevice::ReadOnly, QFile::AutoCloseHandle);
            const int first = output.readAll().count('\n');
            sink.log(message(0, "read again"));
            ::dup2(kept, STDOUT_FILENO);
            ::close(kept);
            const QByteArray rest = output.readAll().replace('\r', "");
            ::close(ends[1]);
            const QByteArray lost = '\n' + QByteArray::number(1000 - first) + " lines were lost";
            QVERIFY2(first > 5 && rest.startsWith(lost) && rest.endsWith("read again\n"), rest);
        }
    }

    // Kept: no separator between the directory's name and the day.
    void fileOfTheDay()
    {
        fakeHost host;
        fileDebugClient sink(QStringLiteral("/var/log/heating"), nullptr, host);
        const QString day = QStringLiteral("/var/log/heating15_Jan_26.log");
        QCOMPARE(printed([&] { sink.log(message(0)); }), // no such directory yet
            "Could not append to \"" + day.toLatin1() + "\"\n");
        sink.registerComponent(message(0));
        sink.log(message(1)); // above its level
        sink.log(message(0));
        host.advance(1000);
        sink.log(message(0, "next"));
        QCOMPARE(host.read(day).value_or("none"),
            QByteArray("Jan 15 10:30:00 Data_Store[0d0e0f]:0 100 %s\n"
                       "Jan 15 10:30:01 Data_Store[0d0e0f]:0 next\n"));
    }

    void viewersMayComeLateAndVanish()
    {
        const QByteArray output = printed([] {
            networkDebugServer sink;
            sink.shutdown();
            sink.setPort(0);
            sink.listen();
            debugComponent root;
            root.registerWithClient(&sink);
            root.log("before"); // nobody there
            viewer first(sink.port());
            viewer second(sink.port());
            QTRY_COMPARE(second.received, root.registrationMessage().createRegistrationMessage());
            QTRY_VERIFY(!first.received.isEmpty());
            first.abort();
            root.log("too detailed", 2);
            std::thread([&] { root.log("from a thread"); }).join();
            QTRY_VERIFY(second.received.endsWith(QByteArray("from a thread\0\0", 15)));
            for (int i = 0; i < 200; ++i)
                root.log(QString(1000, QLatin1Char('x')));
            QTRY_VERIFY(second.received.size() > 200 * 1000);
            QVERIFY(!second.received.contains("too detailed"));
        });
        QCOMPARE(output.count("Client connected from"), 2);
        QCOMPARE(output.count("Destroying client 0\n"), 1);
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
    }
};

QTEST_GUILESS_MAIN(tst_debugClients)
#include "tst_debugClients.moc"
