// Compiled for newer processors than the rest: nothing here but SwapAvx2 may be called, or shared with, from outside.
#include <immintrin.h>
#include <zelk_core/base/private/byteswap.h>

namespace Z4::Private {

void SwapAvx2(void* to, const void* from, std::size_t count, unsigned size) {
    auto* target = static_cast<unsigned char*>(to);
    const auto* source = static_cast<const unsigned char*>(from);
    std::size_t bytes = count * size;
    const __m256i order =
        _mm256_broadcastsi128_si256(size == 2   ? _mm_set_epi8(14, 15, 12, 13, 10, 11, 8, 9, 6, 7, 4, 5, 2, 3, 0, 1)
                                    : size == 4 ? _mm_set_epi8(12, 13, 14, 15, 8, 9, 10, 11, 4, 5, 6, 7, 0, 1, 2, 3)
                                                : _mm_set_epi8(8, 9, 10, 11, 12, 13, 14, 15, 0, 1, 2, 3, 4, 5, 6, 7));
    const auto load = [&](std::size_t at) {
        return _mm256_shuffle_epi8(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(source + at)), order);
    };
    const auto store = [&](std::size_t at, __m256i swapped) {
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(target + at), swapped);
    };
    for (; bytes >= 128; bytes -= 128, source += 128, target += 128) {
        const __m256i first = load(0);
        const __m256i second = load(32);
        const __m256i third = load(64);
        const __m256i fourth = load(96);
        store(0, first);
        store(32, second);
        store(64, third);
        store(96, fourth);
    }
    for (; bytes >= 32; bytes -= 32, source += 32, target += 32) {
        store(0, load(0));
    }
    _mm256_zeroupper();
    SwapPlain(target, source, bytes / size, size);
}

} // namespace Z4::Private
