/// @file
/// Checksums and hash values of byte buffers and strings. None of them is safe against somebody who chooses the input
/// in order to make values equal.
///
/// A pointer to `char` is always taken for a terminated text. With `char* data`, `Hash::CRC(data, size)` compiles, but
/// it hashes up to the first zero and takes the size for the seed. For a buffer of `char`, write
///
///     Hash::CRC(reinterpret_cast<const unsigned char*>(data), size)
///
/// Every family takes a buffer with its size in bytes, a narrow string or a wide string. A narrow string is hashed as
/// the buffer of its bytes, a wide string as the buffer of its 16-bit units, low byte first, both without the
/// terminator. So the same bytes give the same value in all three forms.
///
/// A buffer must have `size` readable bytes, and may be null when `size` is 0. A null string counts as an empty one.
/// Nothing needs to be aligned. Values are the same on every processor, so they can be stored and sent. Any thread may
/// call anything at any time; nothing is allocated, and nothing fails.
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

/// The hash functions, all static, which any thread may call at any time; there are no objects of this class. hash.h
/// tells what all of them take.
class Hash {
public:
    Hash() = delete;

    /// FNV-1a, 32 bits, offset basis 0x811C9DC5 (Fowler, Noll and Vo, "The FNV Non-Cryptographic Hash Algorithm").
    /// An empty input gives the offset basis.
    [[nodiscard]] Z4_API static std::uint32_t FNV32(const unsigned char* buffer, unsigned size);
    /// @return the hash in the lower 32 bits, and the length of the string in the upper 32. Convert it to
    /// `std::uint32_t` before you compare it with a value of another form.
    /// The same of a narrow string, with its length beside it.
    [[nodiscard]] Z4_API static std::uint64_t FNV32(const char* string);
    [[nodiscard]] Z4_API static std::uint32_t FNV32(const wchar_t* string);

    /// FNV-1a, 64 bits, offset basis 0xCBF29CE484222325 (source as FNV32).
    [[nodiscard]] Z4_API static std::uint64_t FNV64(const unsigned char* buffer, unsigned size);
    [[nodiscard]] Z4_API static std::uint64_t FNV64(const char* string);
    [[nodiscard]] Z4_API static std::uint64_t FNV64(const wchar_t* string);

    /// The rotating hash (after Knuth, "The Art of Computer Programming", volume 3, section 6.4): each byte rotates the
    /// value left by 4 bits and is xored in. `seed` is the value before the first byte, and that of an empty input.
    /// With the value of one piece as the seed of the next, the pieces hash as the whole.
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
    /// An empty input gives 0.
    [[nodiscard]] Z4_API static std::uint32_t Fast(const unsigned char* buffer, unsigned size);
    [[nodiscard]] Z4_API static std::uint32_t Fast(const char* string);
    [[nodiscard]] Z4_API static std::uint32_t Fast(const wchar_t* string);

    /// CRC-32 of IEEE 802.3, which is zlib's crc32, too: reflected, polynomial 0x04C11DB7, inverted before and after.
    /// `crc` is 0 for the first piece of the data and the CRC of all pieces before for each further one; the last
    /// result is the CRC of the whole. Processors with carry-less multiplication fold 64, 128 or 256 bytes a step, as
    /// wide as their vectors are (Gopal and others, "Fast CRC Computation for Generic Polynomials Using PCLMULQDQ
    /// Instruction", Intel, 2009); others slice by four (Kounavis and Berry, "A Systematic Approach to Building High
    /// Performance Software-based CRC Generators", 2005).
    [[nodiscard]] Z4_API static std::uint32_t CRC(const unsigned char* buffer, unsigned size, std::uint32_t crc = 0);
    [[nodiscard]] Z4_API static std::uint32_t CRC(const char* string, std::uint32_t crc = 0);
    /// The address of `string` should be a multiple of 4. With another one the value is the same, but each call writes
    /// a warning to the host's log, for which a service must be started (lifecycle.h).
    [[nodiscard]] Z4_API static std::uint32_t CRC(const wchar_t* string, std::uint32_t crc = 0);

    /// The CRC of another polynomial, by a table of CreateCrcTable(), byte by byte; inverted before and after, too.
    /// `crc` is 0 for the first piece, and has no default: in `CRC(data, size, 0)` the 0 is a CRC, not a null table.
    [[nodiscard]] Z4_API static std::uint32_t CRC(const unsigned char* buffer, unsigned size,
                                                  const std::uint32_t table[256], std::uint32_t crc);

    /// Fills `table` for the reflected 32-bit CRC of `polynomial`, which is written with the coefficient of x^31 in its
    /// highest bit and without x^32: 0x04C11DB7 gives the table of CRC-32.
    Z4_API static void CreateCrcTable(std::uint32_t polynomial, std::uint32_t table[256]);

    /// A hash for names that compilers can compute. From the last character c to the first, the value becomes
    /// table[c] xor (c * 256 + value), where table is that of CRC-32 and c is signed in the sum; `seed` is the value
    /// before, and that of the empty string. Only the first 50 characters count: names that differ only behind them
    /// have the same value.
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

    /// CRC-32 that compilers can compute. It differs from CRC in that `seed` is not inverted before: CTCRC32B(s,
    /// 0xFFFFFFFF) equals CRC(s), and the empty string gives the complement of `seed`.
    [[nodiscard]] static constexpr std::uint32_t CTCRC32B(const char* string, std::uint32_t seed) {
        std::uint32_t crc = seed;
        for (const char* p = string; p != nullptr && *p != '\0'; ++p) {
            crc = Private::CrcStepByte(crc, static_cast<unsigned char>(*p), Private::CRC_TABLE.entries);
        }
        return ~crc;
    }
};

} // namespace Z4
