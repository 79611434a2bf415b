#include "tools/componentTree.h"

#include "tools/elementText.h"

namespace {
constexpr int deepest = 32; // a chain that is longer bites its own tail
constexpr int uuidTail = 6; // characters that tell components apart, as in the log files
}

void componentTree::add(const debugMessage &registration)
{
    const QByteArray id = registration.UUID.byteArray();
    if (!m_nodes.contains(id))
        m_order.append(id);
    m_nodes[id] = {printable(registration.componentName), registration.parentUUID.byteArray()};
}

void componentTree::clear()
{
    m_nodes.clear();
    m_order.clear();
}

QString componentTree::name(const uuidType &component) const
{
    const auto found = m_nodes.constFind(component.byteArray());
    return found == m_nodes.constEnd() ? component.toString().right(uuidTail) : found->name;
}

bool componentTree::isUnder(const uuidType &component, const QString &ancestor) const
{
    if (ancestor.isEmpty())
        return true;
    QByteArray id = component.byteArray();
    for (int step = 0; step < deepest && m_nodes.contains(id); ++step) {
        const node &each = *m_nodes.constFind(id);
        if (each.name.compare(ancestor, Qt::CaseInsensitive) == 0)
            return true;
        id = each.parent;
    }
    return false;
}

QStringList componentTree::lines(const QString &ancestor) const
{
    QStringList all;
    for (const QByteArray &id : m_order) {
        if (!m_nodes.contains(m_nodes[id].parent))
            addLines(all, id, ancestor, 0);
    }
    return all;
}

void componentTree::addLines(QStringList &to, const QByteArray &id, const QString &ancestor, int depth) const
{
    uuidType uuid;
    uuid.fromByteArray(id);
    const bool shown = isUnder(uuid, ancestor);
    if (shown)
        to.append(QString(2 * depth, QLatin1Char(' ')) + m_nodes[id].name);
    if (depth == deepest)
        return;
    for (const QByteArray &child : m_order) {
        if (m_nodes[child].parent == id)
            addLines(to, child, ancestor, shown ? depth + 1 : depth);
    }
}
