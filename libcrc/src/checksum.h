#ifndef CHECKSUM_H
#define CHECKSUM_H

#include <cstddef>
#include <cstdint>

/// Checksum routines of the common published kinds, from their published definitions (the catalogue of
/// parametrised CRC algorithms names each). All may be called from any thread. A null pointer gives the
/// initial value of the routine, and so does a length of 0.

/// CRC-16/ARC: reflected polynomial 0xA001, initial value 0, no final inversion.
uint16_t crc_16(const unsigned char *data, size_t length);

#endif
