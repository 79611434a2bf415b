#ifndef UUIDTYPE_H
#define UUIDTYPE_H

#include <QByteArray>
#include <QString>

#include <uuid/uuid.h>

/// A 16-byte UUID (RFC 4122) with a flag that says whether it came from another party.
class uuidType
{
public:
    uuidType() { clear(); }

    /// All zero and not valid.
    void clear();
    /// A new random UUID. Kept: the validity flag stays false; it marks UUIDs that were received.
    void generateUuid();

    /// Compare the 16 bytes only, never the flag.
    bool operator==(const uuidType &other) const;
    bool operator!=(const uuidType &other) const { return !(*this == other); }

    QByteArray byteArray() const;
    /// Takes exactly 16 bytes and becomes valid; anything else leaves it clear.
    void fromByteArray(const QByteArray &bytes);
    /// Lower case, 36 characters.
    QString toString() const;
    /// False, and unchanged, when \a text is no UUID. The flag is not touched.
    bool fromString(const QString &text);
    bool isValid() const { return validFlag; }

private:
    uuid_t my_uuid = {};
    bool validFlag = false;
};

#endif
