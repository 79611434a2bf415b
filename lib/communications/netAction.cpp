#include "lib/communications/netAction.h"

#include "lib/communications/debugComponent.h"
#include "lib/communications/netActionPlaces.h"

#include <QFile>

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <utility>

namespace {
constexpr int startLevel = 1;
constexpr qint64 stallSeconds = 180; // a request that runs longer is taken for lost
constexpr int removeLimitMs = 5000;
constexpr qint64 answerLimit = 64LL * 1024; // bytes of each of curl's outputs that are kept for the log
constexpr int endLimitMs = 1000;            // for a killed process, when the whole queue goes
}

netAction::netAction(const netActionInfo &info, unsigned int index, debugComponent *debug, QObject *parent,
    netActionPlaces *places, const hostSystem &host)
    : QObject(parent)
    , m_host(host)
    , m_places(places)
    , index(index)
    , info(info)
    , debug(debug)
    , started(host.now())
{
    using finishedSignal = void (QProcess::*)(int, QProcess::ExitStatus);
    connect(&upload, static_cast<finishedSignal>(&QProcess::finished), this, &netAction::actionFinished);
    connect(&upload, &QProcess::errorOccurred, this, &netAction::processFailed);
    connect(&upload, &QProcess::readyReadStandardOutput, this, [this] { trim(QProcess::StandardOutput); });
    connect(&upload, &QProcess::readyReadStandardError, this, [this] { trim(QProcess::StandardError); });
    connect(&m_remove, static_cast<finishedSignal>(&QProcess::finished), this, &netAction::fileRemoved);
    connect(&m_remove, &QProcess::errorOccurred, this, [this](QProcess::ProcessError error) {
        if (error == QProcess::FailedToStart)
            fileRemoved();
    });
    m_removeLimit.setSingleShot(true);
    connect(&m_removeLimit, &QTimer::timeout, &m_remove, &QProcess::kill);
}

netAction::~netAction()
{
    if (m_places)
        m_places->stopWaiting(this);
    for (childProcess *process : {&upload, &m_remove}) {
        process->disconnect(this);
        if (process->state() == QProcess::NotRunning)
            continue;
        process->kill();
        process->waitForFinished(endLimitMs);
    }
    leavePlace();
    if (m_fileIsThere)
        QFile::remove(fileName());
}

QString netAction::fileName() const
{
    return m_host.path(QStringLiteral("/tmp/data%1.json").arg(index));
}

void netAction::doAction()
{
    debug->log(QStringLiteral("Executing action %1").arg(index));
    if (isRunning()) {
        handleRunning();
        return;
    }
    if (info.requestType != QLatin1String("post")) {
        debug->log(QStringLiteral("Action %1 - Unknown action type - will be removed from queue").arg(index));
        unknownType = true;
        return;
    }
    if (m_delivered)
        debug->log(QStringLiteral("Already completed without error"));
    else
        requestStart();
}

void netAction::handleRunning()
{
    started = std::min(started, m_host.now()); // the clock may have been set back since
    if (started.secsTo(m_host.now()) <= stallSeconds) {
        debug->log(QStringLiteral("Already running"));
        return;
    }
    debug->log(QStringLiteral("Request has been running for over 180 seconds"));
    debug->log(QStringLiteral("Deleting existing request..."));
    m_startAgain = true; // by actionFinished(): a process that still runs cannot be started
    upload.kill();
    debug->log(QStringLiteral("Request will be resubmitted."));
}

void netAction::requestStart()
{
    if (m_places && !m_places->take(this))
        return;
    startUpload();
}

void netAction::startUpload()
{
    m_holdsPlace = true;
    debug->log(QStringLiteral("Starting action"), startLevel);
    if (writeBody()) {
        QStringList arguments{QStringLiteral("-d"), QLatin1Char('@') + fileName()};
        // An address that is not there is no argument; curl then says so.
        if (const QString address = info.URI.trimmed(); !address.isEmpty())
            arguments << address;
        arguments << QStringLiteral("--header") << QStringLiteral("Content-Type:application/json");
        upload.start(QStringLiteral("curl"), arguments, QIODevice::ReadWrite);
    } else {
        leavePlace(); // the next send tick tries again
    }
    started = m_host.now();
    debug->log(QStringLiteral("Action started"), debugComponent::detailLevel);
}

bool netAction::writeBody()
{
    const QByteArray name = QFile::encodeName(fileName());
    // /tmp is everybody's and the names are no secret. Only a file that was not there before is sure to be
    // ours alone: no link to elsewhere, nobody else's descriptor on it.
    ::unlink(name.constData());
    const int fd = ::open(name.constData(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (fd == -1)
        return false;
    m_fileIsThere = true;
    QFile file;
    file.open(fd, QIODevice::WriteOnly | QIODevice::Unbuffered, QFileDevice::AutoCloseHandle);
    if (file.write(info.msgData) == info.msgData.size())
        return true;
    debug->log(
        QStringLiteral("Action %1 could not be written: %2").arg(QString::number(index), file.errorString()));
    return false;
}

/// Keeps the end of what curl has printed. A server may answer with more than the memory holds.
void netAction::trim(QProcess::ProcessChannel output)
{
    upload.setReadChannel(output);
    if (const qint64 excess = upload.bytesAvailable() - answerLimit; excess > 0)
        upload.skip(excess);
}

void netAction::processFailed(QProcess::ProcessError error)
{
    if (error != QProcess::FailedToStart)
        return; // any other way to fail ends the process, which reports that itself
    debug->log(QStringLiteral("Action %1 could not be started: %2")
                   .arg(QString::number(index), upload.errorString()));
    leavePlace();
}

void netAction::actionFinished()
{
    const int exitCode = upload.exitCode();
    debug->log(QStringLiteral("Action %1 completed with return code %2.").arg(index).arg(exitCode));
    debug->log((exitCode != 0 ? QStringLiteral("Action %1 failed")
                              : QStringLiteral("Action %1 completed successfully."))
                   .arg(index));
    debug->logStdOut(&upload, debugComponent::detailLevel);
    debug->logStdErr(&upload, debugComponent::detailLevel);
    upload.close(); // gives its buffers back: a message may wait for weeks
    const bool startAgain = std::exchange(m_startAgain, false);
    if (exitCode == 0) {
        removeFile();
        return;
    }
    leavePlace();
    if (startAgain)
        requestStart(); // behind those who wait, or eight dead connections would keep all others out
}

void netAction::removeFile()
{
    m_delivered = true;
    m_remove.start(QStringLiteral("rm"), {fileName()});
    m_removeLimit.start(removeLimitMs);
}

void netAction::fileRemoved()
{
    m_removeLimit.stop();
    m_fileIsThere = false;
    QFile::remove(fileName()); // rm may be missing, or have been stopped; what is delivered must not stay
    m_completeOK = true;
    leavePlace();
    emit finished();
}

void netAction::leavePlace()
{
    if (std::exchange(m_holdsPlace, false) && m_places)
        m_places->giveBack();
}
