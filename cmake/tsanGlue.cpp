// Linked into ThreadSanitizer builds only. Qt itself is not instrumented, so the sanitizer cannot see that a
// QMutex orders two threads or that a queued signal hands its arguments over. These wrappers tell it, and
// change nothing else.
#include <QtCore>
#include <private/qobject_p.h>

#include <dlfcn.h>

extern "C" void __tsan_acquire(void *);
extern "C" void __tsan_release(void *);

namespace {
template <class F>
F next(const char *name)
{
    return reinterpret_cast<F>(dlsym(RTLD_NEXT, name));
}
}

void QMetaObject::activate(QObject *sender, const QMetaObject *m, int index, void **argv)
{
    static const auto real = next<void (*)(QObject *, const QMetaObject *, int, void **)>(
        "_ZN11QMetaObject8activateEP7QObjectPKS_iPPv");
    __tsan_release(sender);
    real(sender, m, index, argv);
}

bool QMetaObject::invokeMethodImpl(
    QObject *object, QtPrivate::QSlotObjectBase *slot, Qt::ConnectionType type, void *ret)
{
    static const auto real = next<bool (*)(
        QObject *, QtPrivate::QSlotObjectBase *, Qt::ConnectionType, void *)>(
        "_ZN11QMetaObject16invokeMethodImplEP7QObjectPN9QtPrivate15QSlotObjectBaseEN2Qt14ConnectionTypeEPv");
    __tsan_release(object);
    return real(object, slot, type, ret);
}

void QMutex::lock() QT_MUTEX_LOCK_NOEXCEPT
{
    static const auto real = next<void (*)(QMutex *)>("_ZN6QMutex4lockEv");
    real(this);
    __tsan_acquire(this);
}

void QMutex::unlock() Q_DECL_NOTHROW
{
    static const auto real = next<void (*)(QMutex *)>("_ZN6QMutex6unlockEv");
    __tsan_release(this);
    real(this);
}

namespace {
/// Thread-local; Qt destroys it as the last act of a thread, after everything that finished() called.
struct threadEnd {
    QThread *const thread = QThread::currentThread();
    ~threadEnd() { __tsan_release(thread); }
};
}

/// wait() shows all that the thread did to whoever waits.
void QThread::start(Priority priority)
{
    static const auto real = next<void (*)(QThread *, Priority)>("_ZN7QThread5startENS_8PriorityE");
    static QThreadStorage<threadEnd> ends;
    connect(
        this, &QThread::started, this, [] { ends.setLocalData({}); }, Qt::DirectConnection);
    real(this, priority);
}

bool QThread::wait(QDeadlineTimer deadline)
{
    static const auto real = next<bool (*)(QThread *, QDeadlineTimer)>("_ZN7QThread4waitE14QDeadlineTimer");
    const bool ended = real(this, deadline);
    if (ended)
        __tsan_acquire(this);
    return ended;
}

namespace {
/// Runs before the handler of every event: a queued call carries its sender's writes with it.
bool deliver(void **data)
{
    if (static_cast<QEvent *>(data[1])->type() == QEvent::MetaCall) {
        if (const QObject *sender = static_cast<QAbstractMetaCallEvent *>(data[1])->sender())
            __tsan_acquire(const_cast<QObject *>(sender));
        __tsan_acquire(data[0]); // the receiver, of a call that was invoked
    }
    return false;
}

const bool registered = QInternal::registerCallback(QInternal::EventNotifyCallback, deliver);
}
