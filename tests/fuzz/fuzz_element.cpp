// Serialised store elements, as they come from the native link and from TCP clients.
#include "lib/types/datastoreElementType.h"
#include "tests/fuzz/fuzzHost.h"

namespace {
bool isAscii(const QString &text)
{
    return text.toLatin1() == text.toUtf8();
}

void readElement(const QByteArray &message)
{
    datastoreElementType element(QStringLiteral("before"), 1);
    if (!element.deserialise(message)) {
        require(element.key == QLatin1String("before") && element.value == QVariant(1));
        return;
    }
    require(element.value.isValid());
    element.printData();
    datastoreElementType::variantToDouble(element.value);
    datastoreElementType again;
    const bool isPlain = isAscii(element.key) && isAscii(element.value.toString());
    if (isPlain && again.deserialise(element.serialise())) // some types have no byte form
        require(again.key == element.key && again.serialise() == element.serialise());
}
}

void fuzz(const QByteArray &input)
{
    readElement(input);
    // Once more with start, length and checksum put right: chance never gets past them.
    const quint32 length = quint32(input.size());
    if (length < 8)
        return;
    const QByteArray sealed = "\xAB\xCD" + QByteArray(reinterpret_cast<const char *>(&length), sizeof length)
        + input.mid(6, input.size() - 8);
    const quint16 checksum = datastoreElementType::checksum(sealed);
    readElement(sealed + QByteArray(reinterpret_cast<const char *>(&checksum), sizeof checksum));
}
