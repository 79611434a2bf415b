#ifndef DATASTOREELEMENTTYPE_H
#define DATASTOREELEMENTTYPE_H

#include <QByteArray>
#include <QDateTime>
#include <QMetaType>
#include <QString>
#include <QVariant>

/// One stored value: key, value, the value as a number, and when it was last stored.
///
/// A plain value, copied through queued signals. Its byte form carries one value between processes or over a
/// link; docs/protocols/element.md has the byte table.
class datastoreElementType
{
public:
    datastoreElementType() = default;
    datastoreElementType(const QString &key, const QVariant &value);

    /// Takes \a value over; false and no change when \a key is not this element's key.
    bool store(const QString &key, const QVariant &value);

    /// The value as a number: by what Qt can convert, not by content, so a text that is no number is 0.
    static double variantToDouble(const QVariant &value);

    /// The byte form. Values other than bool, int, unsigned int, float, double and text have no value bytes.
    QByteArray serialise() const;
    /// Reads a byte form into key and value (not exprDblValue). False on anything malformed; the element is
    /// then unchanged. Kept: texts are written as Latin-1 and read as UTF-8; only ASCII comes back unchanged.
    bool deserialise(const QByteArray &message);
    /// CRC-16/ARC of all of \a data but its last two bytes; 0 for fewer than 2 bytes.
    /// Kept: the message is handed over without its checksum, so the two bytes before the checksum are not
    /// covered; both ends of the link do the same.
    static quint16 checksum(const QByteArray &data);

    /// Writes the value to standard output, without a line feed; types without a byte form print nothing.
    void printData() const;

    /// When the value was last stored (UTC); null before.
    QDateTime updateTime() const;

    QString key;
    QVariant value;
    double exprDblValue = 0.0; ///< the value as a number, see variantToDouble()
    qint64 updatedMs
        = 0; ///< UTC milliseconds since 1970-01-01 of the last store into the data store; 0 = never
};

Q_DECLARE_METATYPE(datastoreElementType)

#endif
