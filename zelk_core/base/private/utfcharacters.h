// The characters of UTF-8 and UTF-16 one at a time.
#pragma once

#include <cstddef>
#include <cstdint>

namespace Z4::Private {

/// What stands at a place: a character, or as many units of an ill-formed one as could begin a character.
struct Sequence {
    char32_t character;
    std::uint8_t size; ///< in units; 1 at least
    bool isValid;
};

/// @param at below `end`. After the Unicode Standard, table 3-7, of well-formed UTF-8 byte sequences.
inline Sequence ReadSequence(const char* at, const char* end) {
    const auto byte = [=](unsigned i) { return static_cast<unsigned char>(at[i]); };
    const std::size_t left = static_cast<std::size_t>(end - at);
    const char32_t first = byte(0);
    if (first < 0x80) {
        return {first, 1, true};
    }
    if (first < 0xC2 || first > 0xF4) {
        return {first, 1, false};
    }
    // Only the second byte has bounds that depend on the first: against overlong forms, surrogates, and what lies
    // above.
    const unsigned char lowest = first == 0xE0 ? 0xA0 : first == 0xF0 ? 0x90 : 0x80;
    const unsigned char highest = first == 0xED ? 0x9F : first == 0xF4 ? 0x8F : 0xBF;
    if (left < 2 || byte(1) < lowest || byte(1) > highest) {
        return {first, 1, false};
    }
    const char32_t second = byte(1) & 0x3FU;
    if (first < 0xE0) {
        return {(first & 0x1F) << 6 | second, 2, true};
    }
    if (left < 3 || (byte(2) & 0xC0) != 0x80) {
        return {first, 2, false};
    }
    const char32_t third = second << 6 | (byte(2) & 0x3FU);
    if (first < 0xF0) {
        return {(first & 0x0F) << 12 | third, 3, true};
    }
    if (left < 4 || (byte(3) & 0xC0) != 0x80) {
        return {first, 3, false};
    }
    return {(first & 0x07) << 18 | third << 6 | (byte(3) & 0x3FU), 4, true};
}

/// A surrogate without its partner is ill-formed.
inline Sequence ReadSequence(const wchar_t* at, const wchar_t* end) {
    const char32_t unit = static_cast<std::uint16_t>(*at);
    if (unit < 0xD800 || unit > 0xDFFF) {
        return {unit, 1, true};
    }
    if (unit > 0xDBFF || end - at < 2) {
        return {unit, 1, false};
    }
    const char32_t low = static_cast<std::uint16_t>(at[1]);
    if (low < 0xDC00 || low > 0xDFFF) {
        return {unit, 1, false};
    }
    return {0x10000 + ((unit - 0xD800) << 10 | (low - 0xDC00)), 2, true};
}

inline std::size_t SizeIn(char32_t character, char) {
    return character < 0x80 ? 1 : character < 0x800 ? 2 : character < 0x10000 ? 3 : 4;
}
inline std::size_t SizeIn(char32_t character, wchar_t) {
    return character < 0x10000 ? 1 : 2;
}

/// Writes as many units as SizeIn() tells of a character that is none of the surrogates.
inline void WriteCharacter(char* to, char32_t character) {
    const std::size_t size = SizeIn(character, char{});
    if (size == 1) {
        to[0] = static_cast<char>(character);
        return;
    }
    for (std::size_t i = size - 1; i > 0; --i) {
        to[i] = static_cast<char>(0x80 | (character & 0x3F));
        character >>= 6;
    }
    to[0] = static_cast<char>((0xF00U >> size & 0xF0) | character);
}
inline void WriteCharacter(wchar_t* to, char32_t character) {
    if (character < 0x10000) {
        to[0] = static_cast<wchar_t>(character);
        return;
    }
    to[0] = static_cast<wchar_t>(0xD800 + ((character - 0x10000) >> 10));
    to[1] = static_cast<wchar_t>(0xDC00 + ((character - 0x10000) & 0x3FF));
}

} // namespace Z4::Private
