#include "blocks.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <new>
#include <zelk_core/base/hash.h>
#include <zelk_core/services/compression/lzo.h>
#include <zelk_core/services/compression/zlib.h>

namespace Packer {

namespace {

using Z4::CompressionInterface;
using Codec = std::unique_ptr<CompressionInterface>;

Codec Require(CompressionInterface* codec) {
    if (codec == nullptr) {
        throw std::bad_alloc();
    }
    return Codec(codec);
}

Codec MakeDeflater(Method method, CompressionInterface::cmp_level level) {
    return method == Method::ZLIB ? Require(new Z4::ZLibDeflate(level)) : Require(new Z4::LzoDeflate(level));
}

Codec MakeInflater(Method method) {
    return method == Method::ZLIB ? Require(new Z4::ZLibInflate) : Require(new Z4::LzoInflate(true));
}

char* AsText(Bytes& bytes) {
    return reinterpret_cast<char*>(bytes.data());
}

/// The checksum over the header's other fields and the content.
std::uint32_t Checksum(const BlockHeader& header, const Bytes& content, std::uint32_t previous) {
    return Z4::Hash::CRC(content.data(), content.size(), HeaderCrc(header, previous));
}

} // namespace

std::size_t StoredSize(const BlockHeader& header, bool enciphered) {
    constexpr std::size_t CIPHER_BLOCK = 8;
    const std::size_t size = header.packedSize;
    return enciphered ? (size + CIPHER_BLOCK - 1) / CIPHER_BLOCK * CIPHER_BLOCK : size;
}

Bytes PackBlock(const Bytes& content, Method method, CompressionInterface::cmp_level level, Z4::Cipher* cipher,
                std::uint32_t& crc, BlockHeader& header) {
    Bytes packed(Z4::Lzo::GetSafeDeflateBufferSize(content.size()));
    const Codec codec = MakeDeflater(method, level);
    codec->FeedInputBuffer(content.data(), content.size());
    codec->FeedOutputBuffer(packed.data(), packed.size());
    int result = codec->Process();
    if (result == CompressionInterface::NEED_INPUT) {
        result = codec->Flush();
    }
    if (result == CompressionInterface::FAILED) {
        throw std::bad_alloc(); // nothing else can go wrong with compressing
    }
    packed.resize(codec->GetOutputDataSize());
    codec->FeedOutputBuffer(nullptr, 0);
    if (result != CompressionInterface::DONE || packed.size() >= content.size()) {
        packed = content;
        method = Method::STORED;
    }
    header = {content.size(), packed.size(), method, 0};
    header.crc = crc = Checksum(header, content, crc);
    if (cipher != nullptr) {
        packed.resize(StoredSize(header, true));
        cipher->Encode(AsText(packed), AsText(packed), header.packedSize);
    }
    return packed;
}

bool ExpandBlock(const BlockHeader& header, Bytes packed, Z4::Cipher* cipher, std::uint32_t& crc, Bytes& content) {
    if (cipher != nullptr) {
        cipher->Decode(AsText(packed), AsText(packed), packed.size());
        packed.resize(header.packedSize);
    }
    if (header.method == Method::STORED) {
        content = packed;
    } else {
        content.resize(header.contentSize);
        const Codec codec = MakeInflater(header.method);
        codec->FeedInputBuffer(packed.data(), packed.size());
        codec->FeedOutputBuffer(content.data(), content.size());
        if (codec->Process() != CompressionInterface::DONE || codec->GetOutputDataSize() != content.size() ||
            codec->GetAvailableInputSize() != 0) {
            return false;
        }
    }
    crc = Checksum(header, content, crc);
    return crc == header.crc;
}

bool IsPlausible(const BlockHeader& header) {
    const bool stored = header.method == Method::STORED;
    return header.contentSize > 0 && header.contentSize <= BLOCK_SIZE && header.method <= Method::LZO &&
           header.packedSize > 0 &&
           (stored ? header.packedSize == header.contentSize : header.packedSize < header.contentSize);
}

} // namespace Packer
