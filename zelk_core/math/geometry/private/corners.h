/// @file
/// The numbering of the corners, which both kinds of box share.
#pragma once

#include <zelk_core/math/vectorsimd.h>

namespace Z4::Geometry::Private {

inline constexpr unsigned long CORNER_COUNT = 8;

/// For corner `index`, below CORNER_COUNT: a mask with the lanes x, y and z set where the corner is on the high side.
inline VectorSIMD4f HighSides(unsigned long index) {
    // Bit 0 stands for x, bit 1 for y, bit 2 for z.
    static constexpr int HIGH_SIDES[CORNER_COUNT] = {0b000, 0b001, 0b011, 0b010, 0b110, 0b100, 0b101, 0b111};
    const __m128i bits = _mm_setr_epi32(1, 2, 4, 8);
    return VectorSIMD4f(
        _mm_castsi128_ps(_mm_cmpeq_epi32(_mm_and_si128(_mm_set1_epi32(HIGH_SIDES[index]), bits), bits)));
}

} // namespace Z4::Geometry::Private
