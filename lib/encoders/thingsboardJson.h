#ifndef THINGSBOARDJSON_H
#define THINGSBOARDJSON_H

#include "lib/support/hostSystem.h"

#include <QByteArray>
#include <QStringList>
#include <QVariant>

class datastore;

/// Writes values of the store as one ThingsBoard telemetry message; docs/protocols/telemetry.md has the form.
///
/// Keeps nothing from call to call. Any thread.
class thingsboardJson
{
public:
    explicit thingsboardJson(const hostSystem &host = hostSystem::real())
        : m_host(host)
    {
    }

    /// The message, with the present time, of those \a keys that have a value of a supported type, in the
    /// order of the list; empty if there are none.
    QByteArray buildMessage(datastore *store, const QStringList &keys) const;
    /// The value as it stands in the message; null for types that are left out.
    /// Kept: texts are not escaped, and a truth value is a number, 1 or 0.
    static QByteArray convertVariant(const QVariant &value);

private:
    const hostSystem &m_host;
};

#endif
