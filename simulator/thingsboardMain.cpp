#include "simulator/thingsboardServer.h"

#include <QCommandLineParser>
#include <QCoreApplication>

#include <cstdio>

namespace {
bool readPort(const QString &text, quint16 &port)
{
    bool isNumber = false;
    port = text.toUShort(&isNumber);
    return isNumber;
}
}

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("calorix-thingsboard"));
    QCommandLineParser line;
    line.setApplicationDescription(
        QStringLiteral("A ThingsBoard server for tests and demonstrations, on 127.0.0.1 only.\n\nThe control "
                       "port takes lines: "
                       "answer 200|400|401|500|hang|close [COUNT], rpc JSON, release, count."));
    line.addHelpOption();
    line.addPositionalArgument(
        QStringLiteral("port"), QStringLiteral("Port to listen at; 0 takes any free one."));
    const QCommandLineOption control(QStringLiteral("control"),
        QStringLiteral("Port for commands; any free one by default."), QStringLiteral("port"),
        QStringLiteral("0"));
    const QCommandLineOption token(
        QStringLiteral("token"), QStringLiteral("The only access token let in."), QStringLiteral("token"));
    const QCommandLineOption bodies(QStringLiteral("bodies"),
        QStringLiteral("File to which accepted messages are appended, a line each."), QStringLiteral("file"));
    line.addOptions({control, token, bodies});
    line.process(application);

    quint16 port = 0;
    quint16 controlPort = 0;
    if (line.positionalArguments().size() != 1 || !readPort(line.positionalArguments().first(), port)
        || !readPort(line.value(control), controlPort)) {
        std::fputs("calorix-thingsboard: give one port from 0 to 65535 (see --help)\n", stderr);
        return 2;
    }
    thingsboardServer server(line.value(token));
    if (line.isSet(bodies) && !server.keepBodiesIn(line.value(bodies))) {
        std::fprintf(stderr, "calorix-thingsboard: cannot write %s\n", qPrintable(line.value(bodies)));
        return 1;
    }
    if (!server.listen(port, controlPort)) {
        std::fprintf(stderr, "calorix-thingsboard: cannot listen: %s\n", qPrintable(server.errorString()));
        return 1;
    }
    std::printf("listening on 127.0.0.1:%i, control on 127.0.0.1:%i\n", server.port(), server.controlPort());
    std::fflush(stdout);
    return QCoreApplication::exec();
}
