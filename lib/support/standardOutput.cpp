#include "lib/support/standardOutput.h"

#include <cerrno>
#include <cstdio>
#include <mutex>

#include <poll.h>
#include <unistd.h>

namespace {
constexpr int pieceSize = 4096; // bytes (PIPE_BUF); what is ready at all takes as much without waiting
constexpr int patienceMs = 5;   // for a reader that is only busy: bursts of lines are short

bool isReady(int waitMs)
{
    pollfd output{STDOUT_FILENO, POLLOUT, 0};
    return ::poll(&output, 1, waitMs) == 1 && output.revents == POLLOUT;
}

/// False when the output has not taken all of it.
bool put(const QByteArray &text, int waitMs)
{
    for (int at = 0; at < text.size();) {
        if (!isReady(waitMs))
            return false;
        const ssize_t written
            = ::write(STDOUT_FILENO, text.constData() + at, size_t(qMin(pieceSize, text.size() - at)));
        if (written < 0 && errno != EINTR)
            return false;
        at += int(qMax<ssize_t>(0, written));
    }
    return true;
}
}

void printLine(const QByteArray &line)
{
    static std::mutex lock;
    static int lost = 0;
    const std::lock_guard guard(lock);
    std::fflush(stdout); // what others have printed comes first
    if (lost > 0 && put(QByteArray::number(lost) + " lines were lost, the output was not read\n", 0))
        lost = 0;
    if (lost > 0 || !put(line, patienceMs))
        ++lost;
}
