#ifndef EXPIRE_H
#define EXPIRE_H

#include <QCoreApplication>
#include <QTimer>
#include <QTimerEvent>

/// Makes a running timer fire now, as if its interval had passed; fails hard on a timer that does not run.
inline void expire(QTimer *timer)
{
    // A stopped QTimer answers to the id -1 that it then has.
    if (!timer || !timer->isActive())
        qFatal("expire() needs a running timer");
    QTimerEvent event(timer->timerId());
    QCoreApplication::sendEvent(timer, &event);
}

#endif
