#ifndef PUBLISHEDVALUES_H
#define PUBLISHEDVALUES_H

#include "lib/types/datastoreElementType.h"

#include <QElapsedTimer>
#include <QHash>
#include <QList>
#include <QTcpSocket>

/// Everything that a running controller publishes, as its TCP sampler in push mode passes it on.
class publishedValues
{
public:
    publishedValues() { m_clock.start(); }

    /// Tries until somebody listens.
    bool connectTo(quint16 port, int timeoutMs);
    /// How many values of \a key have come.
    int count(const QString &key);
    /// The values of \a key so far, in order.
    const QList<QVariant> &all(const QString &key);
    /// When each of them came, in ms on the clock of now(). Exact to how often somebody looks.
    const QList<qint64> &times(const QString &key);
    qint64 now() const { return m_clock.elapsed(); }
    /// The latest of \a key; invalid before the first.
    QVariant last(const QString &key);
    /// Bytes that were no element.
    int garbage() const { return m_garbage; }

private:
    void take();

    QTcpSocket m_socket;
    QByteArray m_buffer;
    QHash<QString, QList<QVariant>> m_values;
    QHash<QString, QList<qint64>> m_times;
    QElapsedTimer m_clock;
    int m_garbage = 0;
};

#endif
