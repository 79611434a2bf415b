#include "lib/communications/debugComponent.h"

#include "lib/communications/debugClient.h"
#include "lib/communications/socketErrorText.h"

#include <QProcess>
#include <QRegExp>

namespace {
/// Guards names, identities and family of every component. Held for moments only, never while a sink is
/// called.
std::mutex &treeLock()
{
    static std::mutex lock;
    return lock;
}
}

debugComponent::debugComponent()
{
    my_uuid.generateUuid();
}

debugComponent::~debugComponent()
{
    m_foreignParent.reset(); // before the lock, which its destructor takes
    const std::lock_guard lock(treeLock());
    for (debugComponent *listing : qAsConst(m_listedBy))
        listing->children.removeAll(this);
    for (debugComponent *child : qAsConst(children)) {
        child->m_listedBy.removeAll(this);
        if (child->parent == this)
            child->parent = nullptr;
    }
    for (sink *each = m_firstSink; each;) {
        sink *const next = each->next;
        delete each;
        each = next;
    }
}

void debugComponent::configure(const QString &name, unsigned int type, int level)
{
    const std::lock_guard lock(treeLock());
    componentName = name;
    componentType = type;
    if (level != -1)
        componentLevel = level;
}

void debugComponent::addChild(debugComponent *child)
{
    {
        const std::lock_guard lock(treeLock());
        children.append(child);
        child->m_listedBy.append(this);
    }
    child->setParent(this);
}

void debugComponent::setParent(debugComponent *p)
{
    {
        const std::lock_guard lock(treeLock());
        parent = p;
    }
    if (!p)
        return;
    for (debugClient *client : p->clients())
        registerWithClient(client);
}

void debugComponent::registerWithClient(debugClient *c)
{
    debugClient *last = c;
    QList<debugComponent *> family;
    {
        const std::lock_guard lock(treeLock());
        family = children;
        std::atomic<sink *> *end = &m_firstSink;
        bool known = false;
        for (sink *each = *end; each; each = *end) {
            known = known || each->client == c;
            last = each->client;
            end = &each->next;
        }
        if (!known) {
            *end = new sink{c}; // owned by this list
            last = c;
        }
    }
    last->registerComponent(registrationMessage());
    for (debugComponent *child : qAsConst(family))
        child->registerWithClient(c);
}

void debugComponent::setParentUUID(const QString &uuid)
{
    auto foreign = std::make_unique<debugComponent>();
    foreign->setUUIDfromString(uuid);
    const std::lock_guard lock(treeLock()); // released before foreign, by then the former one, goes
    parent = foreign.get();
    std::swap(m_foreignParent, foreign);
}

void debugComponent::setUUIDfromString(const QString &uuid)
{
    const std::lock_guard lock(treeLock());
    my_uuid.fromString(uuid);
}

void debugComponent::log(const QString &text, int level)
{
    if (!m_active.load(std::memory_order_relaxed))
        return;
    if (level == -1)
        level = ownLevel();
    for (const sink *each = m_firstSink.load(std::memory_order_acquire); each;
         each = each->next.load(std::memory_order_acquire)) {
        if (each->client->levelWanted(level)) {
            send(text, level);
            break;
        }
    }
    // Only the thread that holds the lock changes the text, and it keeps the buffer alive: an equal address
    // is an equal text. Repeated literals, the usual case, cost one comparison.
    if (m_lastText.load(std::memory_order_relaxed) != text.constData())
        remember(text);
}

int debugComponent::ownLevel() const
{
    const int level = componentLevel.load(std::memory_order_relaxed);
    return level == -1 ? 0 : level;
}

void debugComponent::send(const QString &text, int level) const
{
    debugMessage message;
    {
        const std::lock_guard lock(treeLock());
        message.UUID = my_uuid;
        message.componentName = componentName;
        message.componentType = componentType;
    }
    message.level = quint32(level);
    message.timestamp = time(nullptr);
    message.debugData = text;
    for (debugClient *client : clients())
        client->log(message);
}

void debugComponent::remember(const QString &text)
{
    const std::lock_guard lock(m_lastLock);
    lastLogMessage = text;
    m_lastText.store(lastLogMessage.constData(), std::memory_order_relaxed);
}

void debugComponent::log(QAbstractSocket::SocketError error, int level)
{
    const QString text = socketErrorText(error);
    if (!text.isEmpty())
        log(text, level);
}

void debugComponent::logStdOut(QProcess *p, int level)
{
    logLines(p->readAllStandardOutput(), level);
}

void debugComponent::logStdErr(QProcess *p, int level)
{
    logLines(p->readAllStandardError(), level);
}

void debugComponent::logLines(const QByteArray &output, int level)
{
    const QStringList lines = QString::fromLocal8Bit(output).split(QRegExp(QStringLiteral("[\\n\\r]")));
    for (const QString &line : lines)
        log(line, level);
}

QList<debugClient *> debugComponent::clients() const
{
    QList<debugClient *> all;
    for (const sink *each = m_firstSink.load(std::memory_order_acquire); each;
         each = each->next.load(std::memory_order_acquire))
        all.append(each->client);
    return all;
}

uuidType debugComponent::uuid() const
{
    const std::lock_guard lock(treeLock());
    return my_uuid;
}

QString debugComponent::lastLog() const
{
    const std::lock_guard lock(m_lastLock);
    return lastLogMessage;
}

QString debugComponent::name() const
{
    const std::lock_guard lock(treeLock());
    return componentName;
}

debugComponent *debugComponent::parentComponent() const
{
    const std::lock_guard lock(treeLock());
    return parent;
}

QList<debugComponent *> debugComponent::childComponents() const
{
    const std::lock_guard lock(treeLock());
    return children;
}

debugMessage debugComponent::registrationMessage() const
{
    const std::lock_guard lock(treeLock());
    debugMessage message;
    message.messageType = 1;
    message.componentType = componentType;
    message.UUID = my_uuid;
    if (parent)
        message.parentUUID = parent->my_uuid;
    message.timestamp = time(nullptr);
    message.componentName = componentName;
    return message;
}
