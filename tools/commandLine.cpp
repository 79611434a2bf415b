#include "tools/commandLine.h"

#include <QCoreApplication>

#include <cstdio>
#include <cstdlib>

namespace {
[[noreturn]] void refuse(const QString &what)
{
    std::fprintf(
        stderr, "%s: %s (see --help)\n", qPrintable(QCoreApplication::applicationName()), qPrintable(what));
    std::exit(exitUsage);
}
}

commonOptions readCommandLine(QCommandLineParser &line, quint16 usualPort)
{
    const QCommandLineOption once(
        QStringLiteral("once"), QStringLiteral("End when the connection ends, instead of connecting again."));
    line.addOption(once);
    line.addHelpOption();
    line.addVersionOption();
    line.addPositionalArgument(QStringLiteral("HOST"), QStringLiteral("The controller's name or address."));
    line.addPositionalArgument(QStringLiteral("PORT"),
        usualPort == 0 ? QStringLiteral("The port of its stream.")
                       : QStringLiteral("The port of its stream, %1 by default.").arg(usualPort),
        usualPort == 0 ? QString() : QStringLiteral("[PORT]"));
    if (!line.parse(QCoreApplication::arguments()))
        refuse(line.errorText());
    line.process(*QCoreApplication::instance()); // leaves for --help and --version

    const QStringList given = line.positionalArguments();
    if (given.isEmpty() || given.size() > 2 || (given.size() == 1 && usualPort == 0))
        refuse(QStringLiteral("give a host and a port"));
    commonOptions options;
    options.host = given[0];
    bool isPort = true;
    options.port = given.size() == 2 ? given[1].toUShort(&isPort) : usualPort;
    if (!isPort || options.port == 0)
        refuse(QStringLiteral("'%1' is no port from 1 to 65535").arg(given.last()));
    options.once = line.isSet(once);
    return options;
}
