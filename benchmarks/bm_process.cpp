// The controller as a process: from its start to its first paint beside a bare widget, and running the
// example installation with simulated devices beside a bare window with as many threads, transfers and
// paints.
#include "benchmarks/processUse.h"
#include "benchmarks/ratios.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTimer>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <vector>

namespace {
constexpr int starts = 15;
constexpr int warmUpMs = 6000;
constexpr int countMs = 10000;
constexpr int measureMs = 30000;

const QString bin = QStringLiteral(CALORIX_BIN_DIR);
const QString lib = QStringLiteral(CALORIX_LIB_DIR);
const QString source = QStringLiteral(CALORIX_SOURCE_DIR);
const QString here = QStringLiteral(CALORIX_BENCH_DIR);

void wait(int ms)
{
    QEventLoop loop;
    QTimer::singleShot(ms, &loop, &QEventLoop::quit);
    loop.exec();
}

/// A machine of its own, with stand-ins for the programs that would act on the real one.
class machine
{
public:
    machine()
    {
        // The example with a port that nobody else uses, no heating at any hour, and uploads that wait for a
        // route.
        QFile example(source + QStringLiteral("/config/config.xml"));
        example.open(QIODevice::ReadOnly);
        write("config.xml", example.readAll().replace("<port>5020<", "<port>0<"));
        write("heatTimer.xml", "<heatingtimer/>");
        write("waterTimer.xml", "<heatingtimer/>");
        write("route", "absent\n");
    }

    QString folder() const { return m_folder.path(); }
    QString file(const char *name) const { return m_folder.filePath(QLatin1String(name)); }

    QProcessEnvironment environment(const QStringList &preloads) const
    {
        QProcessEnvironment e = QProcessEnvironment::systemEnvironment();
        e.insert(QStringLiteral("DEVMOCK_DIR"), folder());
        e.insert(QStringLiteral("PATH"),
            source + QStringLiteral("/simulator/standins:") + e.value(QStringLiteral("PATH")));
        e.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
        e.insert(QStringLiteral("XDG_RUNTIME_DIR"), folder());
        e.insert(QStringLiteral("LD_PRELOAD"), preloads.join(QLatin1Char(':')));
        return e;
    }

private:
    void write(const char *name, const QByteArray &content) const
    {
        QFile made(file(name));
        if (!made.open(QIODevice::WriteOnly) || made.write(content) != content.size())
            qFatal("cannot write %s", qPrintable(made.fileName()));
    }

    QTemporaryDir m_folder;
};

const QString paintWatch = here + QStringLiteral("/libpaintWatch.so");
const QString devmock = lib + QStringLiteral("/libdevmock.so");

/// Seconds from the start of a program to its first paint.
double firstPaint(const machine &m, const QString &program, const QStringList &arguments)
{
    QProcess process;
    QProcessEnvironment e = m.environment({paintWatch});
    e.insert(QStringLiteral("PAINTWATCH_EXIT"), QStringLiteral("1"));
    process.setProcessEnvironment(e);
    process.setStandardOutputFile(QProcess::nullDevice());
    process.setStandardErrorFile(QProcess::nullDevice());
    const double start = monotonicSeconds();
    process.start(program, arguments);
    const bool ended = process.waitForFinished(20000) && process.exitStatus() == QProcess::NormalExit;
    return ended ? monotonicSeconds() - start : 99.0;
}

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

void measureStart()
{
    const machine m;
    std::vector<double> ours;
    std::vector<double> bare;
    for (int i = 0; i < starts; ++i) { // in turns: both see the same machine
        ours.push_back(firstPaint(
            m, bin + QStringLiteral("/calorix"), {QStringLiteral("-c"), m.folder() + QLatin1Char('/')}));
        bare.push_back(firstPaint(m, here + QStringLiteral("/bareWindow"), {}));
    }
    std::printf(
        "first paint: controller %.1f ms, bare widget %.1f ms\n", median(ours) * 1000, median(bare) * 1000);
    printRatio("start.window_vs_bare_widget", median(ours) / median(bare));
}

struct use {
    double cpu = 0.0; // share of a core
    long rssKb = 0;
    int threads = 0;
    int transfersPerSecond = 0;
    double paintsPerSecond = 0.0;
};

quint64 paintsSoFar(const machine &m)
{
    QFile file(m.file("paints"));
    quint64 count = 0;
    if (file.open(QIODevice::ReadOnly) && file.read(reinterpret_cast<char *>(&count), sizeof count) < 0)
        return 0;
    return count;
}

int logLines(const machine &m)
{
    QFile file(m.file("transfers.log"));
    return file.open(QIODevice::ReadOnly) ? file.readAll().count(" open") : 0;
}

/// A program that runs beside a simulator of its own.
class running
{
public:
    running(const QString &program, const QStringList &arguments)
    {
        m_simulator.setProcessEnvironment(m_machine.environment({}));
        m_simulator.setStandardOutputFile(QProcess::nullDevice());
        m_simulator.setStandardErrorFile(m_machine.file("simulator.err"));
        m_simulator.start(
            bin + QStringLiteral("/calorix-sim"), {QStringLiteral("--log"), m_machine.file("transfers.log")});
        m_simulator.waitForStarted();
        wait(500);
        QProcessEnvironment e = m_machine.environment({devmock, paintWatch});
        e.insert(QStringLiteral("PAINTWATCH_FILE"), m_machine.file("paints"));
        m_process.setProcessEnvironment(e);
        m_process.setStandardOutputFile(QProcess::nullDevice());
        m_process.setStandardErrorFile(QProcess::nullDevice());
        m_process.start(program, QStringList(arguments).replaceInStrings("FOLDER", m_machine.folder()));
        m_process.waitForStarted();
    }
    ~running()
    {
        for (QProcess *each : {&m_process, &m_simulator}) {
            each->kill();
            each->waitForFinished();
        }
    }

    void begin()
    {
        m_clock.start();
        m_cpu = cpuSeconds(process());
        m_paints = paintsSoFar(m_machine);
        m_transfers = logLines(m_machine);
    }
    use sinceBegin() const
    {
        const double seconds = double(m_clock.elapsed()) / 1000;
        use u;
        u.cpu = (cpuSeconds(process()) - m_cpu) / seconds;
        u.rssKb = statusKb(process(), "VmRSS");
        u.threads = int(statusKb(process(), "Threads"));
        u.transfersPerSecond = int((logLines(m_machine) - m_transfers) / seconds);
        u.paintsPerSecond = double(paintsSoFar(m_machine) - m_paints) / seconds;
        return u;
    }

private:
    pid_t process() const { return pid_t(m_process.processId()); }

    const machine m_machine;
    QProcess m_simulator;
    QProcess m_process;
    QElapsedTimer m_clock;
    double m_cpu = 0.0;
    quint64 m_paints = 0;
    int m_transfers = 0;
};

void print(const char *name, const use &u)
{
    std::printf("%s: %.2f %% of a core, %.1f MB, %d threads, %d bus transfers and %.1f paints a second\n",
        name, u.cpu * 100, double(u.rssKb) / 1024, u.threads, u.transfersPerSecond, u.paintsPerSecond);
}

void measureIdle()
{
    running controller(bin + QStringLiteral("/calorix"), {QStringLiteral("-c"), QStringLiteral("FOLDER/")});
    wait(warmUpMs);
    controller.begin();
    wait(countMs);
    const use seen = controller.sinceBegin();
    running window(here + QStringLiteral("/bareWindow"),
        {QString::number(seen.threads - 1), QString::number(seen.transfersPerSecond),
            QString::number(seen.paintsPerSecond), QStringLiteral("/dev/i2c-1"), QString::number(0x30)});
    wait(warmUpMs);
    // At the same time: a machine's speed changes from one minute to the next.
    controller.begin();
    window.begin();
    wait(measureMs);
    const use ours = controller.sinceBegin();
    const use shell = window.sinceBegin();
    print("controller", ours);
    print("bare window", shell);
    if (ours.transfersPerSecond == 0 || shell.transfersPerSecond == 0) {
        std::puts("no bus transfers seen: the simulated devices did not come up");
        return;
    }
    printRatio("idle.cpu_vs_shell", ours.cpu / shell.cpu);
    printRatio("idle.rss_vs_shell", double(ours.rssKb) / double(shell.rssKb));
}
}

int main(int argc, char **argv)
{
    const QCoreApplication app(argc, argv);
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    measureStart();
    measureIdle();
    return 0;
}
