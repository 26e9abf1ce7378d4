#include <algorithm>
#include <cstddef>
#include <iterator>
#include <zelk_core/services/compression/private/stringblock.h>
#include <zelk_core/services/compression/private/stringclasses.h>
#include <zelk_core/services/compression/private/stringtables.h>

namespace Z4 {

using namespace Private;

template <>
struct Private::Layout<StringCompressor> {
    static_assert(sizeof(StringCodeEntry) == 8);
    static_assert(sizeof(StringTreeNode) == 8);
    static_assert(sizeof(StringCompressor::TableSlot) == 2 * sizeof(void*) + 4);
    static_assert(offsetof(StringCompressor, m_slots) == 0);
    static_assert(offsetof(StringCompressor, m_excluded) == 16 * sizeof(StringCompressor::TableSlot));
    static_assert(sizeof(StringCompressor) == 16 * sizeof(StringCompressor::TableSlot) + 32);
};

static_assert(StringCompressor::MAX_CODE_LENGTH == LONGEST_STRING_CODE);

StringCompressor::StringCompressor() : m_slots(), m_excluded() {
    for (unsigned content = 1; content < std::size(STRING_TABLES); ++content) {
        m_slots[content].encode = STRING_TABLES[content].encode;
        m_slots[content].tree = STRING_TABLES[content].tree;
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

} // namespace Z4
