#include "lib/interfaces/interface.h"

#include "lib/communications/debugComponent.h"
#include "lib/support/configKeys.h"
#include "lib/support/powerControl.h"

#include <QMetaMethod>
#include <QThread>
#include <QTimer>

#include <limits>

namespace {
constexpr double msPerSecond = 1000.0;

const QString commsState = QStringLiteral("commsState");
const QString commsFail = QStringLiteral("commsFail");

QMetaMethod slotOf(const QObject *owner, const char *signature)
{
    const QMetaObject *const meta = owner->metaObject();
    return meta->method(meta->indexOfSlot(signature));
}
}

interface::interface(const hostSystem &host)
    : debug(std::make_unique<debugComponent>())
    , power(std::make_unique<powerControl>(nullptr, host))
    , m_host(host)
{
    debug->addChild(power->debug.get());
}

interface::~interface() = default;

bool interface::isOpen() const
{
    return streamIsOpen();
}

void interface::close()
{
    if (stream)
        stream->close();
    emit resultAvailable(commsState, QStringLiteral("Closed"));
}

void interface::attachSignals(QObject *owner)
{
    // Instruments stand above interfaces, so their slot is known here by its name only.
    const QMetaMethod result = slotOf(owner, "decoderResult(QString,QVariant)");
    if (!result.isValid())
        return;
    connect(power.get(), QMetaMethod::fromSignal(&powerControl::resultAvailable), owner, result);
    connect(this, QMetaMethod::fromSignal(&interface::resultAvailable), owner, result);
}

void interface::startPower(datastore *store)
{
    if (!power->hasPin() || m_powerStarted.exchange(true))
        return;
    power->setDataStore(store);
    power->start();
}

void interface::configure(const QDomElement &element)
{
    readKeys(element,
        {
            {"name", into(devName)},
            {"power", [this](const QDomElement &block) { power->configure(block); }},
            {"maxfailures", into(m_maxFail)},
            // Kept: "reconnent" is the key's spelling in configuration files.
            {"reconnent", into(m_reconnectTimeout)},
        });
    configureInterface(element);
}

void interface::incrementFailCount()
{
    ++m_failCounter;
    emit resultAvailable(commsFail, m_failCounter);
    if (m_failCounter <= m_maxFail)
        return;
    debug->log(QStringLiteral("Number of acceptable comms failures exceeded, re-opening device"));
    close();
    prepareReconnectTimer();
    reconnectTimer->start();
}

void interface::configureInterface(const QDomElement &)
{
}

int interface::handle()
{
    return -1;
}

bool interface::canReturnHandle()
{
    return false;
}

qint64 interface::write(const char *data, qint64 len)
{
    if (!streamIsOpen())
        return 0;
    const qint64 written = stream->write(data, len);
    if (written == -1)
        incrementFailCount();
    return written;
}

qint64 interface::write(const char *data)
{
    return write(data, qint64(qstrlen(data)));
}

qint64 interface::write(const QByteArray &data)
{
    return streamIsOpen() ? stream->write(data) : 0;
}

bool interface::waitForReadyRead(int msecs)
{
    return streamIsOpen() && stream->waitForReadyRead(msecs);
}

bool interface::waitForBytesWritten(int msecs)
{
    return streamIsOpen() && stream->waitForBytesWritten(msecs);
}

QByteArray interface::readAll()
{
    return streamIsOpen() ? stream->readAll() : QByteArray();
}

QString interface::errorString()
{
    return stream ? stream->errorString() : debug->lastLog();
}

bool interface::open(QIODevice::OpenMode mode)
{
    if (mode)
        m_mode = mode;
    prepareReconnectTimer();
    if (!stream)
        return false;
    if (!stream->open(m_mode)) {
        emit resultAvailable(commsState, QStringLiteral("Failed to open"));
        debug->log(
            QStringLiteral("Failed to open interface. Will try again in %1 seconds").arg(reconnectSeconds()));
        reconnectTimer->start();
        return false;
    }
    announceOpen();
    return true;
}

bool interface::open()
{
    return open(QIODevice::OpenMode());
}

void interface::prepareReconnectTimer()
{
    if (!reconnectTimer)
        reconnectTimer = makeReopenTimer(m_reconnectTimeout);
}

std::unique_ptr<QTimer> interface::makeReopenTimer(quint32 intervalMs)
{
    auto timer = std::make_unique<QTimer>();
    timer->setInterval(int(qMin(intervalMs, quint32(std::numeric_limits<int>::max()))));
    timer->setSingleShot(true);
    // The timer is the context, not the interface, which lives on another thread: a device must be opened
    // where it is used.
    connect(timer.get(), &QTimer::timeout, timer.get(), [this] { open(); });
    connect(QThread::currentThread(), &QThread::finished, timer.get(), &QTimer::stop);
    return timer;
}

void interface::forwardReadyRead(QIODevice *device)
{
    // A reopened device is connected already.
    constexpr auto onceDirect = Qt::ConnectionType(Qt::DirectConnection | Qt::UniqueConnection);
    connect(device, &QIODevice::readyRead, this, &interface::readyRead, onceDirect);
}

void interface::announceOpen()
{
    m_failCounter = 0;
    forwardReadyRead(stream);
    emit interfaceConnected();
    emit resultAvailable(commsState, QStringLiteral("Open"));
    emit resultAvailable(commsFail, m_failCounter);
}

QString interface::reconnectSeconds() const
{
    return QString::number(m_reconnectTimeout / msPerSecond);
}
