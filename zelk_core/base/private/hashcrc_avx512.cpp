#include <zelk_core/base/private/hashcrcfold.h>

namespace Z4::Private {

namespace {

struct Bytes64 {
    using Vector = __m512i;
    static constexpr int XOR_OF_THREE = 0x96;
    static Vector Load(const unsigned char* p) { return _mm512_loadu_si512(p); }
    static Vector First(std::uint32_t word) { return _mm512_zextsi128_si512(Bytes16::First(word)); }
    static Vector Xor(Vector a, Vector b) { return _mm512_xor_si512(a, b); }
    static Vector Spread(__m128i factors) { return _mm512_broadcast_i32x4(factors); }
    static Vector Fold(Vector sum, Vector factors, Vector bytes) {
        return _mm512_ternarylogic_epi64(_mm512_clmulepi64_epi128(sum, factors, 0x00), bytes,
                                         _mm512_clmulepi64_epi128(sum, factors, 0x11), XOR_OF_THREE);
    }
    static __m128i Narrow(Vector sum) {
        const __m256i factors = _mm256_broadcastsi128_si256(Factors<256>());
        const __m256i low = _mm512_castsi512_si256(sum);
        const __m256i half =
            _mm256_ternarylogic_epi64(_mm256_clmulepi64_epi128(low, factors, 0x00), _mm512_extracti64x4_epi64(sum, 1),
                                      _mm256_clmulepi64_epi128(low, factors, 0x11), XOR_OF_THREE);
        return Bytes16::Fold(_mm256_castsi256_si128(half), Factors<128>(), _mm256_extracti128_si256(half, 1));
    }
};

} // namespace

std::uint32_t CrcAvx512(const unsigned char* buffer, unsigned size, std::uint32_t crc) {
    return size < 256 ? FoldShort(buffer, size, crc) : FoldLong<Bytes64>(buffer, size, crc);
}

} // namespace Z4::Private
