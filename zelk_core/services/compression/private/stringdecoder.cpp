#include <algorithm>
#include <cstring>
#include <zelk_core/services/compression/private/bitpacking.h>
#include <zelk_core/services/compression/private/stringblock.h>
#include <zelk_core/services/compression/private/stringtables.h>
#include <zelk_core/services/compression/stringcompressor.h>

namespace Z4 {

using namespace Private;

ErrorCodeWrapper StringCompressor::DecompressSingleBlock(const char* in, char* out, unsigned long capacity,
                                                         unsigned long& written) {
    written = 0;
    const StringBlockHeader header = ReadHeader(in);
    if (header.content == 0) {
        return ERR_UNSUPPORTED;
    }
    if (header.size < STRING_HEADER_SIZE) {
        return ERR_CORRUPTED_DATA;
    }
    written = std::min(header.characters, capacity);
    DecodeBlock(header, in + STRING_HEADER_SIZE, out, written);
    return ERR_OK;
}

ErrorCodeWrapper StringCompressor::DecompressManyBlock(const char* in, char* out, unsigned long outCapacity,
                                                       unsigned long& outSize) {
    outSize = 0;
    unsigned long characters;
    unsigned long remaining;
    const Error sums = GetSize(in, characters, remaining);
    if (sums != ERR_OK) {
        return sums;
    }
    while (remaining != 0) {
        unsigned long written;
        const Error result = DecompressSingleBlock(in, out + outSize, outCapacity - outSize, written);
        if (result != ERR_OK) {
            return result;
        }
        if (written == 0 || written > MAX_BLOCK_LENGTH) {
            break;
        }
        outSize += written;
        const unsigned long size = ReadHeader(in).size;
        remaining -= size;
        in += RoundUpToWord(size);
    }
    return ERR_OK;
}

ErrorCodeWrapper StringCompressor::DecompressChecked(const char* in, unsigned long inSize, char* out,
                                                     unsigned long outCapacity, unsigned long& outSize) {
    outSize = 0;
    unsigned long offset = 0;
    unsigned long produced = 0;
    for (bool more = true; more;) {
        if (inSize - offset < STRING_HEADER_SIZE) {
            return ERR_CORRUPTED_DATA;
        }
        const StringBlockHeader header = ReadHeader(in + offset);
        if (header.content == 0 || header.size < STRING_HEADER_SIZE || RoundUpToWord(header.size) > inSize - offset ||
            header.characters > MAX_BLOCK_LENGTH) {
            return ERR_CORRUPTED_DATA;
        }
        const unsigned long count = std::min(header.characters, outCapacity - produced);
        const unsigned long bits = DecodeBlock(header, in + offset + STRING_HEADER_SIZE, out + produced, count);
        const unsigned long size = STRING_HEADER_SIZE + (bits + 7) / 8;
        if (size > header.size || (count == header.characters && size != header.size)) {
            return ERR_CORRUPTED_DATA;
        }
        produced += count;
        offset += RoundUpToWord(header.size);
        more = header.more;
    }
    outSize = produced;
    return ERR_OK;
}

ErrorCodeWrapper StringCompressor::GetSize(const char* in, unsigned long& characters, unsigned long& bytes) {
    characters = 0;
    bytes = 0;
    unsigned long offset = 0;
    for (bool more = true; more;) {
        const StringBlockHeader header = ReadHeader(in + offset);
        if (header.size < STRING_HEADER_SIZE) {
            return ERR_CORRUPTED_DATA;
        }
        characters += header.characters;
        bytes += header.size;
        offset += RoundUpToWord(header.size);
        more = header.more;
    }
    return ERR_OK;
}

/// @return the number of bits that the characters took
unsigned long StringCompressor::DecodeBlock(const StringBlockHeader& header, const char* payload, char* out,
                                            unsigned long count) {
    constexpr int LOOKUPS = 3;
    static_assert(LOOKUPS * STRING_LOOKUP_BITS <= 32);
    TableSlot& slot = m_slots[header.content];
    const StringLookup* const lookups = STRING_TABLES[header.content].lookup;
    BitReader reader(payload, RoundUpToWord(header.size - STRING_HEADER_SIZE) / 4);
    char* const end = out + count;
    while (end - out >= LOOKUPS * 2) {
        std::uint32_t window = reader.Peek();
        for (int i = 0; i < LOOKUPS; ++i) {
            const StringLookup found = lookups[window >> (32 - STRING_LOOKUP_BITS)];
            if (found.length == 0) {
                *out++ = DecodeCharacter(slot, lookups, reader);
                break;
            }
            std::memcpy(out, found.symbols, 2);
            out += found.Count();
            window <<= found.length;
            reader.Skip(found.length);
        }
    }
    while (out != end) {
        *out++ = DecodeCharacter(slot, lookups, reader);
    }
    return reader.Position();
}

char StringCompressor::DecodeCharacter(TableSlot& slot, const StringLookup* lookups, BitReader& reader) {
    const std::uint32_t window = reader.Peek();
    const StringLookup found = lookups[window >> (32 - STRING_LOOKUP_BITS)];
    if (found.firstLength != 0) {
        reader.Skip(found.firstLength);
        return static_cast<char>(found.symbols[0]);
    }
    unsigned length = STRING_LOOKUP_BITS;
    slot.current = found.symbols[0];
    while (slot.tree[slot.current].isLeaf == 0) {
        const StringTreeNode& node = slot.tree[slot.current];
        slot.current = (window << length >> 31) != 0 ? node.one : node.zero;
        ++length;
    }
    reader.Skip(length);
    return static_cast<char>(slot.tree[slot.current].symbol);
}

} // namespace Z4
