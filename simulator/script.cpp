#include "simulator/script.h"

#include "simulator/commands.h"

#include <QFile>

namespace {
constexpr double msPerSecond = 1000.0;
const char againWord[] = "again";
}

script::script(commands &target)
    : m_target(target)
{
    m_timer.setSingleShot(true);
    m_timer.setTimerType(Qt::PreciseTimer);
    connect(&m_timer, &QTimer::timeout, this, &script::runNext);
}

bool script::load(const QString &path, QString *why)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        *why = QStringLiteral("%1: %2").arg(path, file.errorString());
        return false;
    }
    QByteArray wrong;
    for (int number = 1; !file.atEnd(); ++number) {
        if (!read(file.readLine(), &wrong)) {
            *why = QStringLiteral("%1:%2: %3").arg(path).arg(number).arg(QString::fromUtf8(wrong));
            return false;
        }
    }
    return true;
}

bool script::read(QByteArray line, QByteArray *wrong)
{
    if (line.contains('#'))
        line.truncate(line.indexOf('#'));
    line = line.simplified();
    if (line.isEmpty())
        return true;
    const int blank = line.indexOf(' ');
    const QByteArray time = line.left(blank);
    const QByteArray command = blank < 0 ? QByteArray() : line.mid(blank + 1);
    bool isNumber = false;
    const int ms = qRound(time.toDouble(&isNumber) * msPerSecond);
    const int before = m_entries.isEmpty() ? 0 : m_entries.last().atMs;
    const int at = time.startsWith('+') ? before + ms : ms;
    if (!isNumber || at < before) {
        *wrong = "error: \"" + time + "\" is no time after the one before";
        return false;
    }
    *wrong = command == againWord ? QByteArray() : commands::check(command);
    m_entries.append({at, command});
    return wrong->isEmpty();
}

void script::start()
{
    m_next = 0;
    m_reachedMs = 0;
    // What is due at once is done before anybody looks.
    while (m_next < m_entries.size() && m_entries[m_next].atMs == 0)
        runDue();
    scheduleNext();
}

void script::scheduleNext()
{
    if (m_next < m_entries.size())
        m_timer.start(m_entries[m_next].atMs - m_reachedMs);
}

void script::runNext()
{
    const entry &e = m_entries[m_next];
    if (e.command == againWord && e.atMs > 0) {
        start();
        return;
    }
    runDue();
    scheduleNext();
}

void script::runDue()
{
    const entry &e = m_entries[m_next++];
    m_reachedMs = e.atMs;
    const QByteArray answer = m_target.run(e.command);
    if (answer.startsWith("error"))
        emit failed(e.command, answer);
}
