#include <algorithm>
#include <iterator>
#include <zelk_core/services/compression/private/bitpacking.h>
#include <zelk_core/services/compression/private/stringblock.h>
#include <zelk_core/services/compression/private/stringclasses.h>
#include <zelk_core/services/compression/private/stringtables.h>

namespace Z4 {

using namespace Private;

unsigned long StringCompressor::DetectContent(const unsigned char* text, int length) const {
    unsigned mask = 0;
    for (int i = 0; i < length && mask != std::size(STRING_TABLES) - 1; ++i) {
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
    if (content == 0 || content >= std::size(STRING_TABLES)) {
        return ERR_UNSUPPORTED;
    }
    if (capacity < STRING_HEADER_SIZE || length > MAX_BLOCK_LENGTH) {
        return ERR_INVALID;
    }
    const unsigned char* const accents = ((flags & FOLD_ACCENTS) != 0 ? WITHOUT_ACCENTS : IDENTITY).to;
    const unsigned char* const cases = CaseMap(content, flags).to;
    const StringCodeEntry* const table = m_slots[content].encode;
    static constexpr StringCodeEntry NO_CODE{0, 0};
    const StringCodeEntry& substitute = (flags & REPLACE_BY_SPACE) != 0 ? table[std::size_t{' '}] : NO_CODE;

    BitWriter writer(out + STRING_HEADER_SIZE, capacity - STRING_HEADER_SIZE, MAX_BLOCK_SIZE - STRING_HEADER_SIZE);
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
    size = STRING_HEADER_SIZE + writer.Flush();
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
        const unsigned long start = RoundUpToWord(offset);
        unsigned long size = 0;
        unsigned long encoded = 0;
        // Data in use depends on it: the gap is not taken from the capacity.
        const Error result = CompressSingleBlock(in, run, out + start, outCapacity - offset, size, &encoded, content,
                                                 flags, length > run);
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

} // namespace Z4
