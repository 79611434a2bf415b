#include "simulator/commands.h"
#include "simulator/controlServer.h"
#include "simulator/narrator.h"
#include "simulator/script.h"
#include "simulator/simulation.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QFileInfo>
#include <QLocalSocket>
#include <QSocketNotifier>

#include <csignal>
#include <cstdio>
#include <memory>

#include <sys/signalfd.h>
#include <unistd.h>

namespace {
struct options {
    QString root;
    QString script;
    QString log;
    QString tcpPeer;
    QString terminal;
    double speed = 1.0;
    bool narrates = false;
    QString askAt;
    QStringList words;
};

int refuse(const QString &why)
{
    std::fprintf(stderr, "calorix-sim: %s\n", qPrintable(why));
    return 2;
}

options readOptions(const QCoreApplication &app)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral(
            "Simulated devices of a heating installation, for programs that run with libdevmock.so "
            "preloaded.\n\nCommands, on DIR/control.sock or after a time in a script file:\n")
        + QString::fromUtf8(commands::help())
        + QStringLiteral("  follow events|all|off (socket only)    the log as it grows"));
    parser.addHelpOption();
    parser.addOptions({
        {QStringLiteral("dir"),
            QStringLiteral("Folder that stands for the machine; $DEVMOCK_DIR by default."),
            QStringLiteral("DIR"), qEnvironmentVariable("DEVMOCK_DIR")},
        {QStringLiteral("script"), QStringLiteral("Commands with their times in seconds."),
            QStringLiteral("FILE")},
        {QStringLiteral("log"), QStringLiteral("Every transfer and event, with its time."),
            QStringLiteral("FILE")},
        {QStringLiteral("speed"), QStringLiteral("How much faster than the clock the house changes."),
            QStringLiteral("FACTOR"), QStringLiteral("1")},
        {QStringLiteral("tcp-peer"),
            QStringLiteral("Another controller that sends store elements to clients of 127.0.0.1:PORT."),
            QStringLiteral("PORT")},
        {QStringLiteral("pty"),
            QStringLiteral(
                "Another controller that sends store elements on a serial line, whose device file is PATH."),
            QStringLiteral("PATH")},
        {QStringLiteral("ask"),
            QStringLiteral(
                "Send the words that follow as one command to a running simulator's or puppet's socket, "
                "print the answer and end."),
            QStringLiteral("SOCKET")},
        {QStringLiteral("narrate"), QStringLiteral("Say in plain words what happens.")},
    });
    parser.setOptionsAfterPositionalArgumentsMode(QCommandLineParser::ParseAsPositionalArguments); // "-5"
    parser.process(app);
    return {parser.value(QStringLiteral("dir")), parser.value(QStringLiteral("script")),
        parser.value(QStringLiteral("log")), parser.value(QStringLiteral("tcp-peer")),
        parser.value(QStringLiteral("pty")), parser.value(QStringLiteral("speed")).toDouble(),
        parser.isSet(QStringLiteral("narrate")), parser.value(QStringLiteral("ask")),
        parser.positionalArguments()};
}

/// Ends the program's loop on Ctrl-C and on TERM.
void quitOnSignals(QCoreApplication &app)
{
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGINT);
    sigaddset(&set, SIGTERM);
    sigprocmask(SIG_BLOCK, &set, nullptr);
    const int fd = signalfd(-1, &set, SFD_CLOEXEC | SFD_NONBLOCK);
    auto *notifier = new QSocketNotifier(fd, QSocketNotifier::Read, &app);
    QObject::connect(notifier, &QSocketNotifier::activated, &app, &QCoreApplication::quit);
}

int ask(const options &o)
{
    constexpr int timeoutMs = 5000;
    QLocalSocket socket;
    socket.connectToServer(QFileInfo(o.askAt).absoluteFilePath()); // a name alone would be one in /tmp
    if (!socket.waitForConnected(timeoutMs))
        return refuse(socket.errorString());
    socket.write(o.words.join(' ').toUtf8() + '\n');
    while (!socket.canReadLine()) {
        if (!socket.waitForReadyRead(timeoutMs))
            return refuse(socket.errorString());
    }
    const QByteArray answer = socket.readAll();
    std::fputs(answer.constData(), stdout);
    return answer.startsWith("error") ? 1 : 0;
}

/// The far ends of links; false, with the reason, when one cannot be made.
bool addPeers(simulation &devices, const options &o, QString *why)
{
    const int port = o.tcpPeer.toInt();
    *why = QStringLiteral("--tcp-peer takes a port from 1 to 65535");
    if (!o.tcpPeer.isEmpty() && (port < 1 || port > 65535 || !devices.addTcpPeer(quint16(port), why)))
        return false;
    return o.terminal.isEmpty() || devices.addSerialPeer(o.terminal, why);
}

int run(QCoreApplication &app, const options &o)
{
    QString why;
    if (o.root.isEmpty())
        return refuse(QStringLiteral("give --dir DIR or set DEVMOCK_DIR"));
    if (!(o.speed > 0.0) || o.speed > 1000.0)
        return refuse(QStringLiteral("--speed takes a factor above 0, up to 1000"));
    simulation devices(o.root);
    devices.setSpeed(o.speed);
    if (!o.log.isEmpty() && !devices.log.open(o.log))
        return refuse(QStringLiteral("cannot write %1").arg(o.log));
    if (!addPeers(devices, o, &why))
        return refuse(why);
    commands language(devices);
    script timed(language);
    if (!o.script.isEmpty() && !timed.load(o.script, &why))
        return refuse(why);
    QObject::connect(&timed, &script::failed, [](const QByteArray &line, const QByteArray &answer) {
        std::fprintf(stderr, "calorix-sim: %s: %s\n", line.constData(), answer.constData());
    });
    if (o.narrates) // also what the script says at once
        QObject::connect(&language, &commands::said, &language, &narrator::say);
    timed.start();
    std::unique_ptr<narrator> speaker;
    if (o.narrates)
        speaker = std::make_unique<narrator>(devices);
    controlServer control(language, devices.log);
    if (!devices.start(&why))
        return refuse(why);
    if (!control.listen(o.root + QStringLiteral("/control.sock")))
        return refuse(control.errorString());
    QObject::connect(
        &language, &commands::quitRequested, &app, &QCoreApplication::quit, Qt::QueuedConnection);
    return QCoreApplication::exec();
}
}

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    const options o = readOptions(app);
    if (!o.askAt.isEmpty())
        return ask(o);
    quitOnSignals(app);
    std::signal(SIGPIPE, SIG_IGN); // a reader that has gone is an error of the write
    return run(app, o);
}
