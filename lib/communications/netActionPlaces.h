#ifndef NETACTIONPLACES_H
#define NETACTIONPLACES_H

#include <QList>
#include <QObject>
#include <QSet>

class netAction;

/// Hands out the places for uploads that may run at once; who finds none waits for his turn.
///
/// A thousand processes started together would stall the display for seconds and run out of descriptors.
/// Thread: the queue's.
class netActionPlaces : public QObject
{
    Q_OBJECT

public:
    static constexpr int placeCount = 8;

    using QObject::QObject;

    /// True: the place is the asker's, it starts now. False: it waits, and its startUpload() is called when a
    /// place comes free, in the order asked.
    bool take(netAction *asker);
    /// Somebody who waits starts on the event loop's next turn, so a start that fails at once cannot recurse.
    void giveBack();
    void stopWaiting(netAction *asker);
    /// Nobody waits any more; whoever still wants to run asks again.
    void sendAllHome();

private:
    void startNext();

    QList<netAction *> m_waiting; // in the order asked
    QSet<netAction *> m_known;    // the same; a long queue asks again all at once
    int m_taken = 0;
};

#endif
