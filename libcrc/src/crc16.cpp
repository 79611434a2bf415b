#include "libcrc/src/checksum.h"
#include "libcrc/src/crcTables.h"

namespace {
constexpr uint16_t polynomial = 0xA001;
constexpr uint16_t modbusStart = 0xFFFF;
constexpr size_t sliceSize = 8; // bytes that are looked up at once

/// Table n holds the CRC of a byte that n zero bytes follow.
constexpr std::array<crcTable<uint16_t>, sliceSize> makeSlices()
{
    std::array<crcTable<uint16_t>, sliceSize> tables{};
    tables[0] = reflectedTable(polynomial);
    for (size_t n = 1; n < sliceSize; ++n) {
        for (size_t byte = 0; byte < tables[n].size(); ++byte) {
            const uint16_t before = tables[n - 1][byte];
            tables[n][byte] = uint16_t((before >> 8) ^ tables[0][before & 0xFFU]);
        }
    }
    return tables;
}

constexpr std::array<crcTable<uint16_t>, sliceSize> slices = makeSlices();

/// Eight independent look-ups at a time: the processor does them side by side.
uint16_t sliced(uint16_t start, const unsigned char *data, size_t length)
{
    unsigned int crc = start;
    for (; length >= sliceSize; data += sliceSize, length -= sliceSize) {
        crc = slices[7][data[0] ^ (crc & 0xFFU)] ^ slices[6][data[1] ^ (crc >> 8)] ^ slices[5][data[2]]
            ^ slices[4][data[3]] ^ slices[3][data[4]] ^ slices[2][data[5]] ^ slices[1][data[6]]
            ^ slices[0][data[7]];
    }
    if (length >= sliceSize / 2) { // most stored elements are short: half a slice still beats single bytes
        crc = slices[3][data[0] ^ (crc & 0xFFU)] ^ slices[2][data[1] ^ (crc >> 8)] ^ slices[1][data[2]]
            ^ slices[0][data[3]];
        data += sliceSize / 2;
        length -= sliceSize / 2;
    }
    return reflectedCrc(slices[0], uint16_t(crc), data, length);
}
}

uint16_t crc_16(const unsigned char *data, size_t length)
{
    return data ? sliced(0, data, length) : uint16_t(0);
}

uint16_t update_crc_16(uint16_t crc, unsigned char byte)
{
    return reflectedCrc(slices[0], crc, &byte, 1);
}

uint16_t crc_modbus(const unsigned char *data, size_t length)
{
    return data ? sliced(modbusStart, data, length) : modbusStart;
}
