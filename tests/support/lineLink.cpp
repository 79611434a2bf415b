#include "tests/support/lineLink.h"

#include <QElapsedTimer>
#include <QTest>

namespace {
constexpr int answerTimeoutMs = 30000;
}

bool lineLink::connectTo(const QString &path, int timeoutMs)
{
    return QTest::qWaitFor(
        [&] {
            m_socket.connectToServer(path);
            return m_socket.waitForConnected(100);
        },
        timeoutMs);
}

QByteArray lineLink::ask(const QByteArray &command, bool untilDot)
{
    QByteArray answer;
    m_socket.write(command + '\n');
    m_socket.flush();
    QElapsedTimer clock;
    clock.start();
    while (clock.elapsed() < answerTimeoutMs) {
        take(&answer);
        if (untilDot ? answer.endsWith("\n.\n") : answer.endsWith('\n'))
            return answer.chopped(1);
        m_socket.waitForReadyRead(answerTimeoutMs);
    }
    return {};
}

const QList<QByteArray> &lineLink::events()
{
    m_socket.waitForReadyRead(0);
    take(nullptr);
    return m_events;
}

void lineLink::take(QByteArray *answer)
{
    while (m_socket.canReadLine()) {
        const QByteArray line = m_socket.readLine();
        if (line.startsWith("> "))
            m_events.append(line.mid(2).trimmed());
        else if (answer)
            answer->append(line);
    }
}
