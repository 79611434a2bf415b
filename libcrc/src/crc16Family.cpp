#include "libcrc/src/checksum.h"
#include "libcrc/src/crcTables.h"

namespace {
constexpr crcTable<uint16_t> ccittTable = forwardTable<uint16_t>(0x1021);
constexpr crcTable<uint16_t> kermitTable = reflectedTable<uint16_t>(0x8408);
constexpr crcTable<uint16_t> dnpTable = reflectedTable<uint16_t>(0xA6BC);
constexpr unsigned int sickPolynomial = 0x8005;

constexpr uint16_t bytesSwapped(uint16_t crc)
{
    return uint16_t((crc << 8) | (crc >> 8));
}
}

uint16_t crc_ccitt_generic(const unsigned char *data, size_t length, uint16_t start)
{
    return data ? forwardCrc(ccittTable, start, data, length) : start;
}

uint16_t crc_xmodem(const unsigned char *data, size_t length)
{
    return crc_ccitt_generic(data, length, 0);
}

uint16_t crc_ccitt_1d0f(const unsigned char *data, size_t length)
{
    return crc_ccitt_generic(data, length, 0x1D0F);
}

uint16_t crc_ccitt_ffff(const unsigned char *data, size_t length)
{
    return crc_ccitt_generic(data, length, 0xFFFF);
}

uint16_t update_crc_ccitt(uint16_t crc, unsigned char byte)
{
    return forwardCrc(ccittTable, crc, &byte, 1);
}

uint16_t crc_dnp(const unsigned char *data, size_t length)
{
    return data ? bytesSwapped(uint16_t(~reflectedCrc<uint16_t>(dnpTable, 0, data, length))) : uint16_t(0);
}

uint16_t crc_kermit(const unsigned char *data, size_t length)
{
    return data ? bytesSwapped(reflectedCrc<uint16_t>(kermitTable, 0, data, length)) : uint16_t(0);
}

uint16_t crc_sick(const unsigned char *data, size_t length)
{
    unsigned int crc = 0;
    unsigned int before = 0; // the byte before, in the upper half of each pair
    for (size_t i = 0; data && i < length; ++i) {
        crc = ((crc & 0x8000U) ? (crc << 1) ^ sickPolynomial : crc << 1) & 0xFFFFU;
        crc ^= (before << 8) | data[i];
        before = data[i];
    }
    return bytesSwapped(uint16_t(crc));
}
