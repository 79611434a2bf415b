#ifndef ONTHREAD_H
#define ONTHREAD_H

#include <QEventLoop>
#include <QThread>

/// Runs \a work on \a thread, which keeps its event loop until \a sender has emitted \a end, and then ends.
template <class Work, class Sender, class Signal>
void runOnThread(QThread &thread, Work work, Sender *sender, Signal end)
{
    QObject worker;
    worker.moveToThread(&thread);
    QEventLoop loop;
    QObject::connect(sender, end, &loop, &QEventLoop::quit, Qt::QueuedConnection);
    QObject::connect(&thread, &QThread::started, &worker, work);
    thread.start();
    loop.exec();
    thread.quit();
    thread.wait();
}

#endif
