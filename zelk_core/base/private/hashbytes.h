// What all hash families read their input with.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>
#include <emmintrin.h>
#include <zelk_core/base/api.h>

namespace Z4::Private {

static_assert(sizeof(wchar_t) == 2, "a wide string is one of 16-bit units");

/// Loads of any alignment, low byte first, as every processor of this library stores numbers.
inline std::uint32_t Load16(const unsigned char* p) {
    std::uint16_t value;
    std::memcpy(&value, p, sizeof(value));
    return value;
}
inline std::uint32_t Load32(const unsigned char* p) {
    std::uint32_t value;
    std::memcpy(&value, p, sizeof(value));
    return value;
}
inline std::uint64_t Load64(const unsigned char* p) {
    std::uint64_t value;
    std::memcpy(&value, p, sizeof(value));
    return value;
}

struct Bytes {
    const unsigned char* data;
    unsigned size;
};

inline __m128i ZeroUnits(__m128i units, char) {
    return _mm_cmpeq_epi8(units, _mm_setzero_si128());
}

inline __m128i ZeroUnits(__m128i units, wchar_t) {
    return _mm_cmpeq_epi16(units, _mm_setzero_si128());
}

/// The terminator of a string that is aligned to its units. It is inline, where TextLength() would be a call that the
/// hash of a few characters feels. Whole blocks of 16 aligned bytes are read, so bytes beside
/// the string, too; as no page ends within a block, that never faults, but AddressSanitizer would object.
template <class Unit>
Z4_NO_SANITIZE_ADDRESS inline const unsigned char* FindTerminator(const unsigned char* string) {
    const std::uintptr_t before = reinterpret_cast<std::uintptr_t>(string) % sizeof(__m128i);
    const unsigned char* block = string - before;
    const auto zeros = [](__m128i units) { return static_cast<unsigned>(_mm_movemask_epi8(ZeroUnits(units, Unit()))); };
    unsigned found = zeros(_mm_load_si128(reinterpret_cast<const __m128i*>(block))) >> before << before;
    while (found == 0) {
        block += sizeof(__m128i);
        found = zeros(_mm_load_si128(reinterpret_cast<const __m128i*>(block)));
    }
    return block + std::countr_zero(found);
}

/// The bytes of a string without its terminator; a null string has none.
inline Bytes BytesOf(const char* string) {
    const auto* const data = reinterpret_cast<const unsigned char*>(string);
    if (data == nullptr) {
        return {data, 0};
    }
    return {data, static_cast<unsigned>(FindTerminator<char>(data) - data)};
}

inline Bytes BytesOf(const wchar_t* string) {
    const auto* const data = reinterpret_cast<const unsigned char*>(string);
    if (data == nullptr) {
        return {data, 0};
    }
    if (reinterpret_cast<std::uintptr_t>(data) % sizeof(wchar_t) == 0) {
        return {data, static_cast<unsigned>(FindTerminator<wchar_t>(data) - data)};
    }
    unsigned size = 0;
    while (Load16(data + size) != 0) {
        size += sizeof(wchar_t);
    }
    return {data, size};
}

} // namespace Z4::Private
