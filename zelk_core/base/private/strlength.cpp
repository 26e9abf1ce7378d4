#include <bit>
#include <cstdint>
#include <emmintrin.h>
#include <zelk_core/base/strview.h>

namespace Z4 {

namespace {

constexpr std::size_t BLOCK = 16;

template <class Char>
__m128i Zeros(__m128i characters) {
    return sizeof(Char) == 1 ? _mm_cmpeq_epi8(characters, _mm_setzero_si128())
                             : _mm_cmpeq_epi16(characters, _mm_setzero_si128());
}

/// Whole aligned blocks are read, so bytes around the text, but never of another page.
template <class Char>
Z4_NO_SANITIZE_ADDRESS std::size_t Length(const Char* text, std::size_t limit) {
    if (text == nullptr || limit == 0) {
        return 0;
    }
    const std::uintptr_t address = reinterpret_cast<std::uintptr_t>(text);
    if (address % sizeof(Char) != 0) {
        std::size_t length = 0;
        for (Char character; length < limit; ++length) {
            std::memcpy(&character, text + length, sizeof(character));
            if (character == 0) {
                break;
            }
        }
        return length;
    }
    const std::size_t before = address % BLOCK;
    const auto* block = reinterpret_cast<const __m128i*>(address - before);
    auto found = static_cast<unsigned>(_mm_movemask_epi8(Zeros<Char>(_mm_load_si128(block)))) >> before;
    if (found != 0) {
        const std::size_t length = static_cast<unsigned>(std::countr_zero(found)) / sizeof(Char);
        return length < limit ? length : limit;
    }
    for (std::size_t length = (BLOCK - before) / sizeof(Char); length < limit; length += BLOCK / sizeof(Char)) {
        found = static_cast<unsigned>(_mm_movemask_epi8(Zeros<Char>(_mm_load_si128(++block))));
        if (found != 0) {
            length += static_cast<unsigned>(std::countr_zero(found)) / sizeof(Char);
            return length < limit ? length : limit;
        }
    }
    return limit;
}

} // namespace

std::size_t Private::TextLength(const char* text, std::size_t limit) {
    return Length(text, limit);
}

std::size_t Private::TextLength(const wchar_t* text, std::size_t limit) {
    return Length(text, limit);
}

} // namespace Z4
