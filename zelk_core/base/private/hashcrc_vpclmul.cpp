#include <zelk_core/base/private/hashcrcfold.h>

namespace Z4::Private {

namespace {

struct Bytes32 {
    using Vector = __m256i;
    static Vector Load(const unsigned char* p) { return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p)); }
    static Vector First(std::uint32_t word) { return _mm256_zextsi128_si256(Bytes16::First(word)); }
    static Vector Xor(Vector a, Vector b) { return _mm256_xor_si256(a, b); }
    static Vector Spread(__m128i factors) { return _mm256_broadcastsi128_si256(factors); }
    static Vector Fold(Vector sum, Vector factors, Vector bytes) {
        return _mm256_xor_si256(_mm256_xor_si256(_mm256_clmulepi64_epi128(sum, factors, 0x00), bytes),
                                _mm256_clmulepi64_epi128(sum, factors, 0x11));
    }
    static __m128i Narrow(Vector sum) {
        return Bytes16::Fold(_mm256_castsi256_si128(sum), Factors<128>(), _mm256_extracti128_si256(sum, 1));
    }
};

} // namespace

std::uint32_t CrcVpclmul(const unsigned char* buffer, unsigned size, std::uint32_t crc) {
    return size < 256 ? FoldShort(buffer, size, crc) : FoldLong<Bytes32>(buffer, size, crc);
}

} // namespace Z4::Private
