#ifndef COMMANDS_H
#define COMMANDS_H

#include <QByteArray>
#include <QObject>
#include <QStringList>

class simulation;

/// The simulator's command language, one line each; the same on its control socket and in script files.
class commands : public QObject
{
    Q_OBJECT

public:
    /// \a target must outlive the commands.
    explicit commands(simulation &target);

    /// Carries out one line; answers "ok", "ok VALUE..." or "error: what is wrong".
    QByteArray run(const QByteArray &line);
    /// Empty when \a line names a command and gives it enough words, else what is wrong.
    static QByteArray check(const QByteArray &line);
    /// All commands, a line each.
    static QByteArray help();

signals:
    void quitRequested();
    /// For the narrator.
    void said(QString text);

private:
    struct command {
        const char *name;
        int least; // words after the name
        int most;
        QByteArray (commands::*act)(const QStringList &words);
        const char *usage;
        const char *meaning;
    };
    static const command table[];
    static const command *find(const QString &name);

    QByteArray showHelp(const QStringList &);
    QByteArray setThermostat(const QStringList &words);
    QByteArray showPlant(const QStringList &);
    QByteArray getQuantity(const QStringList &words);
    QByteArray setQuantity(const QStringList &words);
    QByteArray fixQuantity(const QStringList &words);
    QByteArray releaseQuantity(const QStringList &words);
    QByteArray showRelays(const QStringList &);
    QByteArray setFault(const QStringList &words);
    QByteArray setReply(const QStringList &words);
    QByteArray setFile(const QStringList &words);
    QByteArray setLink(const QStringList &words);
    QByteArray usePin(const QStringList &words);
    QByteArray setSpeed(const QStringList &words);
    QByteArray showTime(const QStringList &);
    QByteArray say(const QStringList &words);
    QByteArray quit(const QStringList &);

    simulation &m_target;
};

#endif
