#ifndef CRCTABLES_H
#define CRCTABLES_H

#include <array>
#include <climits>
#include <cstddef>

/// Tables of the CRC of each byte value, made by the compiler: constant, so every thread may read them.
template <class T>
using crcTable = std::array<T, 256>;

/// For CRCs that take the low bit first; \a polynomial is the reflected one.
template <class T>
constexpr crcTable<T> reflectedTable(T polynomial)
{
    crcTable<T> table{};
    for (size_t byte = 0; byte < table.size(); ++byte) {
        T crc = T(byte);
        for (int bit = 0; bit < CHAR_BIT; ++bit)
            crc = T((crc & 1U) ? (crc >> 1) ^ polynomial : crc >> 1);
        table[byte] = crc;
    }
    return table;
}

/// For CRCs that take the high bit first.
template <class T>
constexpr crcTable<T> forwardTable(T polynomial)
{
    constexpr int width = sizeof(T) * CHAR_BIT;
    crcTable<T> table{};
    for (size_t byte = 0; byte < table.size(); ++byte) {
        T crc = T(T(byte) << (width - CHAR_BIT));
        for (int bit = 0; bit < CHAR_BIT; ++bit)
            crc = T((crc >> (width - 1)) ? T(crc << 1) ^ polynomial : crc << 1);
        table[byte] = crc;
    }
    return table;
}

/// \a crc carried on over the bytes, low bit first.
template <class T>
T reflectedCrc(const crcTable<T> &table, T crc, const unsigned char *data, size_t length)
{
    for (size_t i = 0; i < length; ++i)
        crc = T((crc >> CHAR_BIT) ^ table[(crc ^ data[i]) & 0xFFU]);
    return crc;
}

/// \a crc carried on over the bytes, high bit first.
template <class T>
T forwardCrc(const crcTable<T> &table, T crc, const unsigned char *data, size_t length)
{
    constexpr int width = sizeof(T) * CHAR_BIT;
    for (size_t i = 0; i < length; ++i) {
        const T shifted = width > CHAR_BIT ? T(crc << CHAR_BIT % width) : T(0);
        crc = T(shifted ^ table[((crc >> (width - CHAR_BIT)) ^ data[i]) & 0xFFU]);
    }
    return crc;
}

#endif
