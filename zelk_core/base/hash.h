/// @file
/// Checksums and hash values of byte buffers and strings. None of them resists an attacker who chooses the input.
///
/// Every family takes a buffer with its size in bytes, a narrow string or a wide string. A narrow string is hashed over
/// its bytes, a wide one over the bytes of its 16-bit units, low byte first, each without its terminator: the same
/// bytes give the same value in every form. Mind that a `char` pointer is always taken for a string; binary data is
/// passed as `const unsigned char*`.
///
/// A size of 0 and an empty string are fine everywhere, a buffer of size 0 may be null, and a null string counts as
/// empty. Buffers and strings need no alignment; `size` bytes must be readable. Results are the same on every
/// processor. Any thread may call any function; nothing is allocated, and nothing fails.
#pragma once

#include <cstdint>
#include <zelk_core/base/api.h>

namespace Z4 {

namespace Private {

/// The polynomial 0x04C11DB7 with its bits reversed.
inline constexpr std::uint32_t CRC_POLYNOMIAL = 0xEDB88320;

/// Multiplies a reflected CRC register by x, modulo the reflected polynomial.
constexpr std::uint32_t CrcStepBit(std::uint32_t crc, std::uint32_t polynomial) {
    return (crc & 1) != 0 ? (crc >> 1) ^ polynomial : crc >> 1;
}

/// What each value of a byte turns a reflected CRC register of zero into.
struct CrcTable {
    constexpr explicit CrcTable(std::uint32_t polynomial) : entries() {
        for (std::uint32_t i = 0; i < 256; ++i) {
            std::uint32_t crc = i;
            for (int bit = 0; bit < 8; ++bit) {
                crc = CrcStepBit(crc, polynomial);
            }
            entries[i] = crc;
        }
    }

    std::uint32_t entries[256];
};

inline constexpr CrcTable CRC_TABLE{CRC_POLYNOMIAL};

/// Moves a reflected CRC register on by one byte.
constexpr std::uint32_t CrcStepByte(std::uint32_t crc, unsigned char byte, const std::uint32_t* table) {
    return (crc >> 8) ^ table[(crc ^ byte) & 0xFF];
}

} // namespace Private

/// A namespace in the form of a class.
class Hash {
public:
    Hash() = delete;

    /// FNV-1a, 32 bits, offset basis 0x811C9DC5 (Fowler, Noll and Vo, "The FNV Non-Cryptographic Hash Algorithm").
    /// Nothing hashes to the offset basis.
    [[nodiscard]] Z4_API static std::uint32_t FNV32(const unsigned char* buffer, unsigned size);
    /// @return the hash in the lower 32 bits, and the length of the string in the upper: convert it to 32 bits to
    /// compare it with the other forms.
    [[nodiscard]] Z4_API static std::uint64_t FNV32(const char* string);
    [[nodiscard]] Z4_API static std::uint32_t FNV32(const wchar_t* string);

    /// FNV-1a, 64 bits, offset basis 0xCBF29CE484222325 (source as FNV32).
    [[nodiscard]] Z4_API static std::uint64_t FNV64(const unsigned char* buffer, unsigned size);
    [[nodiscard]] Z4_API static std::uint64_t FNV64(const char* string);
    [[nodiscard]] Z4_API static std::uint64_t FNV64(const wchar_t* string);

    /// The rotating hash (after Knuth, "The Art of Computer Programming", volume 3, section 6.4): each byte rotates the
    /// value left by 4 bits and is xored in. `seed` is the first value, so that a result continues over the next piece;
    /// nothing hashes to `seed`.
    [[nodiscard]] Z4_API static std::uint32_t Knuth(const unsigned char* buffer, unsigned size, std::uint32_t seed = 0);
    [[nodiscard]] Z4_API static std::uint32_t Knuth(const char* string, std::uint32_t seed = 0);
    [[nodiscard]] Z4_API static std::uint32_t Knuth(const wchar_t* string, std::uint32_t seed = 0);

    /// xxHash, 32 bits (Collet, "xxHash fast digest algorithm").
    [[nodiscard]] Z4_API static std::uint32_t XXH32(const unsigned char* buffer, unsigned size, std::uint32_t seed = 0);
    [[nodiscard]] Z4_API static std::uint32_t XXH32(const char* string, std::uint32_t seed = 0);
    [[nodiscard]] Z4_API static std::uint32_t XXH32(const wchar_t* string, std::uint32_t seed = 0);

    /// xxHash, 64 bits (source as XXH32). The seed has 64 bits, too.
    [[nodiscard]] Z4_API static std::uint64_t XXH64(const unsigned char* buffer, unsigned size, std::uint64_t seed = 0);
    [[nodiscard]] Z4_API static std::uint64_t XXH64(const char* string, std::uint64_t seed = 0);
    [[nodiscard]] Z4_API static std::uint64_t XXH64(const wchar_t* string, std::uint64_t seed = 0);

    /// lookup2 with an initial value of 0 (Jenkins, "Algorithm Alley: Hash Functions", Dr. Dobb's Journal, September
    /// 1997; public domain source lookup2.c).
    [[nodiscard]] Z4_API static std::uint32_t Dobbs(const unsigned char* buffer, unsigned size);
    [[nodiscard]] Z4_API static std::uint32_t Dobbs(const char* string);
    [[nodiscard]] Z4_API static std::uint32_t Dobbs(const wchar_t* string);

    /// SuperFastHash (Hsieh, "Hash functions", 2004) with two differences: the last byte of an odd size counts as
    /// unsigned, and the final mixing has five steps of its own. Values therefore differ from the published ones.
    /// Nothing hashes to 0.
    [[nodiscard]] Z4_API static std::uint32_t Fast(const unsigned char* buffer, unsigned size);
    [[nodiscard]] Z4_API static std::uint32_t Fast(const char* string);
    [[nodiscard]] Z4_API static std::uint32_t Fast(const wchar_t* string);

    /// CRC-32 of IEEE 802.3, as zlib's crc32: reflected, polynomial 0x04C11DB7, inverted before and after. `crc` is the
    /// result over the data before, 0 at the start: the CRC of a whole equals that of its pieces one after the other.
    /// Processors with carry-less multiplication fold 64 bytes a step (Gopal and others, "Fast CRC Computation for
    /// Generic Polynomials Using PCLMULQDQ Instruction", Intel, 2009); others slice by four (Kounavis and Berry, "A
    /// Systematic Approach to Building High Performance Software-based CRC Generators", 2005).
    [[nodiscard]] Z4_API static std::uint32_t CRC(const unsigned char* buffer, unsigned size, std::uint32_t crc = 0);
    [[nodiscard]] Z4_API static std::uint32_t CRC(const char* string, std::uint32_t crc = 0);
    /// A string that is not aligned to 4 bytes gives the same value, and one warning to the host's log table, which
    /// must be installed for such strings.
    [[nodiscard]] Z4_API static std::uint32_t CRC(const wchar_t* string, std::uint32_t crc = 0);

    /// The same over a table of CreateCrcTable, byte by byte. `crc` has no default, so that a literal 0 in third place
    /// stays a CRC and never becomes a null table.
    [[nodiscard]] Z4_API static std::uint32_t CRC(const unsigned char* buffer, unsigned size,
                                                  const std::uint32_t table[256], std::uint32_t crc);

    /// Fills `table` for a reflected CRC of 32 bits over any polynomial, given with its highest power in the highest
    /// bit and x^32 left out: 0x04C11DB7 gives the table that CRC uses.
    Z4_API static void CreateCrcTable(std::uint32_t polynomial, std::uint32_t table[256]);

    /// A hash for names, usable at compile time: from the last character to the first, with the table of CRC-32,
    /// value = table[c] xor ((c * 256) + value), c signed in the sum. `seed` is the first value. Only the first 50
    /// characters count: names that agree in them are equal.
    [[nodiscard]] static constexpr std::uint32_t CTCRC(const char* string, std::uint32_t seed) {
        int length = 0;
        while (string != nullptr && length < 50 && string[length] != '\0') {
            ++length;
        }
        std::uint32_t value = seed;
        while (length > 0) {
            const std::uint32_t byte = static_cast<unsigned char>(string[--length]);
            const std::uint32_t signExtended = (byte ^ 0x80) - 0x80;
            value = Private::CRC_TABLE.entries[byte] ^ ((signExtended << 8) + value);
        }
        return value;
    }

    /// CRC-32, usable at compile time: as CRC, but `seed` is the register itself, not inverted. Hence
    /// CTCRC32B(s, 0xFFFFFFFF) equals CRC(s), and the empty string gives the complement of `seed`.
    [[nodiscard]] static constexpr std::uint32_t CTCRC32B(const char* string, std::uint32_t seed) {
        std::uint32_t crc = seed;
        for (const char* p = string; p != nullptr && *p != '\0'; ++p) {
            crc = Private::CrcStepByte(crc, static_cast<unsigned char>(*p), Private::CRC_TABLE.entries);
        }
        return ~crc;
    }
};

} // namespace Z4
