// 1,000 queued uploads to a server that answers at once: how long the display's thread is held up, and how
// many curl processes run at the same time.
#include "benchmarks/processUse.h"
#include "benchmarks/ratios.h"
#include "lib/communications/network.h"
#include "tests/support/fakeHost.h"
#include "tests/support/fakePrograms.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>

#include <atomic>
#include <cstdio>
#include <thread>

#include <unistd.h>

namespace {
constexpr int uploads = 1000;
constexpr int places = 8;
constexpr int giveUpMs = 300000;

/// Clocks of the real machine, files in a folder of its own.
class quietHost : public fakeHost
{
public:
    quietHost() { write(QStringLiteral("/tmp/.keep"), ""); }
    qint64 utcMs() const override { return hostSystem::real().utcMs(); }
    qint64 uptimeMs() const override { return hostSystem::real().uptimeMs(); }
};

/// A web server that says "200 OK" to everything, on a thread of its own.
class webServer : public QThread
{
public:
    webServer()
    {
        start();
        while (port == 0)
            QThread::yieldCurrentThread();
    }
    ~webServer() override
    {
        quit();
        wait();
    }

    std::atomic<int> port{0};
    std::atomic<int> answered{0};

private:
    void run() override
    {
        QTcpServer server;
        connect(&server, &QTcpServer::newConnection, &server, [&] {
            while (QTcpSocket *const client = server.nextPendingConnection()) {
                connect(client, &QTcpSocket::readyRead, client, [this, client] { answer(client); });
                connect(client, &QTcpSocket::disconnected, client, &QObject::deleteLater);
            }
        });
        server.listen(QHostAddress::LocalHost);
        port = server.serverPort();
        exec();
    }
    void answer(QTcpSocket *client)
    {
        if (!client->readAll().endsWith('}'))
            return; // the body comes last
        client->write("HTTP/1.1 200 OK\r\nContent-Length: 0\r\nConnection: close\r\n\r\n");
        client->disconnectFromHost();
        ++answered;
    }
};

int runningCurls()
{
    int count = 0;
    QFile tasks(QStringLiteral("/proc/self/task/%1/children").arg(getpid()));
    if (!tasks.open(QIODevice::ReadOnly))
        return 0;
    for (const QByteArray &child : tasks.readAll().simplified().split(' ')) {
        QFile name(QStringLiteral("/proc/%1/comm").arg(QString::fromLatin1(child)));
        if (name.open(QIODevice::ReadOnly) && name.readAll().trimmed() == "curl")
            ++count;
    }
    return count;
}
}

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    fakePrograms programs;
    programs.write(QStringLiteral("ip"), "echo default via 127.0.0.1 dev lo");
    const quietHost host;
    const webServer server;
    network queue(nullptr, host);
    queue.start();

    std::atomic<bool> running{true};
    int mostCurls = 0;
    std::thread watcher([&] {
        while (running) {
            mostCurls = std::max(mostCurls, runningCurls());
            QThread::msleep(5);
        }
    });

    netActionInfo info;
    info.requestType = QStringLiteral("post");
    info.URI = QStringLiteral("http://127.0.0.1:%1/").arg(server.port.load());
    info.msgData = R"({"ts":1,"values":{"flowtemperature":21.5}})";
    for (int i = 0; i < uploads; ++i)
        queue.actionRequest(info); // no route is known yet: they wait
    queue.checkNetworkAvailable();

    double last = 0.0;
    double longestStall = 0.0;
    double start = 0.0;
    QTimer heartbeat;
    heartbeat.setTimerType(Qt::PreciseTimer);
    QObject::connect(&heartbeat, &QTimer::timeout, &app, [&] {
        const double now = monotonicSeconds();
        longestStall = std::max(longestStall, now - last - 0.001);
        last = now;
    });
    QTimer::singleShot(1000, &app, [&] {
        start = last = monotonicSeconds();
        heartbeat.start(1);
        queue.sendData();
    });
    QObject::connect(
        &queue, &network::resultAvailable, &app, [&](const QString &, const QVariant &remaining) {
            if (remaining.toInt() == 0)
                app.quit();
        });
    QTimer::singleShot(giveUpMs, &app, [&] { app.exit(1); });
    const int result = app.exec();
    const double drain = monotonicSeconds() - start;
    running = false;
    watcher.join();

    std::printf("%d of %d uploads answered in %.1f s, longest stall %.0f ms, at most %d curl processes\n",
        server.answered.load(), uploads, drain, longestStall * 1000, mostCurls);
    if (result == 0 && server.answered == uploads) {
        printRatio("uploads.1000_longest_stall_vs_drain", longestStall / drain);
        printRatio("uploads.1000_peak_processes_vs_8", double(mostCurls) / places);
    }
    return result;
}
