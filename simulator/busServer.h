#ifndef BUSSERVER_H
#define BUSSERVER_H

#include "simulator/busFaults.h"

#include <QHash>
#include <QObject>
#include <QSocketNotifier>

#include <memory>
#include <unordered_map>

class chip;
class eventLog;

/// Carries the transfers of opened buses, one SEQPACKET connection each, to the chips and their answers back,
/// by way of the faults. The messages are described in devmock.c.
class busServer : public QObject
{
    Q_OBJECT

public:
    /// \a log must outlive the server.
    explicit busServer(eventLog &log);
    ~busServer() override;

    /// False, with errno, when \a socketPath cannot be listened at.
    bool listen(const QString &socketPath);
    /// A bus exists once it has a chip; \a device must outlive the server.
    void attach(const QString &bus, int address, chip *device);
    bool hasBus(const QString &bus) const { return m_chips.contains(bus); }
    bool hasChip(const QString &bus, int address) const { return m_chips.value(bus).contains(address); }

    busFaults faults;

private:
    /// One open descriptor of the program.
    struct connection {
        int fd;
        QString bus;
        int address = -1;
        std::unique_ptr<QSocketNotifier> notifier;

        explicit connection(int fd)
            : fd(fd)
        {
        }
        ~connection();
    };
    struct answer {
        int result; // or -errno
        QByteArray bytes;
    };

    void accept();
    void receive(int fd);
    answer handle(connection &c, const QByteArray &message);
    answer openBus(connection &c, const QByteArray &name);
    answer select(connection &c, const QByteArray &argument);
    answer write(const connection &c, const QByteArray &bytes);
    answer read(const connection &c, const QByteArray &argument);
    void note(const connection &c, const char *what, const QByteArray &text) const;
    void reply(const std::shared_ptr<connection> &c, const answer &a) const;

    eventLog &m_log;
    QString m_path;
    int m_fd = -1;
    std::unique_ptr<QSocketNotifier> m_notifier;
    std::unordered_map<int, std::shared_ptr<connection>> m_connections; // by descriptor
    QHash<QString, QHash<int, chip *>> m_chips;
    QHash<QPair<QString, int>, int> m_selected; // register, by bus and address
};

#endif
