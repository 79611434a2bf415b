#include "simulator/elementPeer.h"

#include "simulator/named.h"

#include "lib/types/datastoreElementType.h"
#include "simulator/eventLog.h"
#include "simulator/plant.h"

#include <QFileInfo>
#include <QTcpSocket>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

namespace {
constexpr int defaultPeriodMs = 1000;
constexpr int pieceMs = 3;
constexpr int pieceSize = 7;         // ends anywhere in an element: in its start pair, in its length
constexpr qint64 mostUnsent = 65536; // bytes; a client that does not read gets no more
const char noiseBytes[] = "\x01\xff noise \xab"; // the last one looks like the beginning of a start pair

constexpr named<elementPeer::condition> peerConditions[] = {
    {"good", elementPeer::good},
    {"noise", elementPeer::noise},
    {"split", elementPeer::split},
    {"cut", elementPeer::cut},
    {"absent", elementPeer::absent},
};

/// A new pseudo-terminal's near end, that passes every byte as it is and never waits; -1, with errno.
int newTerminal()
{
    const int fd = ::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC | O_NONBLOCK);
    termios settings{};
    if (fd < 0)
        return fd;
    if (::grantpt(fd) == 0 && ::unlockpt(fd) == 0 && ::tcgetattr(fd, &settings) == 0) {
        ::cfmakeraw(&settings);
        if (::tcsetattr(fd, TCSANOW, &settings) == 0)
            return fd;
    }
    ::close(fd);
    return -1;
}
}

elementPeer::elementPeer(const QString &name, const plant &house, eventLog &log)
    : m_name(name)
    , m_house(house)
    , m_log(log)
{
    connect(&m_server, &QTcpServer::newConnection, this, &elementPeer::accept);
    connect(&m_rounds, &QTimer::timeout, this, &elementPeer::beginRound);
    connect(&m_pieces, &QTimer::timeout, this, &elementPeer::sendPiece);
    m_rounds.setTimerType(Qt::PreciseTimer);
    m_pieces.setTimerType(Qt::PreciseTimer);
    m_rounds.start(defaultPeriodMs);
}

elementPeer::~elementPeer()
{
    hangUp();
}

std::optional<elementPeer::condition> elementPeer::findCondition(const QString &name)
{
    return findNamed(peerConditions, name);
}

bool elementPeer::listenAt(quint16 port, QString *why)
{
    m_port = port;
    return plugIn(why);
}

bool elementPeer::makeTerminal(const QString &link, QString *why)
{
    m_link = link;
    return plugIn(why);
}

bool elementPeer::setCondition(condition c, QString *why)
{
    const bool returns = m_condition == absent && c != absent;
    if (returns && !plugIn(why))
        return false;
    if (c == absent)
        hangUp();
    m_condition = c;
    return true;
}

bool elementPeer::plugIn(QString *why)
{
    if (m_port == 0)
        return openTerminal(why);
    if (m_server.listen(QHostAddress::LocalHost, m_port))
        return true;
    *why = QStringLiteral("port %1: %2").arg(m_port).arg(m_server.errorString());
    return false;
}

bool elementPeer::openTerminal(QString *why)
{
    const int fd = newTerminal();
    const QByteArray device = fd < 0 ? QByteArray() : QByteArray(::ptsname(fd));
    // A link that an earlier run left behind is replaced; anything else in its place is not.
    const QByteArray link = QFile::encodeName(m_link);
    if (QFileInfo(m_link).isSymLink())
        ::unlink(link.constData());
    if (fd < 0 || ::symlink(device.constData(), link.constData()) != 0) {
        *why = QStringLiteral("%1: %2").arg(m_link, QString::fromLocal8Bit(std::strerror(errno)));
        if (fd >= 0)
            ::close(fd);
        return false;
    }
    m_terminal.open(fd, QIODevice::ReadWrite | QIODevice::Unbuffered, QFileDevice::AutoCloseHandle);
    m_lines.append(&m_terminal);
    m_log.event("link " + m_name.toLatin1() + " at " + link + ", " + device);
    return true;
}

void elementPeer::hangUp()
{
    m_pieces.stop();
    m_toSend.clear();
    m_server.close();
    for (QIODevice *line : QList<QIODevice *>(m_lines))
        line->close(); // a client's socket takes itself away
    m_lines.clear();
    if (m_port == 0 && QFileInfo(m_link).isSymLink())
        QFile::remove(m_link);
}

void elementPeer::accept()
{
    while (QTcpSocket *client = m_server.nextPendingConnection()) {
        client->setSocketOption(QAbstractSocket::LowDelayOption, 1);
        m_lines.append(client);
        m_log.event("link " + m_name.toLatin1() + " connected");
        connect(client, &QTcpSocket::readyRead, client, &QTcpSocket::readAll); // nothing is expected
        connect(client, &QTcpSocket::disconnected, this, [this, client] {
            m_lines.removeAll(client);
            m_log.event("link " + m_name.toLatin1() + " disconnected");
            client->deleteLater();
        });
    }
}

void elementPeer::beginRound()
{
    if (m_lines.isEmpty() || !m_toSend.isEmpty())
        return;
    for (const QByteArray &element : measure())
        m_toSend += spoiled(element);
    if (m_condition == split)
        m_pieces.start(pieceMs);
    else
        sendPiece();
}

QList<QByteArray> elementPeer::measure()
{
    const QList<QPair<const char *, QVariant>> values{
        {"Count", ++m_count},
        {"RoomTemperature", m_house.value(plant::roomTemperature)},
        {"TankTemperature", m_house.value(plant::tankTemperature)},
        {"OutsideTemperature", m_house.value(plant::outsideTemperature)},
        {"RoomCalls", m_house.roomCalls()},
    };
    QList<QByteArray> all;
    for (const auto &[key, value] : values)
        all.append(datastoreElementType(m_name + QLatin1String(key), value).serialise());
    return all;
}

QByteArray elementPeer::spoiled(QByteArray element)
{
    ++m_elements;
    if (m_condition == noise)
        element.prepend(noiseBytes);
    else if (m_condition == cut && m_elements % 3 == 0)
        element.truncate(element.size() / 2);
    return element;
}

/// Everything, or a piece on a link that splits.
void elementPeer::sendPiece()
{
    const QByteArray piece = m_condition == split ? m_toSend.left(pieceSize) : m_toSend;
    m_toSend.remove(0, piece.size());
    if (m_toSend.isEmpty())
        m_pieces.stop();
    for (QIODevice *line : qAsConst(m_lines)) {
        if (line->bytesToWrite() < mostUnsent)
            line->write(piece);
    }
}
