// Serialised store elements, as they come from the native link and from TCP clients.
#include "lib/types/datastoreElementType.h"
#include "tests/fuzz/fuzzHost.h"

#include <algorithm>

namespace {
bool isAscii(const QString &text)
{
    return std::all_of(text.begin(), text.end(), [](QChar c) { return c.unicode() < 0x80; });
}

bool hasByteForm(const QVariant &value)
{
    constexpr int numbers[]
        = {QMetaType::Bool, QMetaType::Int, QMetaType::UInt, QMetaType::Float, QMetaType::Double};
    if (value.userType() == QMetaType::QString)
        return !value.toString().isEmpty() && isAscii(value.toString());
    return std::find(std::begin(numbers), std::end(numbers), value.userType()) != std::end(numbers);
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
    if (!isAscii(element.key) || !hasByteForm(element.value))
        return;
    datastoreElementType again;
    require(again.deserialise(element.serialise()));
    require(again.key == element.key && again.serialise() == element.serialise());
}
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QByteArray message = bytesOf(data, size);
    readElement(message);
    // Once more with start, length and checksum put right: chance never gets past them.
    if (size < 8)
        return 0;
    QByteArray sealed = message;
    const quint32 length = quint32(size);
    sealed.replace(0, 2, "\xAB\xCD");
    sealed.replace(2, 4, reinterpret_cast<const char *>(&length), sizeof length);
    const quint16 checksum = datastoreElementType::checksum(sealed.left(sealed.size() - 2));
    sealed.replace(sealed.size() - 2, 2, reinterpret_cast<const char *>(&checksum), sizeof checksum);
    readElement(sealed);
    return 0;
}
