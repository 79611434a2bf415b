#include "lib/types/datastore.h"

#include "lib/communications/componentTypes.h"
#include "lib/communications/debugComponent.h"

namespace {
constexpr int addedLevel = 1;
constexpr int edgeLevel = 3;

/// \a key.toLower(), several times faster for the ASCII keys that nearly all are.
QString lowered(const QString &key)
{
    QString result(key.size(), Qt::Uninitialized);
    QChar *to = result.data();
    ushort seen = 0;
    for (const QChar each : key) {
        const ushort c = each.unicode();
        seen |= c;
        *to++ = QChar(ushort(uint(c - 'A') < 26U ? c + ('a' - 'A') : c));
    }
    return seen < 0x80 ? result : key.toLower();
}

/// A number is true when it is not zero. QVariant::toBool() would round first: 0.25 would be false.
bool isTrue(const QVariant &value)
{
    switch (value.userType()) {
    case QMetaType::Double:
        return *static_cast<const double *>(value.constData()) != 0.0;
    case QMetaType::Float:
        return *static_cast<const float *>(value.constData()) != 0.0F;
    default:
        return value.toBool();
    }
}

bool isEdge(const QVariant &before, const QVariant &after)
{
    const bool hasTruth = after.userType() == QMetaType::Double || after.canConvert<bool>();
    return hasTruth && isTrue(before) != isTrue(after);
}
}

datastore::datastore(QObject *parent, const hostSystem &host)
    : QObject(parent)
    , debug(std::make_unique<debugComponent>())
    , m_host(host)
{
    debug->configure(QStringLiteral("Data Store"), componentTypes::dataStore);
}

datastore::~datastore() = default;

void datastore::store(const QString &key, const QVariant &value)
{
    std::unique_lock lock(m_lock);
    entry *const known = find(key);
    if (!known) {
        lock.unlock();
        append(key, value);
        return;
    }
    if (isEdge(known->data.value, value)) {
        lock.unlock();
        announceEdge(key, value);
        lock.lock();
    }
    known->data.store(key, value);
    known->data.updatedMs = m_host.utcMs();
    const datastoreElementType copy = known->data;
    lock.unlock();
    emit dataUpdated(copy);
}

void datastore::append(const QString &key, const QVariant &value)
{
    std::unique_lock lock(m_lock);
    if (find(key)) { // another thread was faster
        lock.unlock();
        store(key, value);
        return;
    }
    element.push_back({datastoreElementType(key, value), nullptr});
    entry &added = element.back();
    added.data.updatedMs = m_host.utcMs();
    const QString fold = lowered(key);
    const auto first = m_byFold.constFind(fold);
    added.firstOfFold = first == m_byFold.constEnd() ? *m_byFold.insert(fold, &added) : *first;
    m_byKey.insert(key, &added);
    const datastoreElementType copy = added.data;
    lock.unlock();
    emit dataUpdated(copy);
    debug->log(QStringLiteral("Added \"%1\"").arg(key), addedLevel);
}

void datastore::announceEdge(const QString &key, const QVariant &value)
{
    const bool rising = isTrue(value);
    debug->log(
        (rising ? QStringLiteral("Rising edge seen on - ") : QStringLiteral("Falling edge seen on - ")) + key,
        edgeLevel);
    emit edgeTrigger(key, value, rising);
}

void datastore::store(const QByteArray &message)
{
    datastoreElementType received;
    if (received.deserialise(message))
        store(received.key, received.value);
}

datastore::entry *datastore::find(const QString &key) const
{
    return m_byKey.value(key, nullptr);
}

QVariant datastore::query(const QString &key) const
{
    const std::lock_guard lock(m_lock);
    // Lower-casing costs more than the look-up, and most callers use the stored spelling.
    if (const entry *const exact = find(key))
        return exact->firstOfFold->data.value;
    const entry *const folded = m_byFold.value(lowered(key), nullptr);
    return folded ? folded->data.value : QVariant();
}

datastoreElementType *datastore::queryElement(const QString &key)
{
    const std::lock_guard lock(m_lock);
    entry *const found = find(key);
    return found ? &found->data : nullptr;
}

std::optional<datastoreElementType> datastore::copyElement(const QString &key) const
{
    const std::lock_guard lock(m_lock);
    const entry *const found = find(key);
    return found ? std::optional(found->data) : std::nullopt;
}

std::optional<double> datastore::number(const QString &key) const
{
    const std::lock_guard lock(m_lock);
    const entry *const found = find(key);
    return found ? std::optional(found->data.exprDblValue) : std::nullopt;
}

QStringList datastore::getKeys() const
{
    const std::lock_guard lock(m_lock);
    QStringList keys;
    for (const entry &each : element)
        keys.append(each.data.key);
    return keys;
}

QList<double> datastore::getValues() const
{
    const std::lock_guard lock(m_lock);
    QList<double> values;
    for (const entry &each : element)
        values.append(each.data.exprDblValue);
    return values;
}

QList<QVariant> datastore::getVariants() const
{
    const std::lock_guard lock(m_lock);
    QList<QVariant> variants;
    for (const entry &each : element)
        variants.append(each.data.value);
    return variants;
}

QVector<QPair<QString, double>> datastore::getNumbers() const
{
    const std::lock_guard lock(m_lock);
    QVector<QPair<QString, double>> numbers;
    numbers.reserve(int(element.size()));
    for (const entry &each : element)
        numbers.append({each.data.key, each.data.exprDblValue});
    return numbers;
}
