// Tables from other systems' status numbers to the library's codes.
#pragma once

#include <cstddef>
#include <zelk_core/base/error.h>

namespace Z4::Private {

struct Translation {
    int number;
    Error error;
};

template <std::size_t N>
constexpr Error Translate(const Translation (&table)[N], int number) {
    for (const Translation& entry : table) {
        if (entry.number == number) {
            return entry.error;
        }
    }
    return ERR_UNHANDLED;
}

} // namespace Z4::Private
