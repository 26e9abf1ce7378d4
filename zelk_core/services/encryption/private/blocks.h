// The two block ciphers on single blocks, and on many at once.
#pragma once

#include <cstdint>

namespace Z4::Private {

inline constexpr std::uint32_t CIPHER_DELTA = 0x9E3779B9;
inline constexpr unsigned CIPHER_CYCLES = 32;
/// All deltas together, where deciphering begins.
inline constexpr std::uint32_t CIPHER_LAST_SUM = 0xC6EF3720;
static_assert(CIPHER_LAST_SUM == CIPHER_DELTA * CIPHER_CYCLES);

struct CipherBlock {
    std::uint32_t y;
    std::uint32_t z;
};

/// As the algorithms' descriptions read; `key` has four words.
CipherBlock TeaEncodeBlock(CipherBlock block, const std::uint32_t* key);
CipherBlock TeaDecodeBlock(CipherBlock block, const std::uint32_t* key);
CipherBlock XTeaEncodeBlock(CipherBlock block, const std::uint32_t* key);
CipherBlock XTeaDecodeBlock(CipherBlock block, const std::uint32_t* key);

enum BlockCipher : unsigned {
    TEA_ENCODE,
    TEA_DECODE,
    XTEA_ENCODE,
    XTEA_DECODE
};

/// The same for `count` blocks in place, at any alignment, as many at once as the processor can.
void WorkOnBlocks(BlockCipher cipher, char* data, unsigned long count, const std::uint32_t* key);

/// What does strides of many blocks at once, in place and at any alignment.
struct BlockKernels {
    unsigned long blocksPerStride;
    /// By BlockCipher.
    void (*work[4])(char* data, unsigned long strides, const std::uint32_t* key);
};

extern constinit const BlockKernels BLOCK_KERNELS_SSE2;
/// Only where HasAvx2() and HasFastAvx512().
extern constinit const BlockKernels BLOCK_KERNELS_AVX2;
extern constinit const BlockKernels BLOCK_KERNELS_AVX512;

} // namespace Z4::Private
