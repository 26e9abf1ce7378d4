/// @file
/// What the SIMD vectors and matrices are made of: the operations on four floats in one register that the library uses.
/// Public because inline headers use it; programs use VectorSIMD4f.
///
/// There are two forms. This one is SSE2. The other, plainlanes.h, does the same one lane after another and is the
/// measure for this one: a program that defines `ZELK_PLAIN_LANES` gets it, before the first include and for all its
/// sources alike. Both give the same bits, except that which NaN comes out of several is the compiler's choice.
///
/// Lane 0 is x, lane 3 is w. Nothing here traps or fails. Any thread.
#pragma once

#include <zelk_core/base/api.h>

#include <emmintrin.h>

#if defined(ZELK_PLAIN_LANES)
#    include <zelk_core/math/plainlanes.h>
#else

namespace Z4::Lanes {

/// The same number in all lanes.
Z4_ALWAYS_INLINE __m128 Repeat(float value) {
    return _mm_set1_ps(value);
}
/// Four floats from memory of any alignment, and back.
Z4_ALWAYS_INLINE __m128 Load(const float* source) {
    return _mm_loadu_ps(source);
}
Z4_ALWAYS_INLINE void Store(float* destination, __m128 a) {
    _mm_storeu_ps(destination, a);
}
/// Lane 0.
Z4_ALWAYS_INLINE float First(__m128 a) {
    return _mm_cvtss_f32(a);
}

/// The lanes X, Y, Z and W of `a`, in this order.
template <int X, int Y, int Z, int W>
Z4_ALWAYS_INLINE __m128 Shuffle(__m128 a) {
    return _mm_shuffle_ps(a, a, _MM_SHUFFLE(W, Z, Y, X));
}
/// The lanes X and Y of `a` and Z and W of `b`.
template <int X, int Y, int Z, int W>
Z4_ALWAYS_INLINE __m128 Shuffle(__m128 a, __m128 b) {
    return _mm_shuffle_ps(a, b, _MM_SHUFFLE(W, Z, Y, X));
}
/// The lanes 0 of `a`, 0 of `b`, 1 of `a` and 1 of `b`.
Z4_ALWAYS_INLINE __m128 InterleaveLow(__m128 a, __m128 b) {
    return _mm_unpacklo_ps(a, b);
}
/// The lanes 2 of `a`, 2 of `b`, 3 of `a` and 3 of `b`.
Z4_ALWAYS_INLINE __m128 InterleaveHigh(__m128 a, __m128 b) {
    return _mm_unpackhi_ps(a, b);
}
/// Exchanges rows and columns of the four rows.
Z4_ALWAYS_INLINE void Transpose(__m128& a, __m128& b, __m128& c, __m128& d) {
    _MM_TRANSPOSE4_PS(a, b, c, d);
}

Z4_ALWAYS_INLINE __m128 Add(__m128 a, __m128 b) {
    return _mm_add_ps(a, b);
}
Z4_ALWAYS_INLINE __m128 Subtract(__m128 a, __m128 b) {
    return _mm_sub_ps(a, b);
}
Z4_ALWAYS_INLINE __m128 Multiply(__m128 a, __m128 b) {
    return _mm_mul_ps(a, b);
}
Z4_ALWAYS_INLINE __m128 Divide(__m128 a, __m128 b) {
    return _mm_div_ps(a, b);
}
Z4_ALWAYS_INLINE __m128 SquareRoot(__m128 a) {
    return _mm_sqrt_ps(a);
}
/// `a` < `b` ? `a` : `b`, so `b` where one is NaN and where both are zeros.
Z4_ALWAYS_INLINE __m128 Min(__m128 a, __m128 b) {
    return _mm_min_ps(a, b);
}
/// `a` > `b` ? `a` : `b`.
Z4_ALWAYS_INLINE __m128 Max(__m128 a, __m128 b) {
    return _mm_max_ps(a, b);
}

/// Bit by bit.
Z4_ALWAYS_INLINE __m128 And(__m128 a, __m128 b) {
    return _mm_and_ps(a, b);
}
/// The bits of `b` that are not set in `a`.
Z4_ALWAYS_INLINE __m128 AndNot(__m128 a, __m128 b) {
    return _mm_andnot_ps(a, b);
}
Z4_ALWAYS_INLINE __m128 Or(__m128 a, __m128 b) {
    return _mm_or_ps(a, b);
}
Z4_ALWAYS_INLINE __m128 Xor(__m128 a, __m128 b) {
    return _mm_xor_ps(a, b);
}

/// Comparisons set all bits of a lane where they hold, and none where they do not or where a NaN is compared.
Z4_ALWAYS_INLINE __m128 Less(__m128 a, __m128 b) {
    return _mm_cmplt_ps(a, b);
}
Z4_ALWAYS_INLINE __m128 LessEqual(__m128 a, __m128 b) {
    return _mm_cmple_ps(a, b);
}
Z4_ALWAYS_INLINE __m128 Equal(__m128 a, __m128 b) {
    return _mm_cmpeq_ps(a, b);
}
/// Bit i of the result is the sign bit of lane i.
Z4_ALWAYS_INLINE int SignBits(__m128 a) {
    return _mm_movemask_ps(a);
}
/// All bits of lane `index`, and none of the others; of an index above 3 no bit at all.
Z4_ALWAYS_INLINE __m128 MaskOfLane(unsigned long index) {
    return _mm_castsi128_ps(_mm_cmpeq_epi32(_mm_set1_epi32(static_cast<int>(index)), _mm_setr_epi32(0, 1, 2, 3)));
}
/// All bits of lane i where bit i of `bits` is set, and none where it is not.
Z4_ALWAYS_INLINE __m128 MaskOfBits(int bits) {
    const __m128i lanes = _mm_setr_epi32(1, 2, 4, 8);
    return _mm_castsi128_ps(_mm_cmpeq_epi32(_mm_and_si128(_mm_set1_epi32(bits), lanes), lanes));
}

/// Of one number.
Z4_ALWAYS_INLINE float SquareRoot(float value) {
    return _mm_cvtss_f32(_mm_sqrt_ss(_mm_set_ss(value)));
}
Z4_ALWAYS_INLINE double SquareRoot(double value) {
    const __m128d lanes = _mm_set_sd(value);
    return _mm_cvtsd_f64(_mm_sqrt_sd(lanes, lanes));
}

} // namespace Z4::Lanes

#endif
