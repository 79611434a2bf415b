#ifndef EVENTLOG_H
#define EVENTLOG_H

#include <QElapsedTimer>
#include <QFile>
#include <QObject>

/// Everything that happens to the simulated devices, one line each: seconds since the simulator's start on
/// the monotonic clock, then what happened. Goes to a file, when one is opened, and to whoever listens.
class eventLog : public QObject
{
    Q_OBJECT

public:
    eventLog() { m_clock.start(); }

    /// Appends every line to \a path; false when it cannot be opened.
    bool open(const QString &path);
    double seconds() const { return double(m_clock.nsecsElapsed()) / 1e9; }

    /// Whether anybody looks at transfers; there are thousands a second, and each text costs time.
    bool wantsTransfers() const { return m_file.isOpen() || transferReaders > 0; }
    int transferReaders = 0; ///< listeners that want transfers

    void transfer(const QByteArray &text) { add(text, true); }
    /// A change that somebody may wait for: a relay, a pin, a command.
    void event(const QByteArray &text) { add(text, false); }

signals:
    void added(QByteArray line, bool isTransfer);

private:
    void add(const QByteArray &text, bool isTransfer);

    QElapsedTimer m_clock;
    QFile m_file;
};

#endif
