#include "lib/communications/netActionPlaces.h"

#include "lib/communications/netAction.h"

bool netActionPlaces::take(netAction *asker)
{
    if (m_known.contains(asker))
        return false;
    if (m_taken < placeCount && m_waiting.isEmpty()) {
        ++m_taken;
        return true;
    }
    m_waiting.append(asker);
    m_known.insert(asker);
    return false;
}

void netActionPlaces::stopWaiting(netAction *asker)
{
    if (m_known.remove(asker))
        m_waiting.removeOne(asker);
}

void netActionPlaces::sendAllHome()
{
    m_waiting.clear();
    m_known.clear();
}

void netActionPlaces::giveBack()
{
    --m_taken;
    QMetaObject::invokeMethod(this, &netActionPlaces::startNext, Qt::QueuedConnection);
}

void netActionPlaces::startNext()
{
    while (m_taken < placeCount && !m_waiting.isEmpty()) {
        ++m_taken;
        netAction *const next = m_waiting.takeFirst();
        m_known.remove(next);
        next->startUpload();
    }
}
