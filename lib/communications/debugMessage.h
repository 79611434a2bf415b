#ifndef DEBUGMESSAGE_H
#define DEBUGMESSAGE_H

#include "lib/types/uuidType.h"

#include <QByteArray>
#include <QDateTime>
#include <QString>
#include <QVariant>

#include <ctime>

/// One diagnostic message, or the registration of one component, with its byte forms.
///
/// docs/protocols/debug.md has the byte tables. Multi-byte integers are in the machine's order; texts are
/// written as Latin-1 and read as UTF-8; every form starts with 0xFF and ends with two zero bytes. A plain
/// value.
class debugMessage
{
public:
    QByteArray createDebugMessage() const;
    QByteArray createRegistrationMessage() const;
    /// Kept: a value carries one part for each of bool, int, double and text that it can be converted to, one
    /// after another, while the header's size and kind name the last of them only.
    QByteArray createDataMessage(const QString &key, const QVariant &value) const;

    /// Fills the fields from a byte form. Always true. What the bytes do not hold reads as zero or as the
    /// shorter text: nothing behind the array's end is looked at.
    bool parseMessage(const QByteArray &bytes);

    QDateTime timestampDateTime() const { return QDateTime::fromSecsSinceEpoch(timestamp); }
    /// Prints a debug text (type 0) or a registration (type 1) to standard output; other types print nothing.
    void printMessageDetails() const;

    quint8 messageType
        = 0; ///< 0 debug text, 1 registration, 2 data (byte form only), 3 tagged data (parsed only)
    quint32 componentType = 0; ///< the sender's component type
    quint32 level = 0;         ///< lower is more important
    uuidType UUID;             ///< the sending component
    uuidType parentUUID;       ///< the sender's parent (registration only)
    time_t timestamp = 0;      ///< seconds since the Unix epoch
    QString debugData;         ///< the log text
    QString componentName;
    QString tag;    ///< key of a data message
    QVariant value; ///< value of a data message
};

#endif
