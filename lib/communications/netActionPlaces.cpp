#include "lib/communications/netActionPlaces.h"

#include "lib/communications/netAction.h"

bool netActionPlaces::take(netAction *asker)
{
    if (m_waiting.contains(asker))
        return false;
    if (m_taken < placeCount && m_waiting.isEmpty()) {
        ++m_taken;
        return true;
    }
    m_waiting.append(asker);
    return false;
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
        m_waiting.takeFirst()->startUpload();
    }
}
