#include "libcrc/src/checksum.h"

uint16_t crc_16(const unsigned char *data, size_t length)
{
    uint16_t crc = 0;
    for (size_t i = 0; data && i < length; ++i) {
        crc = uint16_t(crc ^ data[i]);
        for (int bit = 0; bit < 8; ++bit)
            crc = uint16_t((crc & 1U) ? (crc >> 1) ^ 0xA001U : crc >> 1);
    }
    return crc;
}
