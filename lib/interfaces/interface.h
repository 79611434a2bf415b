#ifndef INTERFACE_H
#define INTERFACE_H

#include "lib/support/hostSystem.h"

#include <QDomElement>
#include <QIODevice>
#include <QObject>
#include <QString>
#include <QVariant>

#include <atomic>
#include <memory>

class QTimer;
class datastore;
class debugComponent;
class powerControl;

/// One connection to a device: a serial line, a TCP client, a bus.
///
/// Publishes, with the prefix of the instrument that uses it, "commsState" (text: "Open", "Closed" or "Failed
/// to open") and "commsFail" (unsigned, write failures since the last successful open). A failed open is
/// tried again after m_reconnectTimeout, without end; more than m_maxFail failed writes close the device and
/// open it again after the same delay. Threads: constructed and configured on the display thread, where the
/// object stays. The first open() binds it to the thread it is called on: the timers and devices are made
/// there, every reopening runs there, and the signals are emitted there. Used by one instrument. Destroy it
/// on that thread or after that thread has ended.
class interface : public QObject
{
    Q_OBJECT

public:
    /// \a host must outlive the interface.
    explicit interface(const hostSystem &host = hostSystem::real());
    ~interface() override;

    QString type() const { return devType.toLower(); }
    /// As configured, case kept; instruments find their interface by it.
    QString name() const { return devName; }
    QString url() const { return m_url; }
    int speed() const { return m_speed; }
    bool isOpen() const;
    void close();

    /// Leads the results of the interface and of its power controller to the slot
    /// decoderResult(QString, QVariant) of \a owner.
    void attachSignals(QObject *owner);
    /// Starts the power controller on the calling thread, with the rules over \a store, if the configuration
    /// gave it a pin. Only the first call does: a second instrument must not touch a controller that runs on
    /// another's thread. Instruments call it at their start, before they open or grab the interface.
    void startPower(datastore *store);
    /// Reads the keys that all interfaces have, then those of the class.
    void configure(const QDomElement &element);
    /// Counts a failed write; past the limit the device is closed and opened again later.
    void incrementFailCount();

    virtual void configureInterface(const QDomElement &element);
    /// Native handle, -1 if there is none.
    virtual int handle();
    virtual bool canReturnHandle();
    /// Bytes written; 0 while closed; -1 is a failure, which counts.
    virtual qint64 write(const char *data, qint64 len);
    virtual qint64 write(const char *data);
    /// Kept: this one does not count failures.
    virtual qint64 write(const QByteArray &data);
    virtual bool waitForReadyRead(int msecs);
    virtual bool waitForBytesWritten(int msecs);
    virtual QByteArray readAll();
    /// The device's error text; without a device the last message that this interface logged.
    virtual QString errorString();

    std::unique_ptr<debugComponent> debug;
    std::unique_ptr<powerControl> power; ///< switches the device's supply

public slots:
    /// True on success. An empty \a mode reuses the last one.
    virtual bool open(QIODevice::OpenMode mode);
    /// Opens again in the last mode.
    bool open();

signals:
    void interfaceConnected();
    void readyRead();
    void resultAvailable(const QString &key, const QVariant &value);

protected:
    /// Makes reconnectTimer if there is none yet, with the delay that holds now.
    void prepareReconnectTimer();
    /// Makes a timer of \a intervalMs on the calling thread that opens again there; it stops with the thread.
    std::unique_ptr<QTimer> makeReopenTimer(quint32 intervalMs);
    /// Passes the readyRead() of \a device on as this interface's own, on the device's thread.
    void forwardReadyRead(QIODevice *device);
    /// What follows a successful open: counter to 0, signals passed on, state published.
    void announceOpen();
    /// m_reconnectTimeout as a number of seconds for messages.
    QString reconnectSeconds() const;
    bool streamIsOpen() const { return stream && stream->isOpen(); }

    const hostSystem &m_host;
    QIODevice *stream = nullptr; // owned by the class that sets it; null for a bus
    QIODevice::OpenMode m_mode = QIODevice::ReadWrite;
    QString devType = QStringLiteral("Generic");
    QString devName = QStringLiteral("Interface");
    QString m_url;
    std::unique_ptr<QTimer> reconnectTimer; // of the opening thread; null before the first open
    int m_speed = 0;                        // for information, e.g. baud
    quint32 m_reconnectTimeout = 30000;     // ms
    quint32 m_maxFail = 10;                 // write failures tolerated
    quint32 m_failCounter = 0;              // write failures since the last successful open

private:
    std::atomic<bool> m_powerStarted{false};
};

#endif
