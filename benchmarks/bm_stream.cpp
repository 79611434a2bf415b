// Cutting a byte stream into messages, beside a scan that does nothing but copy them out; and the whole way
// from the stream into the store, in bytes a second.
#include "benchmarks/ratios.h"
#include "lib/parsers/nativeTransferParser.h"
#include "lib/types/datastore.h"
#include "tests/support/fakeInterface.h"

#include <benchmark/benchmark.h>

#include <cstring>
#include <vector>

namespace {
constexpr int readSize = 1000; // bytes that one read brings
constexpr int reads = 100;

/// Messages of 40 bytes, in reads that cut them anywhere.
std::vector<QByteArray> makeReads()
{
    QByteArray stream;
    for (int i = 0; stream.size() < readSize * reads; ++i)
        stream += datastoreElementType(QStringLiteral("flowtemperature%1").arg(i % 10), i * 0.1).serialise();
    std::vector<QByteArray> all;
    for (int i = 0; i < reads; ++i)
        all.push_back(stream.mid(i * readSize, readSize));
    return all;
}

constexpr int messageSize = 40;
constexpr int messages = readSize * reads / messageSize;

/// The floor: keeps the rest of a read, finds the start bytes, copies the message out.
class scanner
{
public:
    template <class F>
    void feed(const QByteArray &data, F take)
    {
        m_buffer.append(data);
        const char *at = m_buffer.constData();
        const char *const end = at + m_buffer.size();
        while (
            (at = static_cast<const char *>(memmem(at, size_t(end - at), "\xAB\xCD", 2))) && end - at >= 6) {
            quint32 length = 0;
            std::memcpy(&length, at + 2, sizeof length);
            if (end - at < qint64(length))
                break;
            take(QByteArray(at, int(length)));
            at += length;
        }
        m_buffer.remove(0, at ? int(at - m_buffer.constData()) : m_buffer.size());
    }

private:
    QByteArray m_buffer;
};

/// Without a receiver in the timed part: what Qt takes to deliver a signal is not framing, and the floor
/// delivers nothing.
void framing(benchmark::State &state)
{
    const std::vector<QByteArray> stream = makeReads();
    fakeInterface line(QStringLiteral("line"));
    nativeTransferParser parser(&line, nullptr);
    line.open(QIODevice::ReadOnly);
    int seen = 0;
    const auto counter
        = QObject::connect(&parser, &parser::dataOut, &parser, [&seen](const QByteArray &) { ++seen; });
    const auto work = [&] {
        for (const QByteArray &read : stream)
            line.receive(read);
    };
    work();
    QObject::disconnect(counter);
    if (seen != messages)
        state.SkipWithError("messages lost");
    for (auto _ : state)
        work();
}
BENCHMARK(framing);

void framingScan(benchmark::State &state)
{
    const std::vector<QByteArray> stream = makeReads();
    int seen = 0;
    scanner scan;
    for (auto _ : state) {
        for (const QByteArray &read : stream)
            scan.feed(read, [&seen](const QByteArray &message) {
                benchmark::DoNotOptimize(message.constData());
                ++seen;
            });
    }
    if (seen != int(state.iterations()) * messages)
        state.SkipWithError("messages lost");
}
BENCHMARK(framingScan);

/// What the same bytes take at 50 MB/s.
constexpr double budgetNs = readSize * reads / 50e6 * 1e9;

/// The whole way: parser, byte form, store.
void streamToStore(benchmark::State &state)
{
    const std::vector<QByteArray> stream = makeReads();
    datastore store;
    fakeInterface line(QStringLiteral("line"));
    nativeTransferParser parser(&line, nullptr);
    QObject::connect(
        &parser, &parser::dataOut, &store, [&store](const QByteArray &bytes) { store.store(bytes); });
    line.open(QIODevice::ReadOnly);
    for (auto _ : state) {
        for (const QByteArray &read : stream)
            line.receive(read);
    }
    state.SetBytesProcessed(qint64(state.iterations()) * readSize * reads);
}
BENCHMARK(streamToStore);
}

int main(int argc, char **argv)
{
    return runBenchmarks(argc, argv,
        {
            {"codec.framing_vs_scan", "framing", "framingScan"},
            {"stream.50MBps_share", "streamToStore", nullptr, budgetNs},
        });
}
