#ifndef EXPIRE_H
#define EXPIRE_H

class QTimer;

/// Makes a running timer fire now, as if its interval had passed; fails hard on a timer that does not run.
void expire(QTimer *timer);

#endif
