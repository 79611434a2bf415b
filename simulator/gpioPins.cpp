#include "simulator/gpioPins.h"

#include "simulator/eventLog.h"

#include <QDir>
#include <QFile>

#include <sys/inotify.h>
#include <unistd.h>

namespace {
bool put(const QString &path, const QByteArray &content)
{
    QFile f(path);
    return f.open(QIODevice::WriteOnly) && f.write(content) == content.size();
}

std::optional<QByteArray> get(const QString &path)
{
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly))
        return std::nullopt;
    return f.readAll().trimmed();
}
}

gpioPins::gpioPins(const QString &root, eventLog &log)
    : m_root(root + QStringLiteral("/sys/class/gpio"))
    , m_log(log)
{
}

gpioPins::~gpioPins()
{
    m_notifier.reset();
    if (m_inotify >= 0)
        ::close(m_inotify);
}

bool gpioPins::build()
{
    m_inotify = ::inotify_init1(IN_CLOEXEC | IN_NONBLOCK);
    if (m_inotify < 0)
        return false;
    m_notifier = std::make_unique<QSocketNotifier>(m_inotify, QSocketNotifier::Read);
    connect(m_notifier.get(), &QSocketNotifier::activated, this, &gpioPins::readChanges);
    bool done = true;
    for (int pin = 0; pin < count; ++pin)
        done = add(pin) && done;
    return put(m_root + QStringLiteral("/export"), {}) && done;
}

std::optional<QByteArray> gpioPins::value(int pin) const
{
    return get(folder(pin) + QStringLiteral("/value"));
}

bool gpioPins::drive(int pin, bool level)
{
    return QDir(folder(pin)).exists() && put(folder(pin) + QStringLiteral("/value"), level ? "1\n" : "0\n");
}

bool gpioPins::add(int pin)
{
    if (!QDir().mkpath(folder(pin)) || !put(folder(pin) + QStringLiteral("/direction"), "in\n")
        || !put(folder(pin) + QStringLiteral("/value"), "0\n"))
        return false;
    const int watch
        = ::inotify_add_watch(m_inotify, QFile::encodeName(folder(pin)).constData(), IN_CLOSE_WRITE);
    m_pins.insert(watch, pin);
    return watch >= 0;
}

bool gpioPins::remove(int pin)
{
    return QDir(folder(pin)).removeRecursively();
}

QString gpioPins::folder(int pin) const
{
    return QStringLiteral("%1/gpio%2").arg(m_root).arg(pin);
}

void gpioPins::readChanges()
{
    alignas(inotify_event) char buffer[4096];
    const ssize_t n = ::read(m_inotify, buffer, sizeof buffer);
    for (ssize_t at = 0; at < n;) {
        const auto *e = reinterpret_cast<const inotify_event *>(buffer + at);
        if (e->mask & IN_IGNORED)
            m_pins.remove(e->wd);
        else if (e->len > 0 && m_pins.contains(e->wd))
            report(m_pins.value(e->wd), e->name);
        at += ssize_t(sizeof *e) + e->len;
    }
}

void gpioPins::report(int pin, const QByteArray &name)
{
    const std::optional<QByteArray> text = get(folder(pin) + '/' + QString::fromLatin1(name));
    // A file that is just being written again is empty: its next event follows.
    if (text && !text->isEmpty())
        m_log.event("gpio " + QByteArray::number(pin) + ' ' + name + ' ' + *text);
}
