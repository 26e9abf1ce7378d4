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

/// The same for `count` blocks in place, at any alignment, eight at a time.
void TeaEncodeBlocks(char* data, unsigned long count, const std::uint32_t* key);
void TeaDecodeBlocks(char* data, unsigned long count, const std::uint32_t* key);
void XTeaEncodeBlocks(char* data, unsigned long count, const std::uint32_t* key);
void XTeaDecodeBlocks(char* data, unsigned long count, const std::uint32_t* key);

} // namespace Z4::Private
