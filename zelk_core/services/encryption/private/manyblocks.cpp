#include <cstring>
#include <zelk_core/base/private/processorfeatures.h>
#include <zelk_core/services/encryption/private/manyblocks.h>

namespace Z4::Private {

namespace {

struct Lanes4 {
    using Vector = __m128i;
    using Stored = __m128i;
    static Vector Spread(std::uint32_t word) { return _mm_set1_epi32(static_cast<int>(word)); }
    static Stored ToStored(std::uint32_t word) { return Spread(word); }
    static Vector FromStored(Stored stored) { return stored; }
    static Vector Add(Vector a, Vector b) { return _mm_add_epi32(a, b); }
    static Vector Sub(Vector a, Vector b) { return _mm_sub_epi32(a, b); }
    static Vector Xor(Vector a, Vector b) { return _mm_xor_si128(a, b); }
    static Vector Times16(Vector a) { return _mm_slli_epi32(a, 4); }
    static Vector Over32(Vector a) { return _mm_srli_epi32(a, 5); }
    static Group<Lanes4> Load(const char* data) {
        const __m128 low = _mm_castsi128_ps(_mm_loadu_si128(reinterpret_cast<const __m128i*>(data)));
        const __m128 high = _mm_castsi128_ps(_mm_loadu_si128(reinterpret_cast<const __m128i*>(data + 16)));
        return {_mm_castps_si128(_mm_shuffle_ps(low, high, _MM_SHUFFLE(2, 0, 2, 0))),
                _mm_castps_si128(_mm_shuffle_ps(low, high, _MM_SHUFFLE(3, 1, 3, 1)))};
    }
    static void Save(char* data, const Group<Lanes4>& group) {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(data), _mm_unpacklo_epi32(group.y, group.z));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(data + 16), _mm_unpackhi_epi32(group.y, group.z));
    }
};

constexpr unsigned long BLOCK_SIZE = sizeof(CipherBlock);

using SingleBlock = CipherBlock(CipherBlock block, const std::uint32_t* key);

/// By BlockCipher.
constexpr SingleBlock* SINGLE_BLOCKS[] = {TeaEncodeBlock, TeaDecodeBlock, XTeaEncodeBlock, XTeaDecodeBlock};

/// Works on the whole strides, and leaves `data` and `count` to be those of the blocks behind.
void TakeStrides(const BlockKernels& kernels, BlockCipher cipher, char*& data, unsigned long& count,
                 const std::uint32_t* key) {
    const unsigned long strides = count / kernels.blocksPerStride;
    if (strides != 0) {
        kernels.work[cipher](data, strides, key);
        data += strides * kernels.blocksPerStride * BLOCK_SIZE;
        count %= kernels.blocksPerStride;
    }
}

} // namespace

constinit const BlockKernels BLOCK_KERNELS_SSE2 = KernelsOf<Lanes4>();

void WorkOnBlocks(BlockCipher cipher, char* data, unsigned long count, const std::uint32_t* key) {
    if (count >= BLOCK_KERNELS_AVX512.blocksPerStride && HasFastAvx512()) {
        TakeStrides(BLOCK_KERNELS_AVX512, cipher, data, count, key);
    }
    if (count >= BLOCK_KERNELS_AVX2.blocksPerStride && HasAvx2()) {
        TakeStrides(BLOCK_KERNELS_AVX2, cipher, data, count, key);
    }
    TakeStrides(BLOCK_KERNELS_SSE2, cipher, data, count, key);
    if (count <= 2) {
        // Done sooner by themselves than as some of eight.
        for (; count != 0; --count, data += BLOCK_SIZE) {
            CipherBlock block;
            std::memcpy(&block, data, BLOCK_SIZE);
            block = SINGLE_BLOCKS[cipher](block, key);
            std::memcpy(data, &block, BLOCK_SIZE);
        }
        return;
    }
    char rest[8 * BLOCK_SIZE] = {};
    std::memcpy(rest, data, count * BLOCK_SIZE);
    BLOCK_KERNELS_SSE2.work[cipher](rest, 1, key);
    std::memcpy(data, rest, count * BLOCK_SIZE);
}

} // namespace Z4::Private
