#ifndef DATASTORE_H
#define DATASTORE_H

#include "lib/types/datastoreElementType.h"

#include "lib/support/hostSystem.h"

#include <QHash>
#include <QList>
#include <QObject>
#include <QStringList>
#include <QVector>

#include <deque>
#include <memory>
#include <mutex>
#include <optional>

class debugComponent;

/// The central key/value store: every measured, derived or commanded value of the system.
///
/// Threads: every operation may be called from any thread. One lock guards the list; it is never held while a
/// signal is emitted or a message is logged, so listeners may store again. Signals are emitted on the storing
/// thread; Qt queues them to listeners on other threads. Entries are never removed and never move.
class datastore : public QObject
{
    Q_OBJECT

public:
    /// \a host gives the update times; it must outlive the store.
    explicit datastore(QObject *parent = nullptr, const hostSystem &host = hostSystem::real());
    ~datastore() override;

    /// Value of the first entry whose key equals \a key ignoring case; invalid if there is none.
    /// Kept: store() and queryElement() compare exactly, so two spellings are two entries.
    Q_INVOKABLE QVariant query(const QString &key) const;
    /// The entry of exactly this key, or null. The pointer stays valid for the store's life, but what it
    /// points to changes under other threads' hands: for the display thread, or for one that alone writes the
    /// key.
    datastoreElementType *queryElement(const QString &key);
    /// A copy of the entry of exactly this key, for any thread.
    std::optional<datastoreElementType> copyElement(const QString &key) const;
    /// The number (exprDblValue) of the entry of exactly this key.
    std::optional<double> number(const QString &key) const;

    /// All keys, numbers and values, in the order of first storing.
    QStringList getKeys() const;
    QList<double> getValues() const;
    QList<QVariant> getVariants() const;
    /// All keys with their numbers, taken together.
    QVector<QPair<QString, double>> getNumbers() const;

    std::unique_ptr<debugComponent> debug;

public slots:
    /// Adds or updates an entry. An update that changes the value's truth emits edgeTrigger() before the
    /// entry changes; the first store of a key never does. dataUpdated() follows in every case.
    void store(const QString &key, const QVariant &value);
    /// Stores a serialised element; malformed bytes are dropped without a word.
    void store(const QByteArray &message);

signals:
    /// After each store, with a copy of the entry.
    void dataUpdated(const datastoreElementType &element);
    /// The truth of an existing entry is about to change.
    void edgeTrigger(const QString &dataKey, const QVariant &dataValue, bool rising);

private:
    struct entry {
        datastoreElementType data;
        // First stored entry whose key differs from this one's in case at most.
        const entry *firstOfFold = nullptr;
    };

    entry *find(const QString &key) const;
    void append(const QString &key, const QVariant &value);
    void announceEdge(const QString &key, const QVariant &value);

    const hostSystem &m_host;
    mutable std::mutex m_lock;
    std::deque<entry> element;              // in order of first storing; addresses are stable
    QHash<QString, entry *> m_byKey;        // exact
    QHash<QString, const entry *> m_byFold; // lower-cased key to the first entry stored under any spelling
};

#endif
