/// @file
/// What ZelkBasicString does with ranges of characters. A text of size 0 may be null.
#pragma once

#include <cstddef>
#include <cstring>

namespace Z4::Private {

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

} // namespace Z4::Private
