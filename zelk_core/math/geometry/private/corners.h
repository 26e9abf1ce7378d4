/// @file
/// The numbering of the corners, which both kinds of box share.
#pragma once

#include <zelk_core/math/vectorsimd.h>

namespace Z4::Private {

inline constexpr unsigned long CORNER_COUNT = 8;

/// For corner `index`, below CORNER_COUNT: a mask with the lanes x, y and z set where the corner is on the high side.
inline VectorSIMD4f HighSides(unsigned long index) {
    // Bit 0 stands for x, bit 1 for y, bit 2 for z.
    static constexpr int HIGH_SIDES[CORNER_COUNT] = {0b000, 0b001, 0b011, 0b010, 0b110, 0b100, 0b101, 0b111};
    return VectorSIMD4f(Lanes::MaskOfBits(HIGH_SIDES[index]));
}

} // namespace Z4::Private
