// A file's content in an archive: blocks of up to 1 MiB, each compressed for itself.
#pragma once

#include <cstdint>
#include <string>
#include <vector>
#include <zelk_core/services/compression/compression.h>

namespace Packer {

using Bytes = std::vector<unsigned char>;

enum class Method : std::uint32_t {
    STORED = 0,
    ZLIB = 1,
    LZO = 2
};

inline constexpr std::size_t BLOCK_SIZE = 1 << 20;

/// In front of each block, in the archive's byte order, which is little-endian.
struct BlockHeader {
    std::uint32_t contentSize; ///< 1 to BLOCK_SIZE
    std::uint32_t packedSize;  ///< at most contentSize
    Method method;
    /// CRC-32 over the fields above and the content, continuing that of the block before: blocks that were altered,
    /// exchanged or left out all show.
    std::uint32_t crc;
};
static_assert(sizeof(BlockHeader) == 16);

/// A block as it goes into the archive, its header's checksum included; what does not shrink is stored.
Bytes PackBlock(const Bytes& content, Method method, Z4::CompressionInterface::cmp_level level, std::uint32_t& crc,
                BlockHeader& header);

/// False when `packed`, which belongs to a header that keeps its limits, is not what was packed.
bool ExpandBlock(const BlockHeader& header, const Bytes& packed, std::uint32_t& crc, Bytes& content);

/// Whether the sizes and the method can be.
bool IsPlausible(const BlockHeader& header);

} // namespace Packer
