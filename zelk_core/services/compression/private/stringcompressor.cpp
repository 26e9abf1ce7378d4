#include <algorithm>
#include <cstring>
#include <iterator>
#include <zelk_core/services/compression/private/bitpacking.h>
#include <zelk_core/services/compression/private/stringtables.h>
#include <zelk_core/services/compression/stringcompressor.h>

namespace Z4 {

namespace Private {

struct StringBlockHeader {
    bool more;
    unsigned content;
    unsigned long size;
    unsigned long characters;
};

} // namespace Private

using Private::ErrorCodeWrapper;
using Private::StringBlockHeader;
using Private::StringCodeEntry;
using Private::StringLookup;
using Private::StringTreeNode;

static_assert(sizeof(StringCodeEntry) == 8 && sizeof(StringTreeNode) == 8);
static_assert(sizeof(void*) != 4 || sizeof(StringCompressor) == 16 * 12 + 32);
static_assert(StringCompressor::MAX_CODE_LENGTH == Private::LONGEST_STRING_CODE);

namespace {

constexpr unsigned long HEADER_SIZE = 4;
constexpr unsigned long CONTENT_COUNT = 16;

constexpr char PUNCTUATION_CLASS[] = " !\"#$%&'()*+,-./=@_\\";
constexpr char LOWER_CASE_CLASS[] = " abcdefghijklmnopqrstuvwxyz\r\n";
constexpr char UPPER_CASE_CLASS[] = " ABCDEFGHIJKLMNOPQRSTUVWXYZ\r\n";
constexpr char DIGITS_CLASS[] = " 0123456789\r\n";

struct ByteMap {
    unsigned char to[256];
};

constexpr ByteMap IDENTITY = [] {
    ByteMap map{};
    for (unsigned byte = 0; byte < 256; ++byte) {
        map.to[byte] = static_cast<unsigned char>(byte);
    }
    return map;
}();

constexpr ByteMap WITHOUT_ACCENTS = [] {
    // 0xC0 to 0xFF; a dot stays as it is.
    constexpr char LETTERS[] = "AAAAAAACEEEEIIIIDNOOOOO*OUUUUY.baaaaaaaceeeeiiiionooooo/ouuuuy..";
    static_assert(sizeof(LETTERS) == 64 + 1);
    ByteMap map = IDENTITY;
    for (unsigned i = 0; i < 64; ++i) {
        if (LETTERS[i] != '.') {
            map.to[0xC0 + i] = static_cast<unsigned char>(LETTERS[i]);
        }
    }
    return map;
}();

// The letters of Latin-1 too, although all of them are dropped before the case is folded: one day they may have codes.
constexpr bool IsUpperCase(unsigned byte) {
    return (byte >= 'A' && byte <= 'Z') || (byte >= 0xC0 && byte <= 0xDD && byte != 0xD0 && byte != 0xD7);
}

constexpr ByteMap TO_LOWER_CASE = [] {
    ByteMap map = IDENTITY;
    for (unsigned byte = 0; byte < 256; ++byte) {
        if (IsUpperCase(byte)) {
            map.to[byte] = static_cast<unsigned char>(byte + 0x20);
        }
    }
    return map;
}();

constexpr ByteMap TO_UPPER_CASE = [] {
    ByteMap map = IDENTITY;
    for (unsigned byte = 0; byte < 256; ++byte) {
        if (IsUpperCase(byte)) {
            map.to[byte + 0x20] = static_cast<unsigned char>(byte);
        }
    }
    return map;
}();

const ByteMap& CaseMap(unsigned long content, unsigned long flags) {
    if ((flags & StringCompressor::FOLD_CASE) != 0) {
        switch (content & (StringCompressor::LOWER_CASE | StringCompressor::UPPER_CASE)) {
        case StringCompressor::UPPER_CASE:
            return TO_UPPER_CASE;
        case StringCompressor::LOWER_CASE:
            return TO_LOWER_CASE;
        default:
            break;
        }
    }
    return IDENTITY;
}

// What each byte adds to the content of a text. Spaces and line ends, which are in several classes, add nothing.
constexpr ByteMap CLASS_OF = [] {
    ByteMap map{};
    for (unsigned byte = 'A'; byte <= 'Z'; ++byte) {
        map.to[byte] = StringCompressor::UPPER_CASE;
        map.to[byte + 0x20] = StringCompressor::LOWER_CASE;
    }
    for (unsigned byte = '0'; byte <= '9'; ++byte) {
        map.to[byte] = StringCompressor::DIGITS;
    }
    for (const char* character = PUNCTUATION_CLASS + 1; *character != 0; ++character) {
        map.to[static_cast<unsigned char>(*character)] = StringCompressor::PUNCTUATION;
    }
    return map;
}();

constexpr unsigned long RoundUp(unsigned long size) {
    return (size + 3) & ~3UL;
}

StringBlockHeader ReadHeader(const char* in) {
    unsigned char bytes[HEADER_SIZE];
    std::memcpy(bytes, in, HEADER_SIZE);
    const std::uint32_t word = std::uint32_t{bytes[0]} << 24 | std::uint32_t{bytes[1]} << 16 |
                               std::uint32_t{bytes[2]} << 8 | std::uint32_t{bytes[3]};
    return {(word & 1) != 0, word >> 2 & 0xF, word >> 6 & 0x1FFF, word >> 19};
}

void WriteHeader(const StringBlockHeader& header, char* out) {
    const auto word = static_cast<std::uint32_t>(header.characters << 19 | header.size << 6 | header.content << 2 | 2 |
                                                 (header.more ? 1 : 0));
    for (unsigned i = 0; i < HEADER_SIZE; ++i) {
        out[i] = static_cast<char>(word >> (24 - 8 * i));
    }
}

} // namespace

StringCompressor::StringCompressor() : m_slots(), m_excluded() {
    for (unsigned content = 1; content < CONTENT_COUNT; ++content) {
        m_slots[content].encode = Private::STRING_TABLES[content].encode;
        m_slots[content].tree = Private::STRING_TABLES[content].tree;
    }
    std::fill(std::begin(m_excluded), std::end(m_excluded), ~std::uint32_t{0});
    for (const char* const characters : {PUNCTUATION_CLASS, LOWER_CASE_CLASS, UPPER_CASE_CLASS, DIGITS_CLASS}) {
        for (const char* character = characters; *character != 0; ++character) {
            const auto byte = static_cast<unsigned char>(*character);
            m_excluded[byte / 32] &= ~(std::uint32_t{1} << byte % 32);
        }
    }
}

ErrorCodeWrapper StringCompressor::Compress(const char* in, unsigned long length, char* out, unsigned long outCapacity,
                                            unsigned long& outSize, unsigned long* encodedCount, unsigned long content,
                                            unsigned long flags) const {
    if (length <= MAX_BLOCK_LENGTH) {
        return CompressSingleBlock(in, length, out, outCapacity, outSize, encodedCount, content, flags, false);
    }
    return CompressManyBlock(in, length, out, outCapacity, outSize, encodedCount, content, flags);
}

ErrorCodeWrapper StringCompressor::Decompress(const char* in, char* out, unsigned long outCapacity,
                                              unsigned long& outSize) {
    return ReadHeader(in).more ? DecompressManyBlock(in, out, outCapacity, outSize)
                               : DecompressSingleBlock(in, out, outCapacity, outSize);
}

ErrorCodeWrapper StringCompressor::DecompressChecked(const char* in, unsigned long inSize, char* out,
                                                     unsigned long outCapacity, unsigned long& outSize) {
    outSize = 0;
    unsigned long offset = 0;
    unsigned long produced = 0;
    for (bool more = true; more;) {
        if (inSize - offset < HEADER_SIZE) {
            return ERR_CORRUPTED_DATA;
        }
        const StringBlockHeader header = ReadHeader(in + offset);
        if (header.content == 0 || header.size < HEADER_SIZE || RoundUp(header.size) > inSize - offset ||
            header.characters > MAX_BLOCK_LENGTH) {
            return ERR_CORRUPTED_DATA;
        }
        const unsigned long count = std::min(header.characters, outCapacity - produced);
        const unsigned long bits = DecodeBlock(header, in + offset + HEADER_SIZE, out + produced, count);
        const unsigned long size = HEADER_SIZE + (bits + 7) / 8;
        if (size > header.size || (count == header.characters && size != header.size)) {
            return ERR_CORRUPTED_DATA;
        }
        produced += count;
        offset += RoundUp(header.size);
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
        if (header.size < HEADER_SIZE) {
            return ERR_CORRUPTED_DATA;
        }
        characters += header.characters;
        bytes += header.size;
        offset += RoundUp(header.size);
        more = header.more;
    }
    return ERR_OK;
}

unsigned long StringCompressor::DetectContent(const unsigned char* text, int length) const {
    unsigned mask = 0;
    for (int i = 0; i < length && mask != CONTENT_COUNT - 1; ++i) {
        mask |= CLASS_OF.to[text[i]];
    }
    return mask != 0 ? mask : PUNCTUATION | UPPER_CASE;
}

ErrorCodeWrapper StringCompressor::CompressSingleBlock(const char* in, unsigned long length, char* out,
                                                       unsigned long capacity, unsigned long& size,
                                                       unsigned long* encodedCount, unsigned long content,
                                                       unsigned long flags, bool more) const {
    const auto* const text = reinterpret_cast<const unsigned char*>(in);
    if (content == DETECT) {
        content = DetectContent(text, static_cast<int>(std::min(length, MAX_BLOCK_LENGTH)));
    }
    if (content == 0 || content >= CONTENT_COUNT) {
        return ERR_UNSUPPORTED;
    }
    if (capacity < HEADER_SIZE || length > MAX_BLOCK_LENGTH) {
        return ERR_INVALID;
    }
    const unsigned char* const accents = ((flags & FOLD_ACCENTS) != 0 ? WITHOUT_ACCENTS : IDENTITY).to;
    const unsigned char* const cases = CaseMap(content, flags).to;
    const StringCodeEntry* const table = m_slots[content].encode;
    static constexpr StringCodeEntry NO_CODE{0, 0};
    const StringCodeEntry& substitute = (flags & REPLACE_BY_SPACE) != 0 ? table[std::size_t{' '}] : NO_CODE;

    Private::BitWriter writer(out + HEADER_SIZE, capacity - HEADER_SIZE, MAX_BLOCK_SIZE - HEADER_SIZE);
    unsigned long encoded = 0;
    for (unsigned long i = 0; i < length; ++i) {
        const unsigned char byte = accents[text[i]];
        if (IsExcluded(byte)) {
            continue;
        }
        const StringCodeEntry* code = &table[cases[byte]];
        if (code->length == 0) {
            code = &substitute;
            if (code->length == 0) {
                continue;
            }
        }
        if (!writer.Write(code->bits, code->length)) {
            return ERR_OVERFLOW;
        }
        ++encoded;
    }
    size = HEADER_SIZE + writer.Flush();
    WriteHeader({more, static_cast<unsigned>(content), size, encoded}, out);
    if (encodedCount != nullptr) {
        *encodedCount = encoded;
    }
    return ERR_OK;
}

ErrorCodeWrapper StringCompressor::CompressManyBlock(const char* in, unsigned long length, char* out,
                                                     unsigned long outCapacity, unsigned long& outSize,
                                                     unsigned long* encodedCount, unsigned long content,
                                                     unsigned long flags) const {
    unsigned long offset = 0;
    do {
        // A block before may have ended in the bytes behind the capacity.
        if (offset > outCapacity) {
            return ERR_OVERFLOW;
        }
        const unsigned long run = std::min(length, MAX_BLOCK_LENGTH);
        const unsigned long start = RoundUp(offset);
        unsigned long size = 0;
        unsigned long encoded = 0;
        // Data in use depends on it: the gap is not taken from the capacity.
        const ErrorCodeWrapper result = CompressSingleBlock(in, run, out + start, outCapacity - offset, size, &encoded,
                                                            content, flags, length > run);
        if (result != ERR_OK) {
            return result;
        }
        if (encodedCount != nullptr) {
            *encodedCount += encoded;
        }
        in += run;
        length -= run;
        offset = start + size;
    } while (length != 0);
    outSize = offset;
    return ERR_OK;
}

ErrorCodeWrapper StringCompressor::DecompressSingleBlock(const char* in, char* out, unsigned long capacity,
                                                         unsigned long& written) {
    written = 0;
    const StringBlockHeader header = ReadHeader(in);
    if (header.content == 0) {
        return ERR_UNSUPPORTED;
    }
    if (header.size < HEADER_SIZE) {
        return ERR_CORRUPTED_DATA;
    }
    written = std::min(header.characters, capacity);
    DecodeBlock(header, in + HEADER_SIZE, out, written);
    return ERR_OK;
}

ErrorCodeWrapper StringCompressor::DecompressManyBlock(const char* in, char* out, unsigned long outCapacity,
                                                       unsigned long& outSize) {
    outSize = 0;
    unsigned long characters;
    unsigned long remaining;
    const ErrorCodeWrapper sums = GetSize(in, characters, remaining);
    if (sums != ERR_OK) {
        return sums;
    }
    while (remaining != 0) {
        unsigned long written;
        const ErrorCodeWrapper result = DecompressSingleBlock(in, out + outSize, outCapacity - outSize, written);
        if (result != ERR_OK) {
            return result;
        }
        if (written == 0 || written > MAX_BLOCK_LENGTH) {
            break;
        }
        outSize += written;
        const unsigned long size = ReadHeader(in).size;
        remaining -= size;
        in += RoundUp(size);
    }
    return ERR_OK;
}

/// @return the number of bits that the characters took
unsigned long StringCompressor::DecodeBlock(const StringBlockHeader& header, const char* payload, char* out,
                                            unsigned long count) {
    constexpr int LOOKUPS = 3;
    static_assert(LOOKUPS * Private::STRING_LOOKUP_BITS <= 32);
    TableSlot& slot = m_slots[header.content];
    const StringLookup* const lookups = Private::STRING_TABLES[header.content].lookup;
    Private::BitReader reader(payload, RoundUp(header.size - HEADER_SIZE) / 4);
    char* const end = out + count;
    while (end - out >= LOOKUPS * 2) {
        std::uint32_t window = reader.Peek();
        for (int i = 0; i < LOOKUPS; ++i) {
            const StringLookup found = lookups[window >> (32 - Private::STRING_LOOKUP_BITS)];
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

char StringCompressor::DecodeCharacter(TableSlot& slot, const StringLookup* lookups, Private::BitReader& reader) {
    const std::uint32_t window = reader.Peek();
    const StringLookup found = lookups[window >> (32 - Private::STRING_LOOKUP_BITS)];
    if (found.firstLength != 0) {
        reader.Skip(found.firstLength);
        return static_cast<char>(found.symbols[0]);
    }
    unsigned length = Private::STRING_LOOKUP_BITS;
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
