// Texts that are copied into the room there is: what is too long is cut, and the copy always ends with a zero.
#pragma once

#include <cstddef>
#include <cstring>

namespace Z4::Private {

/// Copies `length` characters of `from`, or as many as fit.
template <class Character, std::size_t SIZE>
void CopyTruncated(Character (&to)[SIZE], const Character* from, std::size_t length) {
    const std::size_t kept = length < SIZE ? length : SIZE - 1;
    std::memcpy(to, from, kept * sizeof(Character));
    to[kept] = Character{};
}

/// Copies a text that ends with a zero; no more of it is read than fits.
template <std::size_t SIZE>
void CopyTruncated(char (&to)[SIZE], const char* from) {
    CopyTruncated(to, from, strnlen(from, SIZE - 1));
}

} // namespace Z4::Private
