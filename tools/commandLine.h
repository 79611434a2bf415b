#ifndef COMMANDLINE_H
#define COMMANDLINE_H

#include <QCommandLineParser>

/// Exit codes of the tools.
enum exitCode { exitFine = 0, exitFailed = 1, exitUsage = 2 };

/// What every tool is told: host, port and whether to connect only once.
struct commonOptions {
    QString host;
    quint16 port = 0;
    bool once = false;
};

/// Adds HOST, PORT, --once, --help and --version to \a line, reads the program's arguments and checks them.
/// Prints what is wrong and leaves with exitUsage; --help and --version leave with exitFine.
commonOptions readCommandLine(QCommandLineParser &line, quint16 usualPort);

#endif
