#include "simulator/busServer.h"

#include "simulator/chip.h"
#include "simulator/eventLog.h"

#include <QFile>
#include <QTimer>

#include <cerrno>

#include <sys/socket.h>
#include <sys/uio.h>
#include <sys/un.h>
#include <unistd.h>

namespace {
constexpr int maxMessage = 1024;

QByteArray hex(const QByteArray &bytes)
{
    return bytes.toHex(' ');
}

/// A 16-bit number in host byte order, or 0 for a message cut short.
quint16 number(const QByteArray &argument)
{
    quint16 n = 0;
    if (argument.size() >= int(sizeof n))
        memcpy(&n, argument.constData(), sizeof n);
    return n;
}

QByteArray failed(int error)
{
    return " failed " + QByteArray::number(error);
}
}

busServer::connection::~connection()
{
    notifier.reset();
    ::close(fd);
}

busServer::busServer(eventLog &log)
    : m_log(log)
{
}

busServer::~busServer()
{
    m_notifier.reset();
    if (m_fd < 0)
        return;
    ::close(m_fd);
    QFile::remove(m_path);
}

bool busServer::listen(const QString &socketPath)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const QByteArray name = QFile::encodeName(socketPath);
    if (name.size() >= int(sizeof address.sun_path)) {
        errno = ENAMETOOLONG;
        return false;
    }
    memcpy(address.sun_path, name.constData(), std::size_t(name.size()));
    m_path = socketPath;
    QFile::remove(socketPath);
    m_fd = ::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (m_fd < 0 || ::bind(m_fd, reinterpret_cast<sockaddr *>(&address), sizeof address) < 0
        || ::listen(m_fd, SOMAXCONN) < 0)
        return false;
    m_notifier = std::make_unique<QSocketNotifier>(m_fd, QSocketNotifier::Read);
    connect(m_notifier.get(), &QSocketNotifier::activated, this, &busServer::accept);
    return true;
}

void busServer::attach(const QString &bus, int address, chip *device)
{
    m_chips[bus].insert(address, device);
}

void busServer::accept()
{
    const int fd = ::accept4(m_fd, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
    if (fd < 0)
        return;
    const auto c = std::make_shared<connection>(fd);
    c->notifier = std::make_unique<QSocketNotifier>(fd, QSocketNotifier::Read);
    connect(c->notifier.get(), &QSocketNotifier::activated, this, [this, fd] { receive(fd); });
    m_connections.emplace(fd, c);
}

void busServer::receive(int fd)
{
    const std::shared_ptr<connection> c = m_connections.at(fd);
    QByteArray message(maxMessage, Qt::Uninitialized);
    const ssize_t n = ::recv(fd, message.data(), std::size_t(message.size()), 0);
    if (n < 0 && (errno == EAGAIN || errno == EINTR))
        return;
    if (n <= 0) {
        // The notifier is the caller: it goes when this call is over, the descriptor when no answer is under
        // way.
        c->notifier->setEnabled(false);
        c->notifier.release()->deleteLater();
        m_connections.erase(fd);
        return;
    }
    message.truncate(int(n));
    const bool isTransfer = message[0] == 'W' || message[0] == 'R';
    const int delay = isTransfer ? faults.delayMs(c->bus, c->address) : 0;
    const answer a = handle(*c, message);
    if (delay == 0)
        reply(c, a);
    else
        QTimer::singleShot(delay, Qt::PreciseTimer, this, [this, c, a] { reply(c, a); });
}

busServer::answer busServer::handle(connection &c, const QByteArray &message)
{
    const QByteArray argument = message.mid(1);
    switch (message[0]) {
    case 'O':
        return openBus(c, argument);
    case 'A':
        return select(c, argument);
    case 'W':
        return write(c, argument);
    case 'R':
        return read(c, argument);
    default:
        return {-EINVAL, {}};
    }
}

busServer::answer busServer::openBus(connection &c, const QByteArray &name)
{
    c.bus = QString::fromLatin1(name);
    const bool exists = hasBus(c.bus) && !faults.isAbsent(c.bus);
    if (m_log.wantsTransfers())
        m_log.transfer(name + (exists ? " open" : " open" + failed(ENOENT)));
    return {exists ? 0 : -ENOENT, {}};
}

busServer::answer busServer::select(connection &c, const QByteArray &argument)
{
    c.address = number(argument);
    // As with the kernel, choosing an address moves nothing on the wire: an absent chip shows at the
    // transfer.
    return {-faults.selectFailure(c.bus, c.address), {}};
}

busServer::answer busServer::write(const connection &c, const QByteArray &bytes)
{
    chip *device = m_chips.value(c.bus).value(c.address);
    const int error = device ? faults.transferFailure(c.bus, c.address) : EREMOTEIO;
    const int result = error ? -error : device->write(bytes);
    if (result > 0)
        m_selected[{c.bus, c.address}] = quint8(bytes[0]);
    note(c, " write ", hex(bytes) + (result < 0 ? failed(-result) : QByteArray()));
    return {result, {}};
}

busServer::answer busServer::read(const connection &c, const QByteArray &argument)
{
    chip *device = m_chips.value(c.bus).value(c.address);
    const int error = device ? faults.transferFailure(c.bus, c.address) : EREMOTEIO;
    QByteArray bytes;
    if (!error) {
        const int reg = m_selected.value({c.bus, c.address});
        bytes = faults.spoil(c.bus, c.address, reg, device->read(number(argument)));
    }
    note(c, " read ", error ? failed(error).mid(1) : hex(bytes));
    return {error ? -error : bytes.size(), bytes};
}

void busServer::note(const connection &c, const char *what, const QByteArray &text) const
{
    if (m_log.wantsTransfers())
        m_log.transfer(c.bus.toLatin1() + " 0x" + QByteArray::number(c.address, 16) + what + text);
}

void busServer::reply(const std::shared_ptr<connection> &c, const answer &a) const
{
    qint32 result = a.result;
    QByteArray bytes = a.bytes;
    iovec parts[2] = {{&result, sizeof result}, {bytes.data(), std::size_t(bytes.size())}};
    msghdr message{};
    message.msg_iov = parts;
    message.msg_iovlen = 2;
    // A program that has gone away needs no answer.
    (void)::sendmsg(c->fd, &message, MSG_NOSIGNAL | MSG_DONTWAIT);
}
