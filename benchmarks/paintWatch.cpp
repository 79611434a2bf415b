// Preloaded into a Qt program: counts the paint events of its labels, and ends it when the first
// window is painted.
//
// $PAINTWATCH_FILE, 8 bytes, gets the number of paint events of labels so far. With $PAINTWATCH_EXIT set, the
// process ends when its first window has been painted.
#include <QApplication>
#include <QEvent>
#include <QLabel>

#include <atomic>
#include <utility>

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace {
std::atomic<quint64> *counter()
{
    const QByteArray path = qgetenv("PAINTWATCH_FILE");
    const int fd = path.isEmpty() ? -1 : open(path.constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (fd < 0 || ftruncate(fd, sizeof(quint64)) != 0)
        return nullptr;
    void *const memory = mmap(nullptr, sizeof(quint64), PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    close(fd);
    return memory == MAP_FAILED ? nullptr : static_cast<std::atomic<quint64> *>(memory);
}

class paintWatch : public QObject
{
public:
    using QObject::QObject;

    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() == QEvent::Paint && watched->isWidgetType()) {
            if (m_exits && !std::exchange(m_painted, true)) // with nothing else to do, this comes next
                QCoreApplication::postEvent(this, new QEvent(QEvent::User), Qt::HighEventPriority);
            if (m_count && qobject_cast<QLabel *>(watched)
                && qobject_cast<QLabel *>(watched)->text().startsWith('<'))
                ++*m_count;
        } else if (m_painted) { // the whole window is
            _exit(0);
        }
        return false;
    }

private:
    const bool m_exits = qEnvironmentVariableIsSet("PAINTWATCH_EXIT");
    bool m_painted = false; // the first widget, while m_exits
    std::atomic<quint64> *m_count = counter();
};

/// Programs that this one starts, shells above all, do not load this library and Qt with it.
void leaveChildrenAlone()
{
    QList<QByteArray> others;
    for (const QByteArray &each : qgetenv("LD_PRELOAD").split(':')) {
        if (!each.contains("paintWatch"))
            others.append(each);
    }
    qputenv("LD_PRELOAD", others.join(':'));
}

void install()
{
    leaveChildrenAlone();
    if (qobject_cast<QApplication *>(QCoreApplication::instance()))
        qApp->installEventFilter(new paintWatch(qApp));
}
}

Q_COREAPP_STARTUP_FUNCTION(install)
