// What all hash families read their input with.
#pragma once

#include <cstdint>
#include <cstring>

namespace Z4::Private {

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

/// The bytes of a string without its terminator; a null string has none.
Bytes BytesOf(const char* string);
Bytes BytesOf(const wchar_t* string);

} // namespace Z4::Private
