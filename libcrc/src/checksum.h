#ifndef CHECKSUM_H
#define CHECKSUM_H

#include <cstddef>
#include <cstdint>

/// Checksum routines of the common published kinds, after their definitions in the catalogue of parametrised
/// CRC algorithms. Every routine may be called from any thread. A null pointer gives the routine's initial
/// value, whatever the length.

/// CRC-16/ARC: reflected polynomial 0xA001, initial value 0, no final inversion. Used by stored elements.
uint16_t crc_16(const unsigned char *data, size_t length);
/// CRC-16/ARC carried on by one byte.
uint16_t update_crc_16(uint16_t crc, unsigned char byte);
/// CRC-16/MODBUS: as crc_16(), initial value 0xFFFF.
uint16_t crc_modbus(const unsigned char *data, size_t length);

/// The CRC-16/CCITT family: polynomial 0x1021, not reflected, any initial value.
uint16_t crc_ccitt_generic(const unsigned char *data, size_t length, uint16_t start);
uint16_t crc_xmodem(const unsigned char *data, size_t length);     // initial value 0
uint16_t crc_ccitt_1d0f(const unsigned char *data, size_t length); // initial value 0x1D0F
uint16_t crc_ccitt_ffff(const unsigned char *data, size_t length); // initial value 0xFFFF
/// CRC-16/CCITT carried on by one byte.
uint16_t update_crc_ccitt(uint16_t crc, unsigned char byte);

/// CRC-16/DNP: reflected polynomial 0xA6BC, inverted. The two bytes of the result are swapped, in the order
/// in which they are sent.
uint16_t crc_dnp(const unsigned char *data, size_t length);
/// CRC-16/KERMIT: reflected CCITT polynomial. The two bytes of the result are swapped.
uint16_t crc_kermit(const unsigned char *data, size_t length);
/// CRC-16/SICK: polynomial 0x8005 over pairs of bytes. The two bytes of the result are swapped.
uint16_t crc_sick(const unsigned char *data, size_t length);

/// CRC-32 of Ethernet and zip: reflected polynomial 0xEDB88320, initial value all ones, inverted.
uint32_t crc_32(const unsigned char *data, size_t length);

/// CRC-64/ECMA-182: polynomial 0x42F0E1EBA9EA3693, not reflected, initial value 0.
uint64_t crc_64_ecma(const unsigned char *data, size_t length);
/// CRC-64/WE: the same polynomial, initial value all ones, inverted.
uint64_t crc_64_we(const unsigned char *data, size_t length);

/// CRC-8 of the SHT7x humidity sensors: polynomial 0x31, not reflected, initial value 0.
uint8_t crc_8(const unsigned char *data, size_t length);

/// NMEA 0183: XOR of the characters after a leading "$" up to "*", a line end or the end of the text.
/// Writes two upper-case hexadecimal digits and a terminator to \a result (3 bytes) and returns it; with a
/// null pointer nothing is written and null returned.
unsigned char *checksum_NMEA(const unsigned char *text, unsigned char *result);

#endif
