#ifndef GPIOPINS_H
#define GPIOPINS_H

#include <QHash>
#include <QObject>
#include <QSocketNotifier>
#include <QString>

#include <memory>
#include <optional>

class eventLog;

/// The kernel's GPIO folders as plain files under one root. Pins exist from the start, since nobody could
/// make one between the controller's write to "export" and its next call. What the controller writes is
/// watched by inotify and logged as events: "gpio 17 direction out", "gpio 17 value 1".
class gpioPins : public QObject
{
    Q_OBJECT

public:
    static constexpr int count = 32;

    /// \a log must outlive the pins.
    gpioPins(const QString &root, eventLog &log);
    ~gpioPins() override;

    /// Makes the folders; false, with errno, when the kernel offers no watches.
    bool build();

    /// "0" or "1" and so on, as it stands in the file; nothing for a pin that does not exist.
    std::optional<QByteArray> value(int pin) const;
    /// Drives an input from outside; false when there is no such pin.
    bool drive(int pin, bool level);
    bool add(int pin);
    bool remove(int pin);

private:
    QString folder(int pin) const;
    void readChanges();
    void report(int pin, const QByteArray &name);

    QString m_root;
    eventLog &m_log;
    int m_inotify = -1;
    std::unique_ptr<QSocketNotifier> m_notifier;
    QHash<int, int> m_pins; // by watch descriptor
};

#endif
