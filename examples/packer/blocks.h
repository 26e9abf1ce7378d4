// A file's content in an archive: blocks of up to 1 MiB, each compressed for itself.
#pragma once

#include "records.h"

#include <cstdint>
#include <string>
#include <vector>
#include <zelk_core/services/compression/compression.h>
#include <zelk_core/services/encryption/cipher.h>

namespace Packer {

using Bytes = std::vector<unsigned char>;

enum class Method : std::uint32_t {
    STORED = 0,
    ZLIB = 1,
    LZO = 2
};

inline constexpr std::size_t BLOCK_SIZE = 1 << 20;

/// In front of each block.
struct BlockHeader {
    std::uint32_t contentSize; ///< 1 to BLOCK_SIZE
    std::uint32_t packedSize;  ///< at most contentSize
    Method method;
    /// CRC-32 over the fields above and the content, continuing that of the block before: blocks that were altered,
    /// exchanged or left out all show.
    std::uint32_t crc;
};
template <>
struct Fields<BlockHeader> {
    static constexpr std::size_t SIZE = 16;
    using List =
        FieldList<&BlockHeader::contentSize, &BlockHeader::packedSize, &BlockHeader::method, &BlockHeader::crc>;
};

/// The bytes that stand behind the header: a cipher fills them up to whole blocks of its own.
std::size_t StoredSize(const BlockHeader& header, bool enciphered);

/// A block as it goes into the archive, its header's checksum included; what does not shrink is stored. Enciphered at
/// last, unless `cipher` is null.
Bytes PackBlock(const Bytes& content, Method method, Z4::CompressionInterface::cmp_level level, Z4::Cipher* cipher,
                std::uint32_t& crc, BlockHeader& header);

/// False when `packed`, the StoredSize() bytes behind a plausible header, is not what was packed.
bool ExpandBlock(const BlockHeader& header, Bytes packed, Z4::Cipher* cipher, std::uint32_t& crc, Bytes& content);

/// Whether the sizes and the method can be.
bool IsPlausible(const BlockHeader& header);

} // namespace Packer
