#include "lib/communications/fileDebugClient.h"

#include "lib/support/childProcess.h"

#include <QFile>
#include <QLocale>

#include <cstdio>

namespace {
constexpr int uuidTail = 6; // characters of the UUID that tell components of one name apart

/// English month names whatever the language of the machine: the names are part of the format.
QString englishDate(const QDateTime &time, const QString &format)
{
    return QLocale::c().toString(time, format);
}
}

fileDebugClient::fileDebugClient(const QString &path, QObject *parent, const hostSystem &host)
    : debugClient(parent)
    , m_path(path)
    , m_host(host)
{
}

void fileDebugClient::registerComponent(const debugMessage &)
{
    childProcess mkdir;
    mkdir.start(QStringLiteral("mkdir"), {QStringLiteral("-p"), m_host.path(m_path)});
    mkdir.waitForFinished(-1);
}

void fileDebugClient::log(const debugMessage &m)
{
    if (!outputRequired(m))
        return;
    const QDateTime now = m_host.now();
    const QString fileName = m_path + englishDate(now, QStringLiteral("dd_MMM_yy")) + QStringLiteral(".log");
    QFile file(m_host.path(fileName));
    // Unbuffered: one message is one write, so lines of two threads never mix.
    if (!file.open(QIODevice::WriteOnly | QIODevice::Append | QIODevice::Unbuffered)) {
        std::printf("Could not append to \"%s\"\n", fileName.toLocal8Bit().constData());
        std::fflush(stdout);
        return;
    }
    QString name = m.componentName;
    name.replace(QLatin1Char(' '), QLatin1Char('_'));
    file.write(QStringLiteral("%1 %2[%3]:%4 %5\n")
                   .arg(englishDate(now, QStringLiteral("MMM dd hh:mm:ss")), name,
                       m.UUID.toString().right(uuidTail), QString::number(m.level), m.debugData)
                   .toLocal8Bit());
}
