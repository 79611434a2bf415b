#ifndef SCRIPT_H
#define SCRIPT_H

#include <QList>
#include <QObject>
#include <QTimer>

class commands;

/// Commands with their times: lines "SECONDS COMMAND..." since the start, or "+SECONDS COMMAND..." since the
/// line before; # begins a comment. "SECONDS again" starts the script over.
class script : public QObject
{
    Q_OBJECT

public:
    /// \a target must outlive the script.
    explicit script(commands &target);

    /// False, with the place and the reason, when a line cannot be understood; nothing is run then.
    bool load(const QString &path, QString *why);
    /// Runs what is due at 0 at once, the rest in its time.
    void start();

signals:
    /// A command was refused when its time came.
    void failed(QByteArray line, QByteArray answer);

private:
    struct entry {
        int atMs;
        QByteArray command;
    };

    bool read(QByteArray line, QByteArray *wrong);
    void scheduleNext();
    void runNext();
    void runDue();

    commands &m_target;
    QList<entry> m_entries;
    QTimer m_timer;
    int m_next = 0;
    int m_reachedMs = 0;
};

#endif
