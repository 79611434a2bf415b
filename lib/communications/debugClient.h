#ifndef DEBUGCLIENT_H
#define DEBUGCLIENT_H

#include "lib/communications/debugMessage.h"

#include <QByteArray>
#include <QList>
#include <QObject>

#include <atomic>
#include <mutex>

/// A sink of diagnostic messages: takes those that are important enough and brings them somewhere.
///
/// log() and registerComponent() are called on whichever thread logs; a sink emits one whole line or record
/// per message.
class debugClient : public QObject
{
    Q_OBJECT

public:
    explicit debugClient(QObject *parent = nullptr)
        : QObject(parent)
    {
    }

    /// Whether messages of this level come out: those at most logLevel, or all when logLevel is -1.
    bool levelWanted(int level) const
    {
        const int limit = logLevel.load(std::memory_order_relaxed);
        return level <= limit || limit == -1;
    }
    bool outputRequired(const debugMessage &m) const { return levelWanted(int(m.level)); }

    virtual void log(const debugMessage &m);
    virtual void transmit(const QByteArray &bytes);
    virtual void attach() { }
    virtual void detach() { }
    /// Takes note of a component, so that a viewer that comes later can be told of it.
    virtual void registerComponent(const debugMessage &m);

    std::atomic<int> logLevel{0}; ///< lower levels are more important; -1 takes everything

protected:
    QList<QByteArray> registrations() const;

private:
    mutable std::mutex m_lock;
    QList<QByteArray> componentRegMessage; // byte form of every registration, in order
};

#endif
