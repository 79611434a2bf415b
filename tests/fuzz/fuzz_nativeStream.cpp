// The byte stream of the native link, in reads of any size, down to the elements in it.
#include "lib/interfaces/interface.h"
#include "lib/parsers/nativeTransferParser.h"
#include "lib/types/datastoreElementType.h"
#include "tests/fuzz/fuzzHost.h"

#include <QtEndian>

namespace {
constexpr int bufferLimit = 1024;
constexpr int headerSize = 6;

/// A link that hands out what the fuzzer gave it.
class fuzzLink : public interface
{
public:
    using interface::interface;

    QByteArray readAll() override { return m_next; }
    void receive(const QByteArray &bytes)
    {
        m_next = bytes;
        emit readyRead();
    }

private:
    QByteArray m_next;
};

class watchedParser : public nativeTransferParser
{
public:
    using nativeTransferParser::nativeTransferParser;
    int waiting() const { return buffer.size(); }
};
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    if (size == 0)
        return 0;
    const fuzzHost host(data, size);
    fuzzLink link(host);
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
