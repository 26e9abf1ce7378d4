/// @file
/// Globally unique identifiers (RFC 9562, where they are called UUIDs), with their text, their bytes, and new ones.
///
/// `Z4::GUID` has the layout of the platform's type of that name, so either may be copied into the other. Where both
/// are visible, after `using namespace Z4` beside the platform's headers, the plain name is ambiguous: write
/// `Z4::GUID`.
///
/// The numbers in memory are in the processor's order, which is not the order of the text; only ToBytes() and
/// FromBytes() know the order that files and networks use. Any thread may call everything here at any time.
#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <zelk_core/base/api.h>
#include <zelk_core/base/error.h>
#include <zelk_core/base/strview.h>

namespace Z4 {

/// An identifier of 128 bits. A plain value: different threads may read one at a time, and who writes must be alone.
struct GUID {
    std::uint32_t data1;   ///< the first 8 digits of the text
    std::uint16_t data2;   ///< the next 4
    std::uint16_t data3;   ///< the next 4, of which the first tells the version
    std::uint8_t data4[8]; ///< the last 16

    /// The forms of the text; its digits are lower case.
    enum Form : int {
        DASHED = 0, ///< 6ba7b810-9dad-11d1-80b4-00c04fd430c8
        BRACED = 1, ///< {6ba7b810-9dad-11d1-80b4-00c04fd430c8}
        BARE = 2,   ///< 6ba7b8109dad11d180b400c04fd430c8
    };
    /// Room for any form with its terminator.
    static constexpr std::size_t FORMAT_SIZE = 39;

    /// Reads a text in one of the three forms, with digits of either case, and with nothing before or behind it.
    /// @return ERR_OK; ERR_INVALID for any other text, and then `guid` stays as it was.
    [[nodiscard]] Z4_API static Error Parse(StrView text, GUID& guid);

    /// Makes an identifier that nobody else has: version 4, of which 122 bits are drawn from the random numbers that
    /// the system keeps for cryptographic keys.
    /// @return ERR_OK; ERR_NOT_READY when the system gives no such numbers, and then `guid` stays as it was.
    [[nodiscard]] Z4_API static Error Generate(GUID& guid);

    /// The identifier of `name`, which is taken as bytes and may be empty, within a name space: version 5, which is
    /// made by SHA-1. The same name in the same space gives the same identifier on every machine. Take one of the
    /// spaces below, such as GUID_SPACE_URL, or any identifier of your own.
    [[nodiscard]] Z4_API static GUID FromName(const GUID& space, StrView name);

    /// The identifier that 16 bytes of a file or a packet stand for; ToBytes() writes these bytes. They are in the
    /// order of RFC 9562: the first byte holds the first two digits of the text, and so on.
    [[nodiscard]] Z4_API static GUID FromBytes(const std::uint8_t (&bytes)[16]);
    /// The other way round: writes the bytes that stand for this identifier.
    Z4_API void ToBytes(std::uint8_t (&bytes)[16]) const;

    /// Writes the text to `to`, cut to fit `size` characters with its terminator; with a `size` of 0 nothing is
    /// written.
    /// @return the length of the whole text, whether it fitted or not.
    Z4_API std::size_t Format(char* to, std::size_t size, Form form = DASHED) const;

    /// Whether all bits are 0. No identifier that was made by the rules is; use it for "none".
    [[nodiscard]] constexpr bool IsNil() const { return *this == GUID{}; }
    /// The version, 0 to 15, which tells how the identifier was made: 4 from random numbers, 5 from a name.
    [[nodiscard]] constexpr unsigned GetVersion() const { return data3 >> 12; }
    /// Hash::XXH32() over the 16 bytes in memory, which are in the processor's order: for tables in memory, not for
    /// files.
    [[nodiscard]] Z4_API std::uint32_t GetHash(std::uint32_t seed = 0) const;

    friend constexpr bool operator==(const GUID&, const GUID&) = default;
    /// In the order of the texts.
    friend constexpr std::strong_ordering operator<=>(const GUID&, const GUID&) = default;
};

namespace Private {

inline constexpr unsigned NO_DIGIT = 0xFF;

/// The values of the characters 0-9, a-z and A-Z as digits; NO_DIGIT for all others.
struct DigitTable {
    constexpr DigitTable() : values() {
        for (unsigned i = 0; i < 256; ++i) {
            const unsigned letter = i | 0x20;
            const unsigned value = i >= '0' && i <= '9'             ? i - '0'
                                   : letter >= 'a' && letter <= 'z' ? letter - 'a' + 10
                                                                    : NO_DIGIT;
            values[i] = static_cast<unsigned char>(value);
        }
    }
    constexpr unsigned operator[](char character) const { return values[static_cast<unsigned char>(character)]; }

    unsigned char values[256];
};
inline constexpr DigitTable DIGITS;

/// Puts `count` hexadecimal digits from `text` on into `value`, and moves on. What is no digit sets bits in `wrong`
/// above the lowest four.
template <class T>
constexpr void TakeHexadecimal(const char*& text, unsigned count, T& value, unsigned& wrong) {
    std::uint32_t sum = 0;
    for (unsigned i = 0; i < count; ++i) {
        const unsigned digit = DIGITS[*text++];
        wrong |= digit;
        sum = sum << 4 | digit;
    }
    value = static_cast<T>(sum);
}

/// GUID::Parse(), also for compilers.
constexpr bool ParseGuid(StrView text, GUID& guid) {
    const char* at = text.Data();
    const bool isBraced = text.Size() == 38;
    const bool isDashed = isBraced || text.Size() == 36;
    if (!isDashed && text.Size() != 32) {
        return false;
    }
    if (isBraced && (text[0] != '{' || text[37] != '}')) {
        return false;
    }
    at += isBraced ? 1 : 0;
    if (isDashed && (at[8] != '-' || at[13] != '-' || at[18] != '-' || at[23] != '-')) {
        return false;
    }
    const unsigned dash = isDashed ? 1 : 0;
    GUID read{};
    unsigned wrong = 0;
    TakeHexadecimal(at, 8, read.data1, wrong);
    at += dash;
    TakeHexadecimal(at, 4, read.data2, wrong);
    at += dash;
    TakeHexadecimal(at, 4, read.data3, wrong);
    at += dash;
    for (unsigned i = 0; i < 8; ++i) {
        at += i == 2 ? dash : 0;
        TakeHexadecimal(at, 2, read.data4[i], wrong);
    }
    if (wrong > 15) {
        return false;
    }
    guid = read;
    return true;
}

} // namespace Private

/// `"6ba7b810-9dad-11d1-80b4-00c04fd430c8"_guid`, in any form; another text does not compile.
consteval GUID operator""_guid(const char* text, std::size_t size) {
    GUID guid{};
    if (!Private::ParseGuid(StrView(text, size), guid)) {
        text = nullptr;
        guid.data4[0] = static_cast<std::uint8_t>(*text); // no constant: stops the compiler
    }
    return guid;
}

/// The name spaces of RFC 9562 for FromName(): of domain names, of addresses in the web, of object identifiers in
/// dotted decimals, and of directory names.
inline constexpr GUID GUID_SPACE_DNS = "6ba7b810-9dad-11d1-80b4-00c04fd430c8"_guid;
inline constexpr GUID GUID_SPACE_URL = "6ba7b811-9dad-11d1-80b4-00c04fd430c8"_guid;
inline constexpr GUID GUID_SPACE_OID = "6ba7b812-9dad-11d1-80b4-00c04fd430c8"_guid;
inline constexpr GUID GUID_SPACE_X500 = "6ba7b814-9dad-11d1-80b4-00c04fd430c8"_guid;

} // namespace Z4
