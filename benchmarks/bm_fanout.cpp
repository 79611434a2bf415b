// Processor time per record delivered by the TCP sampler, beside a plain send loop and beside the mosquitto
// broker; memory while one client never reads. Clients live in a process of their own.
#include "benchmarks/processUse.h"
#include "benchmarks/ratios.h"
#include "lib/samplers/tcpSampler.h"
#include "lib/types/datastore.h"

#include <QCoreApplication>
#include <QDomDocument>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QThread>
#include <QTimer>

#include <cstdio>
#include <vector>

#include <arpa/inet.h>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {
constexpr int clients = 10;
constexpr int burstSize = 20; // records
constexpr int burstMs = 20;   // 50 bursts a second
constexpr int bursts = 250;
constexpr int messageSize = 40;

const QString key = QStringLiteral("flowtemperature1");

int connectTo(int port)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(uint16_t(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const int fd = socket(AF_INET, SOCK_STREAM, 0);
    if (connect(fd, reinterpret_cast<sockaddr *>(&address), sizeof address) != 0)
        std::perror("connect");
    return fd;
}

/// A process that reads from \a count connections and, if asked, holds another one without reading. It ends
/// when all are closed or when the parent ends, and says then, through a pipe, how many bytes came.
class readers
{
public:
    readers(int port, int count, bool withStalled)
    {
        int ends[2];
        if (pipe(ends) != 0)
            std::perror("pipe");
        m_process = fork();
        if (m_process == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            const qint64 bytes = readAll(port, count, withStalled);
            _exit(write(ends[1], &bytes, sizeof bytes) == sizeof bytes ? 0 : 1);
        }
        close(ends[1]);
        m_result = ends[0];
    }
    ~readers()
    {
        kill(m_process, SIGKILL);
        waitpid(m_process, nullptr, 0);
        close(m_result);
    }
    readers(const readers &) = delete;
    readers &operator=(const readers &) = delete;

    /// Waits for the end; the connections must be closed.
    qint64 bytes() const
    {
        qint64 count = 0;
        return read(m_result, &count, sizeof count) == sizeof count ? count : -1;
    }

private:
    static qint64 readAll(int port, int count, bool withStalled)
    {
        if (withStalled)
            connectTo(port);
        std::vector<pollfd> open;
        open.reserve(size_t(count));
        for (int i = 0; i < count; ++i)
            open.push_back({connectTo(port), POLLIN, 0});
        qint64 total = 0;
        std::vector<char> buffer(1 << 16);
        while (!open.empty() && poll(open.data(), open.size(), -1) > 0) {
            for (size_t i = open.size(); i-- > 0;) {
                if (open[i].revents == 0)
                    continue;
                const ssize_t got = read(open[i].fd, buffer.data(), buffer.size());
                if (got <= 0)
                    open.erase(open.begin() + long(i));
                else
                    total += got;
            }
        }
        return total;
    }

    pid_t m_process = 0;
    int m_result = 0;
};

int freePort()
{
    QTcpServer server;
    server.listen(QHostAddress::LocalHost);
    return server.serverPort();
}

QDomElement samplerElement(QDomDocument &document, int port)
{
    document.setContent(
        QStringLiteral("<sampler><port>%1</port><mode>push</mode><period>60000</period></sampler>")
            .arg(port));
    return document.documentElement();
}

void spin(int ms)
{
    QEventLoop loop;
    QTimer::singleShot(ms, Qt::PreciseTimer, &loop, &QEventLoop::quit);
    loop.exec();
}

/// Calls \a burst every 20 ms and returns the processor seconds that all took.
template <class F>
double paced(F burst)
{
    spin(300); // connections settle
    const double before = ownCpuSeconds();
    for (int i = 0; i < bursts; ++i) {
        burst();
        spin(burstMs);
    }
    return ownCpuSeconds() - before;
}

double perDelivery(double seconds)
{
    return seconds * 1e6 / (double(bursts) * burstSize * clients);
}

/// The event loop's own turns, which both sides have alike.
double idleSeconds()
{
    return paced([] {});
}

double viaSampler()
{
    datastore store;
    tcpSampler server(&store);
    QDomDocument document;
    server.configure(samplerElement(document, freePort()));
    server.start();
    const readers peers(server.serverPort(), clients, false);
    double value = 0.0;
    return paced([&] {
        for (int i = 0; i < burstSize; ++i)
            store.store(key, value += 0.5);
    });
}

double viaSendLoop()
{
    QTcpServer listener;
    listener.listen(QHostAddress::LocalHost);
    listener.pauseAccepting(); // done by hand
    fcntl(int(listener.socketDescriptor()), F_SETFL, 0);
    const readers peers(listener.serverPort(), clients, false);
    std::vector<int> sockets;
    sockets.reserve(clients);
    for (int i = 0; i < clients; ++i)
        sockets.push_back(accept(int(listener.socketDescriptor()), nullptr, nullptr));
    double value = 0.0;
    bool complete = true;
    const double seconds = paced([&] {
        QByteArray burst;
        for (int i = 0; i < burstSize; ++i)
            burst += datastoreElementType(key, value += 0.5).serialise();
        for (const int each : sockets)
            complete = send(each, burst.constData(), size_t(burst.size()), 0) == burst.size() && complete;
    });
    if (!complete)
        std::perror("send");
    for (const int each : sockets)
        close(each);
    return seconds;
}

/// The processor time of a broker that carries the same records to as many subscribers; 0 where there is
/// none.
double viaMosquitto()
{
    const QString broker = QStandardPaths::findExecutable(
        QStringLiteral("mosquitto"), {QStringLiteral("/usr/sbin"), QStringLiteral("/usr/bin")});
    if (broker.isEmpty() || QStandardPaths::findExecutable(QStringLiteral("mosquitto_sub")).isEmpty())
        return 0.0;
    QTemporaryDir folder;
    const QString port = QString::number(freePort());
    QFile settings(folder.filePath(QStringLiteral("mosquitto.conf")));
    if (!settings.open(QIODevice::WriteOnly))
        return 0.0;
    settings.write("listener " + port.toLatin1() + " 127.0.0.1\nallow_anonymous true\nlog_dest none\n");
    settings.close();
    QProcess server;
    server.start(broker, {QStringLiteral("-c"), settings.fileName()});
    server.waitForStarted();
    spin(500);

    const QStringList topic{QStringLiteral("-p"), port, QStringLiteral("-t"), QStringLiteral("t")};
    std::vector<std::unique_ptr<QProcess>> programs;
    for (int i = 0; i < clients; ++i) {
        programs.push_back(std::make_unique<QProcess>());
        programs.back()->setStandardOutputFile(QProcess::nullDevice());
        programs.back()->start(QStringLiteral("mosquitto_sub"), topic);
    }
    QProcess publisher;
    publisher.start(QStringLiteral("mosquitto_pub"), topic + QStringList(QStringLiteral("-l")));
    publisher.waitForStarted();
    spin(1000);
    const double before = cpuSeconds(pid_t(server.processId()));
    const QByteArray burst = (QByteArray(messageSize, 'x') + '\n').repeated(burstSize);
    paced([&] { publisher.write(burst); });
    const double seconds = cpuSeconds(pid_t(server.processId())) - before;
    publisher.kill();
    publisher.waitForFinished();
    for (auto &each : programs) {
        each->kill();
        each->waitForFinished();
    }
    server.kill();
    server.waitForFinished();
    return seconds;
}

/// Growth of memory while 40 MB go to each of nine clients that read and to one that does not.
double stalledGrowth()
{
    constexpr int records = 1000000;
    constexpr int readersOfAll = 9;
    datastore store;
    auto server = std::make_unique<tcpSampler>(&store);
    QDomDocument document;
    server->configure(samplerElement(document, freePort()));
    server->start();
    const readers peers(server->serverPort(), readersOfAll, true);
    spin(300);
    store.store(key, 0.5);
    const long before = statusKb(getpid(), "VmRSS");
    long highest = before;
    for (int i = 1; i < records; ++i) {
        store.store(key, i * 0.5);
        if (i % burstSize == 0)
            QCoreApplication::processEvents();
        if (i % 20000 == 0)
            highest = qMax(highest, statusKb(getpid(), "VmRSS"));
    }
    spin(2000);
    server.reset(); // closes
    const qint64 expected = qint64(records) * messageSize * readersOfAll;
    const qint64 got = peers.bytes();
    std::printf("%lld of %lld bytes delivered to those who read, memory grew by %ld kB\n",
        static_cast<long long>(got), static_cast<long long>(expected), highest - before);
    return got == expected ? double(highest - before) * 1024.0 / (double(records) * messageSize) : 99.0;
}
}

int main(int argc, char **argv)
{
    const QCoreApplication app(argc, argv);
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    printRatio("fanout.stalled_client_growth_vs_bytes_sent", stalledGrowth());
    const double idle = idleSeconds();
    const double ours = perDelivery(viaSampler() - idle);
    const double floor = perDelivery(viaSendLoop() - idle);
    std::printf("CPU per delivered record: TCP sampler %.2f us, send loop %.2f us\n", ours, floor);
    printRatio("fanout.paced_K10_cpu_vs_send_loop", ours / floor);
    const double broker = perDelivery(viaMosquitto());
    if (broker > 0.0) {
        std::printf("CPU per delivered record: mosquitto %.2f us\n", broker);
        printRatio("fanout.paced_K10_cpu_vs_mosquitto", ours / broker);
    } else {
        std::puts(
            "SKIPPED fanout.paced_K10_cpu_vs_mosquitto: mosquitto and mosquitto-clients are not installed");
    }
    return 0;
}
