// Compiled for newer processors than the rest: nothing here but SwapSsse3 may be called, or shared with, from outside.
#include <immintrin.h>
#include <zelk_core/base/private/byteswap.h>

namespace Z4::Private {

void SwapSsse3(void* to, const void* from, std::size_t count, unsigned size) {
    auto* target = static_cast<unsigned char*>(to);
    const auto* source = static_cast<const unsigned char*>(from);
    std::size_t bytes = count * size;
    const __m128i order = size == 2   ? _mm_set_epi8(14, 15, 12, 13, 10, 11, 8, 9, 6, 7, 4, 5, 2, 3, 0, 1)
                          : size == 4 ? _mm_set_epi8(12, 13, 14, 15, 8, 9, 10, 11, 4, 5, 6, 7, 0, 1, 2, 3)
                                      : _mm_set_epi8(8, 9, 10, 11, 12, 13, 14, 15, 0, 1, 2, 3, 4, 5, 6, 7);
    const auto load = [&](std::size_t at) {
        return _mm_shuffle_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(source + at)), order);
    };
    const auto store = [&](std::size_t at, __m128i swapped) {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(target + at), swapped);
    };
    for (; bytes >= 64; bytes -= 64, source += 64, target += 64) {
        const __m128i first = load(0);
        const __m128i second = load(16);
        const __m128i third = load(32);
        const __m128i fourth = load(48);
        store(0, first);
        store(16, second);
        store(32, third);
        store(48, fourth);
    }
    for (; bytes >= 16; bytes -= 16, source += 16, target += 16) {
        store(0, load(0));
    }
    SwapPlain(target, source, bytes / size, size);
}

} // namespace Z4::Private
