#include <zelk_core/services/encryption/private/manyblocks.h>

namespace Z4::Private {

namespace {

struct Lanes16 {
    using Vector = __m512i;
    using Stored = std::uint32_t;
    static Vector Spread(std::uint32_t word) { return _mm512_set1_epi32(static_cast<int>(word)); }
    static Stored ToStored(std::uint32_t word) { return word; }
    static Vector FromStored(Stored stored) { return Spread(stored); }
    static Vector Add(Vector a, Vector b) { return _mm512_add_epi32(a, b); }
    static Vector Sub(Vector a, Vector b) { return _mm512_sub_epi32(a, b); }
    static Vector Xor(Vector a, Vector b) { return _mm512_xor_si512(a, b); }
    static Vector Times16(Vector a) { return _mm512_slli_epi32(a, 4); }
    static Vector Over32(Vector a) { return _mm512_srli_epi32(a, 5); }
    // The order of the blocks is the instructions', which work on each 16 bytes by themselves; Save() puts it right.
    static Group<Lanes16> Load(const char* data) {
        const __m512 low = _mm512_loadu_ps(reinterpret_cast<const float*>(data));
        const __m512 high = _mm512_loadu_ps(reinterpret_cast<const float*>(data + 64));
        return {_mm512_castps_si512(_mm512_shuffle_ps(low, high, _MM_SHUFFLE(2, 0, 2, 0))),
                _mm512_castps_si512(_mm512_shuffle_ps(low, high, _MM_SHUFFLE(3, 1, 3, 1)))};
    }
    static void Save(char* data, const Group<Lanes16>& group) {
        _mm512_storeu_si512(data, _mm512_unpacklo_epi32(group.y, group.z));
        _mm512_storeu_si512(data + 64, _mm512_unpackhi_epi32(group.y, group.z));
    }
};

} // namespace

constinit const BlockKernels BLOCK_KERNELS_AVX512 = KernelsOf<Lanes16>();

} // namespace Z4::Private
