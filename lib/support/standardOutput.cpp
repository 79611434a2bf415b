#include "lib/support/standardOutput.h"

#include <cerrno>
#include <cstdio>
#include <mutex>

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {
constexpr int pieceSize = 4096; // bytes (PIPE_BUF); as much a pipe or socket takes without waiting, if any
constexpr int patienceMs = 5;   // for a reader that is only busy: bursts of lines are short

/// Standard output, while this lives without waiting: a terminal calls itself ready with room for one byte,
/// and then waits for the second. Put back at the end, for whoever shares it (the shell) expects it to wait.
class output
{
public:
    output()
    {
        struct stat kind = {};
        const bool isLine
            = ::fstat(STDOUT_FILENO, &kind) == 0 && (S_ISCHR(kind.st_mode) || S_ISFIFO(kind.st_mode));
        m_flags = isLine ? ::fcntl(STDOUT_FILENO, F_GETFL) : -1;
        if (m_flags >= 0)
            ::fcntl(STDOUT_FILENO, F_SETFL, m_flags | O_NONBLOCK);
    }
    ~output()
    {
        if (m_flags >= 0)
            ::fcntl(STDOUT_FILENO, F_SETFL, m_flags);
    }
    output(const output &) = delete;
    output &operator=(const output &) = delete;

    /// False when not all of it was taken.
    bool put(const QByteArray &text, int waitMs) const
    {
        for (int at = 0; at < text.size();) {
            if (!isReady(waitMs))
                return false;
            const ssize_t written
                = ::write(STDOUT_FILENO, text.constData() + at, size_t(qMin(pieceSize, text.size() - at)));
            if (written < 0 && errno == EAGAIN && waitMs-- > 0)
                ::poll(nullptr, 0, 1);
            else if (written < 0 && errno != EINTR)
                return false;
            at += int(qMax<ssize_t>(0, written));
        }
        return true;
    }

private:
    static bool isReady(int waitMs)
    {
        pollfd state{STDOUT_FILENO, POLLOUT, 0};
        int ready = -1;
        do { // the end of a child process may interrupt
            ready = ::poll(&state, 1, waitMs);
        } while (ready == -1 && errno == EINTR);
        return ready == 1 && state.revents == POLLOUT;
    }

    int m_flags = -1; // to put back
};
}

void printLine(const QByteArray &line)
{
    static std::mutex lock;
    static int lost = 0;
    const std::lock_guard guard(lock);
    std::fflush(stdout); // what others have printed comes first
    const output out;
    // Begins with a line feed: the last line may have been cut short.
    if (lost > 0
        && out.put('\n' + QByteArray::number(lost) + " lines were lost, the output was not read\n", 0))
        lost = 0;
    if (lost > 0 || !out.put(line, patienceMs))
        ++lost;
}
