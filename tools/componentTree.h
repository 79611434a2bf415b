#ifndef COMPONENTTREE_H
#define COMPONENTTREE_H

#include "lib/communications/debugMessage.h"

#include <QHash>
#include <QStringList>
#include <QVector>

/// The diagnostic components that a controller has registered, and how they hang together.
class componentTree
{
public:
    /// Takes a registration; the last one of a component counts.
    void add(const debugMessage &registration);
    void clear();

    /// The component's name; the end of its UUID where it has never registered.
    QString name(const uuidType &component) const;
    /// Whether the component, or one above it, bears this name (any case). Every component is under "".
    bool isUnder(const uuidType &component, const QString &ancestor) const;
    /// The part of the tree under \a ancestor, a line per component, children indented below their parents in
    /// the order of registration.
    QStringList lines(const QString &ancestor) const;

private:
    struct node {
        QString name;
        QByteArray parent;
    };

    void addLines(QStringList &to, const QByteArray &id, const QString &ancestor, int depth) const;

    QHash<QByteArray, node> m_nodes; // by UUID
    QVector<QByteArray> m_order;     // of first registration
};

#endif
