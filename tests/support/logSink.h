#ifndef LOGSINK_H
#define LOGSINK_H

#include "lib/communications/debugClient.h"

#include <QStringList>

#include <mutex>

/// Keeps every message, whatever its level.
class logSink : public debugClient
{
public:
    logSink() { logLevel = -1; }

    void registerComponent(const debugMessage &m) override
    {
        const std::lock_guard lock(m_lock);
        m_registered.append(m);
    }
    void log(const debugMessage &m) override
    {
        const std::lock_guard lock(m_lock);
        m_messages.append(m);
    }

    QList<debugMessage> messages() const
    {
        const std::lock_guard lock(m_lock);
        return m_messages;
    }
    QList<debugMessage> registered() const
    {
        const std::lock_guard lock(m_lock);
        return m_registered;
    }
    /// The texts, in order.
    QStringList texts() const
    {
        QStringList all;
        for (const debugMessage &m : messages())
            all.append(m.debugData);
        return all;
    }
    void clear()
    {
        const std::lock_guard lock(m_lock);
        m_messages.clear();
    }

private:
    mutable std::mutex m_lock;
    QList<debugMessage> m_messages;
    QList<debugMessage> m_registered;
};

#endif
