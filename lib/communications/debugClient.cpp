#include "lib/communications/debugClient.h"

void debugClient::registerComponent(const debugMessage &m)
{
    const QByteArray bytes = m.createRegistrationMessage();
    {
        const std::lock_guard lock(m_lock);
        componentRegMessage.append(bytes);
    }
    transmit(bytes);
}

void debugClient::log(const debugMessage &m)
{
    if (outputRequired(m))
        transmit(m.createDebugMessage());
}

void debugClient::transmit(const QByteArray &)
{
}

QList<QByteArray> debugClient::registrations() const
{
    const std::lock_guard lock(m_lock);
    return componentRegMessage;
}
