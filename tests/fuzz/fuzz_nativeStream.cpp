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

void fuzz(const QByteArray &input)
{
    const fuzzHost host(input);
    fakeInterface link(QStringLiteral("link"), host);
    watchedParser cutter(&link, nullptr);
    int cut = 0;
    QObject::connect(&cutter, &parser::dataOut, &cutter, [&cut](const QByteArray &message) {
        cut += message.size();
        require(message.size() >= headerSize && message.startsWith("\xAB\xCD"));
        require(qFromLittleEndian<qint32>(message.constData() + 2) == message.size());
        datastoreElementType().deserialise(message);
    });
    emit link.interfaceConnected();

    const int readSize = input.isEmpty() ? 1 : quint8(input[0]) + 1; // 1..256
    for (int at = 1; at < input.size(); at += readSize) {
        link.receive(input.mid(at, readSize));
        require(cutter.waiting() <= bufferLimit);
    }
    require(cut <= input.size());
}
