#include "lib/interfaces/tcpInterface.h"

#include "lib/communications/componentTypes.h"
#include "lib/communications/debugComponent.h"
#include "lib/support/configKeys.h"

#include <QTcpSocket>
#include <QThread>
#include <QTimer>

tcpInterface::tcpInterface(const hostSystem &host)
    : interface(host)
{
    devType = QStringLiteral("TCP");
    devName = QStringLiteral("TCPInterface");
    debug->configure(QStringLiteral("TCP/IP Interface"), componentTypes::tcpInterface);
}

tcpInterface::~tcpInterface() = default;

void tcpInterface::configureInterface(const QDomElement &element)
{
    // Kept: connectTimeout and reconnectTimeout have capitals and so never matched a lower-cased tag; both
    // delays are 5 s whatever the file says.
    readKeys(element,
        {
            {"mode", [this](const QDomElement &key) { readMode(key); }},
            {"ip", into(IP)},
            {"port", into(port)},
        });
}

void tcpInterface::readMode(const QDomElement &key)
{
    const QString text = key.text().toLower();
    if (text == QLatin1String("client"))
        tcpMode = client;
    else if (text == QLatin1String("server"))
        tcpMode = server;
}

int tcpInterface::handle()
{
    return -1;
}

bool tcpInterface::canReturnHandle()
{
    return false;
}

bool tcpInterface::open(QIODevice::OpenMode mode)
{
    debug->log(QStringLiteral("Attempting to open TCP connection."));
    if (mode)
        m_mode = mode;
    if (tcpMode == unknown)
        debug->log(QStringLiteral("No interface mode specified, cannot open a port."));
    return tcpMode == client && connectToServer();
}

bool tcpInterface::connectToServer()
{
    if (!skt)
        createSocket();
    if (skt->state() != QAbstractSocket::UnconnectedState)
        return true;
    debug->log(QStringLiteral("Attempting to connect to %1:%2").arg(IP, QString::number(port)));
    skt->connectToHost(IP, quint16(port), QIODevice::ReadWrite, QAbstractSocket::AnyIPProtocol);
    if (!skt->waitForConnected(connectTimeout)) {
        debug->log(QStringLiteral("Failed to connect"));
        dropSocket();
        startReconnectTimer();
        return false;
    }
    debug->log(QStringLiteral("Connection established"));
    m_failCounter = 0;
    stream = skt.get();
    forwardReadyRead(stream);
    emit interfaceConnected();
    return true;
}

void tcpInterface::createSocket()
{
    skt = std::make_unique<QTcpSocket>();
    // A dropped connection counts as closed; Qt itself would leave the device open.
    connect(skt.get(), &QTcpSocket::disconnected, skt.get(), &QTcpSocket::close);
    connect(QThread::currentThread(), &QThread::finished, skt.get(), &QTcpSocket::abort);
}

void tcpInterface::dropSocket()
{
    if (stream == skt.get())
        stream = nullptr;
    skt.reset();
}

void tcpInterface::startReconnectTimer()
{
    if (!reconnectTimer)
        reconnectTimer = makeReopenTimer(quint32(reconnectTimeout));
    reconnectTimer->start();
}

void tcpInterface::socketError(QAbstractSocket::SocketError error)
{
    debug->log(error);
    startReconnectTimer();
}

void tcpInterface::socketDisconnected()
{
    debug->log(QStringLiteral("Socket Disconnected"));
    startReconnectTimer();
}
