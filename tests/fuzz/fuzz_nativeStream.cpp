// The byte stream of the native link, in reads of any size, down to the elements in it.
#include "lib/parsers/nativeTransferParser.h"
#include "lib/types/datastoreElementType.h"
#include "tests/fuzz/fuzzHost.h"
#include "tests/support/fakeInterface.h"

#include <QtEndian>

namespace {
constexpr int bufferLimit = 1024;
constexpr int headerSize = 6;

struct watchedParser : nativeTransferParser {
    using nativeTransferParser::nativeTransferParser;
    int waiting() const { return buffer.size(); }
};
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    if (size == 0)
        return 0;
    const fuzzHost host(data, size);
    fakeInterface link(QStringLiteral("link"), host);
    watchedParser cutter(&link, nullptr);
    qint64 cut = 0;
    QObject::connect(&cutter, &parser::dataOut, &cutter, [&cut](const QByteArray &message) {
        cut += message.size();
        require(message.size() >= headerSize && message.startsWith("\xAB\xCD"));
        require(qFromLittleEndian<qint32>(message.constData() + 2) == message.size());
        datastoreElementType().deserialise(message);
    });
    emit link.interfaceConnected();

    const QByteArray stream = bytesOf(data, size).mid(1);
    const int readSize = data[0] + 1; // 1..256
    for (int at = 0; at < stream.size(); at += readSize) {
        link.receive(stream.mid(at, readSize));
        require(cutter.waiting() <= bufferLimit);
    }
    require(cut <= stream.size());
    return 0;
}
