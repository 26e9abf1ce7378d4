/// @file
/// The classes of characters that the string compressor has codes for, and what its flags make of a byte.
#pragma once

#include <zelk_core/services/compression/stringcompressor.h>

namespace Z4::Private {

inline constexpr char PUNCTUATION_CLASS[] = " !\"#$%&'()*+,-./=@_\\";
inline constexpr char LOWER_CASE_CLASS[] = " abcdefghijklmnopqrstuvwxyz\r\n";
inline constexpr char UPPER_CASE_CLASS[] = " ABCDEFGHIJKLMNOPQRSTUVWXYZ\r\n";
inline constexpr char DIGITS_CLASS[] = " 0123456789\r\n";

/// What becomes of each byte.
struct ByteMap {
    unsigned char to[256];
};

inline constexpr ByteMap IDENTITY = [] {
    ByteMap map{};
    for (unsigned byte = 0; byte < 256; ++byte) {
        map.to[byte] = static_cast<unsigned char>(byte);
    }
    return map;
}();

inline constexpr ByteMap WITHOUT_ACCENTS = [] {
    // 0xC0 to 0xFF; a dot stays as it is.
    constexpr char LETTERS[] = "AAAAAAACEEEEIIIIDNOOOOO*OUUUUY.baaaaaaaceeeeiiiionooooo/ouuuuy..";
    static_assert(sizeof(LETTERS) == 64 + 1);
    ByteMap map = IDENTITY;
    for (unsigned i = 0; i < 64; ++i) {
        if (LETTERS[i] != '.') {
            map.to[0xC0 + i] = static_cast<unsigned char>(LETTERS[i]);
        }
    }
    return map;
}();

// The letters of Latin-1 too, although all of them are dropped before the case is folded: one day they may have codes.
constexpr bool IsUpperCase(unsigned byte) {
    return (byte >= 'A' && byte <= 'Z') || (byte >= 0xC0 && byte <= 0xDD && byte != 0xD0 && byte != 0xD7);
}

inline constexpr ByteMap TO_LOWER_CASE = [] {
    ByteMap map = IDENTITY;
    for (unsigned byte = 0; byte < 256; ++byte) {
        if (IsUpperCase(byte)) {
            map.to[byte] = static_cast<unsigned char>(byte + 0x20);
        }
    }
    return map;
}();

inline constexpr ByteMap TO_UPPER_CASE = [] {
    ByteMap map = IDENTITY;
    for (unsigned byte = 0; byte < 256; ++byte) {
        if (IsUpperCase(byte)) {
            map.to[byte + 0x20] = static_cast<unsigned char>(byte);
        }
    }
    return map;
}();

inline const ByteMap& CaseMap(unsigned long content, unsigned long flags) {
    if ((flags & StringCompressor::FOLD_CASE) != 0) {
        switch (content & (StringCompressor::LOWER_CASE | StringCompressor::UPPER_CASE)) {
        case StringCompressor::UPPER_CASE:
            return TO_UPPER_CASE;
        case StringCompressor::LOWER_CASE:
            return TO_LOWER_CASE;
        default:
            break;
        }
    }
    return IDENTITY;
}

// What each byte adds to the content of a text. Spaces and line ends, which are in several classes, add nothing.
inline constexpr ByteMap CLASS_OF = [] {
    ByteMap map{};
    for (unsigned byte = 'A'; byte <= 'Z'; ++byte) {
        map.to[byte] = StringCompressor::UPPER_CASE;
        map.to[byte + 0x20] = StringCompressor::LOWER_CASE;
    }
    for (unsigned byte = '0'; byte <= '9'; ++byte) {
        map.to[byte] = StringCompressor::DIGITS;
    }
    for (const char* character = PUNCTUATION_CLASS + 1; *character != 0; ++character) {
        map.to[static_cast<unsigned char>(*character)] = StringCompressor::PUNCTUATION;
    }
    return map;
}();

} // namespace Z4::Private
