#ifndef ELEMENTREADER_H
#define ELEMENTREADER_H

#include "lib/types/datastoreElementType.h"

#include <QByteArray>

#include <optional>

/// Cuts serialised elements out of a byte stream that may start or break anywhere.
///
/// Unlike the controller's own parser it tries every start pair by its checksum, so one false start costs
/// at most the wait for the bytes that it announces, and it has no limit but the longest element that makes
/// sense.
class elementReader
{
public:
    void append(const QByteArray &bytes) { m_received += bytes; }
    /// The next element, or nothing until more has come in. An element without value bytes has an invalid
    /// value.
    std::optional<datastoreElementType> next();
    void clear() { m_received.clear(); }

private:
    QByteArray m_received;
};

#endif
