// What the searches and comparisons of texts do with single characters, and with 16 bytes of them at a time.
#pragma once

#include <cstddef>
#include <emmintrin.h>
#include <type_traits>

namespace Z4::Private {

template <class Char>
constexpr std::size_t LANES = 16 / sizeof(Char);

template <class Char>
__m128i LoadLanes(const Char* from) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
}

template <class Char>
__m128i FillLanes(Char character) {
    return sizeof(Char) == 1 ? _mm_set1_epi8(static_cast<char>(character))
                             : _mm_set1_epi16(static_cast<short>(character));
}

template <class Char>
__m128i EqualLanes(__m128i left, __m128i right) {
    return sizeof(Char) == 1 ? _mm_cmpeq_epi8(left, right) : _mm_cmpeq_epi16(left, right);
}

/// Which of 16 bytes have their highest bit set; lane 0 in the lowest.
inline unsigned MaskOf(__m128i lanes) {
    return static_cast<unsigned>(_mm_movemask_epi8(lanes));
}

/// Flips the case of those characters that lie from `first` to `first + 25`.
template <class Char>
__m128i FlipCase(__m128i lanes, char first) {
    if constexpr (sizeof(Char) == 1) {
        // Signed comparison, of values that are moved so that the letters are the smallest.
        const __m128i moved = _mm_sub_epi8(lanes, _mm_set1_epi8(static_cast<char>(first + 128)));
        const __m128i letters = _mm_cmplt_epi8(moved, _mm_set1_epi8(-128 + 26));
        return _mm_xor_si128(lanes, _mm_and_si128(letters, _mm_set1_epi8(0x20)));
    } else {
        const __m128i moved = _mm_sub_epi16(lanes, _mm_set1_epi16(static_cast<short>(first - 0x8000)));
        const __m128i letters = _mm_cmplt_epi16(moved, _mm_set1_epi16(-0x8000 + 26));
        return _mm_xor_si128(lanes, _mm_and_si128(letters, _mm_set1_epi16(0x20)));
    }
}

template <class Char>
constexpr unsigned Lower(Char character) {
    const unsigned value = static_cast<std::make_unsigned_t<Char>>(character);
    return value - 'A' < 26U ? value | 0x20 : value;
}

} // namespace Z4::Private
