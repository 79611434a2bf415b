#ifndef RAWCLIENT_H
#define RAWCLIENT_H

#include <QByteArray>
#include <QtTest>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

/// A TCP client without Qt: it reads only when it is told to, and knows nothing of our encoders.
class rawClient
{
public:
    explicit rawClient(int port)
        : m_fd(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        sockaddr_in to{};
        to.sin_family = AF_INET;
        to.sin_port = htons(quint16(port));
        to.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        if (::connect(m_fd, reinterpret_cast<sockaddr *>(&to), sizeof to) != 0)
            end();
    }
    rawClient(rawClient &&other) noexcept
        : m_fd(std::exchange(other.m_fd, -1))
        , received(std::move(other.received))
    {
    }
    ~rawClient() { end(); }

    bool connected() const { return m_fd != -1; }
    void end()
    {
        if (m_fd != -1)
            ::close(std::exchange(m_fd, -1));
    }
    /// Goes with a reset instead of a farewell.
    void reset()
    {
        const linger now{1, 0};
        ::setsockopt(m_fd, SOL_SOCKET, SO_LINGER, &now, sizeof now);
        end();
    }
    void say(const QByteArray &bytes)
    {
        ::send(m_fd, bytes.constData(), size_t(bytes.size()), MSG_NOSIGNAL | MSG_DONTWAIT);
    }
    void stopSending() { ::shutdown(m_fd, SHUT_WR); }
    /// Takes what has come in, turning the event loop until there are \a atLeast bytes in all.
    QByteArray read(int atLeast)
    {
        // Who gets less than he waits for sees that in the bytes.
        static_cast<void>(QTest::qWaitFor([&] { return take(), received.size() >= atLeast || m_closed; }));
        return received;
    }
    /// Whether the other side has closed; waits for it.
    bool closedByPeer()
    {
        return QTest::qWaitFor([&] { return take(), m_closed; });
    }

private:
    void take()
    {
        char bytes[65536];
        ssize_t got = 0;
        while ((got = ::recv(m_fd, bytes, sizeof bytes, MSG_DONTWAIT)) > 0)
            received.append(bytes, int(got));
        m_closed = m_closed || got == 0 || (errno != EAGAIN && errno != EINTR);
    }

    int m_fd;
    bool m_closed = false;

public:
    QByteArray received;
};

#endif
