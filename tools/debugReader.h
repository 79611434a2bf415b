#ifndef DEBUGREADER_H
#define DEBUGREADER_H

#include "lib/communications/debugMessage.h"

#include <QByteArray>

#include <optional>

/// Cuts debug texts and registrations out of the byte stream of the debug server; everything else is skipped.
class debugReader
{
public:
    void append(const QByteArray &bytes) { m_received += bytes; }
    /// The next message, or nothing until more has come in.
    std::optional<debugMessage> next();
    void clear() { m_received.clear(); }

private:
    QByteArray m_received;
};

#endif
