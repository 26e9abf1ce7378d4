#include <cstring>
#include <immintrin.h>
#include <zelk_core/base/private/hashxx.h>

namespace Z4::Private {

namespace {

std::uint32_t Rotate(std::uint32_t value, unsigned bits) {
    return value << bits | value >> (32 - bits);
}

void Add(std::uint32_t& accumulator, std::uint32_t product) {
    accumulator = Rotate(accumulator + product, 13) * PRIME32_1;
}

} // namespace

/// Half of the multiplications depend on the input alone: vectors do those ahead, for eight stripes at once, and leave
/// the integer unit's one multiplier to the accumulators.
std::uint32_t Stripes32Avx2(const unsigned char* buffer, unsigned stripes, std::uint32_t seed) {
    constexpr unsigned GROUP = 8 * 16;
    const __m256i prime2 = _mm256_set1_epi32(static_cast<int>(PRIME32_2));
    alignas(32) std::uint32_t products[GROUP / 4];
    std::uint32_t a = seed + PRIME32_1 + PRIME32_2;
    std::uint32_t b = seed + PRIME32_2;
    std::uint32_t c = seed;
    std::uint32_t d = seed - PRIME32_1;
    const unsigned char* p = buffer;
    const unsigned char* const end = buffer + stripes * 16;
    while (static_cast<unsigned>(end - p) >= GROUP) {
        for (unsigned i = 0; i < GROUP / 4; i += 8) {
            const __m256i input = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p + 4 * i));
            _mm256_store_si256(reinterpret_cast<__m256i*>(products + i), _mm256_mullo_epi32(input, prime2));
        }
        for (unsigned i = 0; i < GROUP / 4; i += 4) {
            Add(a, products[i]);
            Add(b, products[i + 1]);
            Add(c, products[i + 2]);
            Add(d, products[i + 3]);
        }
        p += GROUP;
    }
    for (; p != end; p += 16) {
        std::memcpy(products, p, 16);
        Add(a, products[0] * PRIME32_2);
        Add(b, products[1] * PRIME32_2);
        Add(c, products[2] * PRIME32_2);
        Add(d, products[3] * PRIME32_2);
    }
    return Rotate(a, 1) + Rotate(b, 7) + Rotate(c, 12) + Rotate(d, 18);
}

} // namespace Z4::Private
