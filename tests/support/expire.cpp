#include "tests/support/expire.h"

#include <QCoreApplication>
#include <QTimer>
#include <QTimerEvent>

void expire(QTimer *timer)
{
    // A stopped QTimer answers to the id -1 that it then has.
    if (!timer || !timer->isActive())
        qFatal("expire() needs a running timer");
    QTimerEvent event(timer->timerId());
    QCoreApplication::sendEvent(timer, &event);
}
