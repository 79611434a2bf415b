#ifndef NATIVETRANSFERPARSER_H
#define NATIVETRANSFERPARSER_H

#include "lib/parsers/parser.h"

#include <optional>

/// Cuts a byte stream into serialised data store elements: start bytes AB CD, then the total length (32 bits,
/// little-endian), then the rest. docs/protocols/element.md has the byte table.
///
/// Noise between messages is skipped. Checksum and content are the store's business. A message longer than
/// the buffer limit comes through only when it arrives in one read. Thread: that of the instrument which
/// makes it.
class nativeTransferParser : public parser
{
    Q_OBJECT

public:
    enum parseStatus {
        messageCut = 0,
        nothingToCut = 3,
    };

    nativeTransferParser(interface *iface, QObject *parent);

    void newDataInBuffer() override;
    /// Takes the first whole message out of the buffer, with the noise before it; \a status tells whether
    /// there was one.
    QByteArray parseBuffer(int *status);

private:
    std::optional<QByteArray> cutMessage(int &from);
};

#endif
