// The byte form of an element beside a fixed buffer, the checksum beside slicing-by-8 written out.
#include "benchmarks/ratios.h"
#include "lib/types/datastoreElementType.h"
#include "libcrc/src/checksum.h"

#include <benchmark/benchmark.h>

#include <array>
#include <cstring>

namespace {
using table = std::array<uint16_t, 256>;

std::array<table, 8> makeTables()
{
    std::array<table, 8> tables{};
    for (size_t n = 0; n < tables.size(); ++n) {
        for (unsigned int byte = 0; byte < 256; ++byte) {
            unsigned int crc = n == 0 ? byte : tables[n - 1][byte];
            for (int bit = 0; bit < 8; ++bit)
                crc = (crc & 1U) ? (crc >> 1) ^ 0xA001U : crc >> 1;
            tables[n][byte] = uint16_t(crc);
        }
    }
    return tables;
}

const std::array<table, 8> tables = makeTables();

/// The floor of the checksum: eight look-ups a turn.
__attribute__((noinline)) uint16_t slice8(const unsigned char *data, size_t length)
{
    unsigned int crc = 0;
    for (; length >= 8; data += 8, length -= 8) {
        crc = tables[7][data[0] ^ (crc & 0xFF)] ^ tables[6][data[1] ^ (crc >> 8)] ^ tables[5][data[2]]
            ^ tables[4][data[3]] ^ tables[3][data[4]] ^ tables[2][data[5]] ^ tables[1][data[6]]
            ^ tables[0][data[7]];
    }
    for (; length; --length, ++data)
        crc = (crc >> 8) ^ tables[0][(crc ^ *data) & 0xFF];
    return uint16_t(crc);
}

// 40 bytes: head 10, key 16, type 4, value 8, checksum 2
const char key[] = "flowtemperature1";
constexpr size_t keySize = sizeof key - 1;
constexpr size_t messageSize = 10 + keySize + 4 + 8 + 2;

/// The floor of the byte form: everything at a known place of a buffer on the stack.
double throughBuffer(double value)
{
    unsigned char buffer[messageSize] = {0xAB, 0xCD};
    const uint32_t head[] = {messageSize, keySize};
    const uint32_t type = QMetaType::Double;
    std::memcpy(buffer + 2, head, sizeof head);
    std::memcpy(buffer + 10, key, keySize);
    std::memcpy(buffer + 10 + keySize, &type, sizeof type);
    std::memcpy(buffer + 14 + keySize, &value, sizeof value);
    const uint16_t sum = slice8(buffer, messageSize - 4);
    std::memcpy(buffer + messageSize - 2, &sum, sizeof sum);
    benchmark::DoNotOptimize(buffer);
    benchmark::ClobberMemory();

    uint16_t received = 0;
    std::memcpy(&received, buffer + messageSize - 2, sizeof received);
    char name[keySize + 1] = {};
    std::memcpy(name, buffer + 10, keySize);
    benchmark::DoNotOptimize(name);
    double result = 0.0;
    std::memcpy(&result, buffer + 14 + keySize, sizeof result);
    return slice8(buffer, messageSize - 4) == received ? result : 0.0;
}

void roundtrip(benchmark::State &state)
{
    datastoreElementType sent(QString::fromLatin1(key), 0.0);
    datastoreElementType received;
    double value = 0.0;
    for (auto _ : state) {
        sent.value = value += 0.5;
        if (!received.deserialise(sent.serialise()))
            state.SkipWithError("refused");
    }
    if (sent.serialise().size() != int(messageSize))
        state.SkipWithError("not the size of the floor");
}
BENCHMARK(roundtrip);

void roundtripBuffer(benchmark::State &state)
{
    double value = 0.0;
    for (auto _ : state)
        benchmark::DoNotOptimize(throughBuffer(value += 0.5));
}
BENCHMARK(roundtripBuffer);

template <uint16_t (*crc)(const unsigned char *, size_t)>
void kilobyte(benchmark::State &state)
{
    std::array<unsigned char, 1024> data{};
    for (size_t i = 0; i < data.size(); ++i)
        data[i] = static_cast<unsigned char>(i * 31 + 7);
    if (crc(data.data(), data.size()) != slice8(data.data(), data.size()))
        state.SkipWithError("wrong checksum");
    for (auto _ : state) {
        benchmark::DoNotOptimize(data.data());
        benchmark::DoNotOptimize(crc(data.data(), data.size()));
    }
}
BENCHMARK_TEMPLATE(kilobyte, crc_16)->Name("crc1024");
BENCHMARK_TEMPLATE(kilobyte, slice8)->Name("crc1024Slice8");
}

int main(int argc, char **argv)
{
    return runBenchmarks(argc, argv,
        {
            {"codec.roundtrip_vs_buffer", "roundtrip", "roundtripBuffer"},
            {"codec.crc1024_vs_slice8", "crc1024", "crc1024Slice8"},
        });
}
