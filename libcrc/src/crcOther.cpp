#include "libcrc/src/checksum.h"
#include "libcrc/src/crcTables.h"

namespace {
constexpr crcTable<uint32_t> crc32Table = reflectedTable<uint32_t>(0xEDB88320U);
constexpr crcTable<uint64_t> crc64Table = forwardTable<uint64_t>(0x42F0E1EBA9EA3693U);
constexpr crcTable<uint8_t> sensorTable = forwardTable<uint8_t>(0x31);
constexpr uint32_t allOnes32 = ~uint32_t(0);
constexpr uint64_t allOnes64 = ~uint64_t(0);

bool endsNmeaText(unsigned char c)
{
    return c == '*' || c == '\r' || c == '\n' || c == '\0';
}
}

uint32_t crc_32(const unsigned char *data, size_t length)
{
    return data ? ~reflectedCrc(crc32Table, allOnes32, data, length) : allOnes32;
}

uint64_t crc_64_ecma(const unsigned char *data, size_t length)
{
    return data ? forwardCrc<uint64_t>(crc64Table, 0, data, length) : 0;
}

uint64_t crc_64_we(const unsigned char *data, size_t length)
{
    return data ? ~forwardCrc(crc64Table, allOnes64, data, length) : allOnes64;
}

uint8_t crc_8(const unsigned char *data, size_t length)
{
    return data ? forwardCrc<uint8_t>(sensorTable, 0, data, length) : uint8_t(0);
}

unsigned char *checksum_NMEA(const unsigned char *text, unsigned char *result)
{
    static constexpr char digits[] = "0123456789ABCDEF";
    if (!text || !result)
        return nullptr;
    unsigned int sum = 0;
    for (const unsigned char *at = *text == '$' ? text + 1 : text; !endsNmeaText(*at); ++at)
        sum ^= *at;
    result[0] = static_cast<unsigned char>(digits[sum >> 4]);
    result[1] = static_cast<unsigned char>(digits[sum & 0xFU]);
    result[2] = '\0';
    return result;
}
