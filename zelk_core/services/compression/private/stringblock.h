/// @file
/// The header that each block of packed text begins with: 32 bits, high byte first.
#pragma once

#include <cstdint>
#include <cstring>

namespace Z4::Private {

inline constexpr unsigned long STRING_HEADER_SIZE = 4; ///< bytes

struct StringBlockHeader {
    bool more;          ///< another block follows
    unsigned content;   ///< which table
    unsigned long size; ///< in bytes, header included, bytes up to the next block not
    unsigned long characters;
};

/// Each block begins at a multiple of 4 bytes.
constexpr unsigned long RoundUpToWord(unsigned long size) {
    return (size + 3) & ~3UL;
}

/// Reads STRING_HEADER_SIZE bytes at `in`, whatever they hold.
inline StringBlockHeader ReadHeader(const char* in) {
    unsigned char bytes[STRING_HEADER_SIZE];
    std::memcpy(bytes, in, STRING_HEADER_SIZE);
    const std::uint32_t word = std::uint32_t{bytes[0]} << 24 | std::uint32_t{bytes[1]} << 16 |
                               std::uint32_t{bytes[2]} << 8 | std::uint32_t{bytes[3]};
    return {(word & 1) != 0, word >> 2 & 0xF, word >> 6 & 0x1FFF, word >> 19};
}

inline void WriteHeader(const StringBlockHeader& header, char* out) {
    const auto word = static_cast<std::uint32_t>(header.characters << 19 | header.size << 6 | header.content << 2 | 2 |
                                                 (header.more ? 1 : 0));
    for (unsigned i = 0; i < STRING_HEADER_SIZE; ++i) {
        out[i] = static_cast<char>(word >> (24 - 8 * i));
    }
}

} // namespace Z4::Private
