#ifndef DEBUGCOMPONENT_H
#define DEBUGCOMPONENT_H

#include "lib/communications/debugMessage.h"
#include "lib/types/uuidType.h"

#include <QAbstractSocket>
#include <QList>
#include <QString>

#include <atomic>
#include <memory>
#include <mutex>

class QProcess;
class debugClient;

/// The diagnostic identity of one part of the system: a named node with a UUID, a level, a parent, children
/// and sinks.
///
/// Components form a tree; a child takes over its parent's sinks when it is attached. log() makes a message
/// and hands it to every sink, on the calling thread. Threads: every call may be made from any thread. Sinks
/// are only ever added, so log() walks them without a lock; a message that no sink wants costs a few
/// nanoseconds.
class debugComponent
{
public:
    static constexpr int detailLevel = 2; ///< what only somebody who looks for it wants to read

    debugComponent();
    ~debugComponent();
    debugComponent(const debugComponent &) = delete;
    debugComponent &operator=(const debugComponent &) = delete;

    /// \a type is one of componentTypes; \a level -1 leaves the component's level as it is; a component
    /// without one logs at 0.
    void configure(const QString &name, unsigned int type, int level = -1);

    /// Attaches \a child, which takes over the sinks registered here so far (not those added later). A child
    /// attached twice stays listed by its first parent and reports the second one as its parent. Not owned.
    void addChild(debugComponent *child);
    void setParent(debugComponent *p);
    /// Adds a sink (not owned; must outlive the component) here and in all children.
    /// Kept: registering a sink again sends the registration once more, to whichever sink was added last.
    void registerWithClient(debugClient *c);
    /// Makes a component outside this process the parent: only its UUID is known here.
    void setParentUUID(const QString &uuid);
    void setUUIDfromString(const QString &uuid);

    void enable() { m_active = true; }
    /// Silences the component; it stays attached.
    void disable() { m_active = false; }

    /// \a level -1 takes the component's own level, or 0. Lower is more important.
    void log(const QString &text, int level = -1);
    /// Logs the fixed text of a socket error; an unknown error logs nothing.
    void log(QAbstractSocket::SocketError error, int level = -1);
    /// Logs what the process has written so far, one message per line; empty lines are messages too.
    void logStdOut(QProcess *p, int level = -1);
    void logStdErr(QProcess *p, int level = -1);

    uuidType uuid() const;
    QString UUIDasString() const { return uuid().toString(); }
    /// Text of the last accepted log call, whether a sink wanted it or not.
    QString lastLog() const;
    QString name() const;
    debugComponent *parentComponent() const;
    QList<debugComponent *> childComponents() const;
    debugMessage registrationMessage() const;

private:
    struct sink {
        debugClient *client;
        std::atomic<sink *> next{nullptr};
    };

    int ownLevel() const;
    void remember(const QString &text);
    void send(const QString &text, int level) const;
    void logLines(const QByteArray &output, int level);
    QList<debugClient *> clients() const;

    std::atomic<sink *> m_firstSink{nullptr}; // in order of adding; only ever grows
    std::atomic<bool> m_active{true};
    std::atomic<int> componentLevel{-1};

    // Guarded by the one lock of all trees; see the source.
    uuidType my_uuid;
    debugComponent *parent = nullptr;
    QList<debugComponent *> children;
    QList<debugComponent *> m_listedBy; // whose children this one is among
    std::unique_ptr<debugComponent> m_foreignParent;
    unsigned int componentType = 0;
    QString componentName;

    mutable std::mutex m_lastLock;
    QString lastLogMessage;
    std::atomic<const QChar *> m_lastText{nullptr}; // the buffer of lastLogMessage
};

#endif
