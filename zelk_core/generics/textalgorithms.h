/// @file
/// What ZelkBasicString does with ranges of characters. Characters compare by their unsigned values. A text of size 0
/// may be null.
#pragma once

#include <cstddef>
#include <cstring>

namespace Z4::Private {

/// The number of characters before the terminator; 0 for null.
template <class Char>
unsigned TextLength(const Char* text) {
    if constexpr (sizeof(Char) == 1) {
        return text == nullptr ? 0 : static_cast<unsigned>(std::strlen(text));
    } else {
        unsigned length = 0;
        while (text != nullptr && text[length] != 0) {
            ++length;
        }
        return length;
    }
}

/// Below, at or above 0 as the first text comes before, equals or comes after the second.
template <class Char>
int CompareText(const Char* left, const Char* right, unsigned size) {
    if constexpr (sizeof(Char) == 1) {
        return size == 0 ? 0 : std::memcmp(left, right, size);
    } else {
        unsigned i = 0;
        while (i < size && left[i] == right[i]) {
            ++i;
        }
        return i == size ? 0 : left[i] < right[i] ? -1 : 1;
    }
}

/// The same for texts of any sizes: of two that begin alike the shorter comes first.
template <class Char>
int CompareText(const Char* left, unsigned leftSize, const Char* right, unsigned rightSize) {
    const int order = CompareText(left, right, leftSize < rightSize ? leftSize : rightSize);
    return order != 0 ? order : leftSize < rightSize ? -1 : leftSize > rightSize ? 1 : 0;
}

/// Copies characters; the two places may overlap.
template <class Char>
void MoveText(Char* to, const Char* from, unsigned size) {
    if (size != 0) {
        std::memmove(to, from, size * sizeof(Char));
    }
}

template <class Char>
void FillText(Char* to, unsigned count, Char character) {
    for (unsigned i = 0; i < count; ++i) {
        to[i] = character;
    }
}

/// Where `character` stands first; `end` when it is not there.
template <class Char>
const Char* FindCharacter(const Char* begin, const Char* end, Char character) {
    if constexpr (sizeof(Char) == 1) {
        const void* const found = std::memchr(begin, character, static_cast<std::size_t>(end - begin));
        return found != nullptr ? static_cast<const Char*>(found) : end;
    } else {
        const Char* at = begin;
        while (at != end && *at != character) {
            ++at;
        }
        return at;
    }
}

/// Where `text` stands first; `end` when it is not there. It has 1 character at least, and from `begin` to `end` there
/// are as many as that or more.
template <class Char>
const Char* FindText(const Char* begin, const Char* end, const Char* text, unsigned size) {
    const Char* const behindLast = end - size + 1;
    const Char* at = FindCharacter(begin, behindLast, *text);
    while (at != behindLast && CompareText(at, text, size) != 0) {
        at = FindCharacter(at + 1, behindLast, *text);
    }
    return at != behindLast ? at : end;
}

} // namespace Z4::Private
