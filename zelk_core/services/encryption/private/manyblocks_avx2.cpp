#include <zelk_core/services/encryption/private/manyblocks.h>

namespace Z4::Private {

namespace {

struct Lanes8 {
    using Vector = __m256i;
    using Stored = std::uint32_t;
    static Vector Spread(std::uint32_t word) { return _mm256_set1_epi32(static_cast<int>(word)); }
    static Stored ToStored(std::uint32_t word) { return word; }
    static Vector FromStored(Stored stored) { return Spread(stored); }
    static Vector Add(Vector a, Vector b) { return _mm256_add_epi32(a, b); }
    static Vector Sub(Vector a, Vector b) { return _mm256_sub_epi32(a, b); }
    static Vector Xor(Vector a, Vector b) { return _mm256_xor_si256(a, b); }
    static Vector Times16(Vector a) { return _mm256_slli_epi32(a, 4); }
    static Vector Over32(Vector a) { return _mm256_srli_epi32(a, 5); }
    // The order of the blocks is the instructions', which work on each 16 bytes by themselves; Save() puts it right.
    static Group<Lanes8> Load(const char* data) {
        const __m256 low = _mm256_loadu_ps(reinterpret_cast<const float*>(data));
        const __m256 high = _mm256_loadu_ps(reinterpret_cast<const float*>(data + 32));
        return {_mm256_castps_si256(_mm256_shuffle_ps(low, high, _MM_SHUFFLE(2, 0, 2, 0))),
                _mm256_castps_si256(_mm256_shuffle_ps(low, high, _MM_SHUFFLE(3, 1, 3, 1)))};
    }
    static void Save(char* data, const Group<Lanes8>& group) {
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(data), _mm256_unpacklo_epi32(group.y, group.z));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(data + 32), _mm256_unpackhi_epi32(group.y, group.z));
    }
};

} // namespace

constinit const BlockKernels BLOCK_KERNELS_AVX2 = KernelsOf<Lanes8>();

} // namespace Z4::Private
