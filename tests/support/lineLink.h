#ifndef LINELINK_H
#define LINELINK_H

#include <QByteArray>
#include <QList>
#include <QLocalSocket>
#include <QString>

/// A text connection to the simulator or to the puppet: every command gets one answer; lines that begin with
/// "> " come unasked and are kept.
class lineLink
{
public:
    /// Tries until somebody listens at \a path.
    bool connectTo(const QString &path, int timeoutMs);
    /// Empty when the other end does not answer in time. An answer ends with its line, or, when
    /// \a untilDot, with a line that is a dot.
    QByteArray ask(const QByteArray &command, bool untilDot = false);
    /// Unasked lines without their mark, oldest first, since the connection was made.
    const QList<QByteArray> &events();

private:
    void take(QByteArray *answer);

    QLocalSocket m_socket;
    QList<QByteArray> m_events;
};

#endif
