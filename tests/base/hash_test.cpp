// Values that differ from the published ones, forms that differ from one another, and reads beyond the input. The
// reference implementations, the pieces and all other inputs are the fuzzer's.
#include <cstring>
#include <gtest/gtest.h>
#include <random>
#include <string>
#include <tests/support/guardedpage.h>
#include <tests/support/hashfamilies.h>
#include <tests/support/rows.h>
#include <tests/support/testhost.h>
#include <vector>
#include <zelk_core/base/hash.h>

namespace {

using Z4::Hash;
using ZelkTest::HashFamily;
using Buffer = std::vector<unsigned char>;

Buffer RandomBytes(std::size_t size, unsigned seed) {
    std::mt19937 random(seed);
    Buffer bytes(size);
    for (unsigned char& byte : bytes) {
        byte = static_cast<unsigned char>(random());
    }
    return bytes;
}

/// The input of xxHash's own check.
Buffer XxHashBytes() {
    Buffer bytes(222);
    std::uint64_t generator = 0x9E3779B1;
    for (unsigned char& byte : bytes) {
        byte = static_cast<unsigned char>(generator >> 56);
        generator *= 0x9E3779B185EBCA8D;
    }
    return bytes;
}

/// CRC as the remainder of a division of polynomials, bit by bit, most significant bit first.
std::uint32_t BitwiseCrc(const unsigned char* buffer, std::size_t size, std::uint32_t polynomial, std::uint32_t crc) {
    const auto reverse = [](std::uint32_t value, unsigned bits) {
        std::uint32_t reversed = 0;
        for (unsigned i = 0; i < bits; ++i) {
            reversed |= (value >> i & 1) << (bits - 1 - i);
        }
        return reversed;
    };
    std::uint32_t value = reverse(~crc, 32);
    for (std::size_t i = 0; i < size; ++i) {
        value ^= reverse(buffer[i], 8) << 24;
        for (int bit = 0; bit < 8; ++bit) {
            value = (value << 1) ^ (value >> 31 != 0 ? polynomial : 0);
        }
    }
    return ~reverse(value, 32);
}

TEST(Hash, GivesPublishedValues) {
    const Buffer generated = XxHashBytes();
    for (const ZelkTest::Row& row : ZelkTest::Rows("hash.txt")) {
        const std::string text = row.Text(1);
        const bool isGenerated = !text.empty() && text[0] == '@';
        const auto* const bytes = isGenerated ? generated.data() : reinterpret_cast<const unsigned char*>(text.data());
        const auto size = static_cast<unsigned>(isGenerated ? std::stoul(text.substr(1)) : text.size());
        const auto seed = static_cast<std::uint32_t>(row.Number(2));
        unsigned found = 0;
        for (const HashFamily& family : ZelkTest::HASH_FAMILIES) {
            if (family.name == row.Text(0)) {
                ++found;
                EXPECT_EQ(family.bytes(bytes, size, seed), row.Number(3)) << row.Where();
            }
        }
        EXPECT_EQ(found, 1u) << row.Where();
    }
}

TEST(Hash, CountsNothingAsEmpty) {
    const ZelkTest::LogCapture unalignedWarnings;
    for (const HashFamily& family : ZelkTest::HASH_FAMILIES) {
        SCOPED_TRACE(family.name);
        const std::uint64_t empty = family.bytes(nullptr, 0, 7);
        EXPECT_EQ(family.narrow("", 7), empty);
        EXPECT_EQ(family.wide(L"", 7), empty);
        EXPECT_EQ(family.narrow(nullptr, 7), empty);
        EXPECT_EQ(family.wide(nullptr, 7), empty);
    }
    EXPECT_EQ(Hash::CTCRC(nullptr, 7), 7u);
    EXPECT_EQ(Hash::CTCRC32B(nullptr, 7), ~7u);
}

TEST(Hash, Fnv32OfANarrowStringCarriesItsLength) {
    EXPECT_EQ(Hash::FNV32("foobar"), 0x00000006'BF9CF968u);
}

// At either end of a page the bytes have every alignment, and one read over the end faults. The top bit is set in every
// byte of the second round, which searches for a terminator in whole words mistake for one.
TEST(Hash, FormsAgreeAtEveryAlignmentAndLengthAndStayInside) {
    const ZelkTest::LogCapture unalignedWarnings;
    const ZelkTest::GuardedPage page;
    for (const int topBit : {0, 0x80}) {
        Buffer text = RandomBytes(200, 1);
        for (unsigned char& byte : text) {
            byte = static_cast<unsigned char>((byte & 0x7F) == 0 ? 0x80 : byte | topBit);
        }
        for (unsigned size = 0; size <= text.size(); ++size) {
            const unsigned terminator = size % 2 == 0 ? 2 : 1;
            unsigned char* const places[] = {page.Begin() + size % 16, page.End() - size - terminator};
            for (const HashFamily& family : ZelkTest::HASH_FAMILIES) {
                const std::uint64_t expected = family.bytes(text.data(), size, size);
                for (unsigned char* const place : places) {
                    std::memcpy(place, text.data(), size);
                    std::memset(place + size, 0, terminator);
                    ASSERT_EQ(family.narrow(reinterpret_cast<const char*>(place), size), expected)
                        << family.name << size;
                    if (size % 2 == 0) {
                        ASSERT_EQ(family.wide(reinterpret_cast<const wchar_t*>(place), size), expected)
                            << family.name << size;
                    }
                }
                std::memcpy(page.Begin(), text.data(), size);
                ASSERT_EQ(family.bytes(page.Begin(), size, size), expected) << family.name << size;
                std::memcpy(page.End() - size, text.data(), size);
                ASSERT_EQ(family.bytes(page.End() - size, size, size), expected) << family.name << size;
            }
        }
    }
}

TEST(Hash, CrcWarnsOfUnalignedWideStringsOnce) {
    alignas(4) unsigned char place[16] = {};
    const ZelkTest::LogCapture log;
    std::memcpy(place, L"wide", 8);
    static_cast<void>(Hash::CRC(reinterpret_cast<const wchar_t*>(place)));
    log.ExpectOnly({});
    std::memcpy(place + 2, L"wide", 10);
    EXPECT_EQ(Hash::CRC(reinterpret_cast<const wchar_t*>(place + 2)), Hash::CRC(place + 2, 8u));
    log.ExpectOnly(
        {{2, "base/hash", 600,
          "[Z4::Hash] EAL_LOG_WARNING: ComputeCRC called with unaligned string buffer. Falling back to byte array of 8 "
          "bytes.\n  Please align buffer or use ComputeCRC<>(const U8*, ...) for better performances.\n"}});
}

TEST(Hash, CrcOverATableServesAnyPolynomial) {
    constexpr std::uint32_t IEEE = 0x04C11DB7;
    constexpr std::uint32_t CASTAGNOLI = 0x1EDC6F41;
    const Buffer data = RandomBytes(64, 5);
    std::uint32_t table[256];
    for (const std::uint32_t polynomial : {IEEE, CASTAGNOLI, 0x814141ABu, 1u, 0u}) {
        Hash::CreateCrcTable(polynomial, table);
        for (unsigned size = 0; size < 60; ++size) {
            const unsigned char* const place = data.data() + size % 4;
            ASSERT_EQ(Hash::CRC(place, size, table, size), BitwiseCrc(place, size, polynomial, size)) << polynomial;
        }
    }
    Hash::CreateCrcTable(CASTAGNOLI, table);
    EXPECT_EQ(Hash::CRC(reinterpret_cast<const unsigned char*>("123456789"), 9, table, 0), 0xE3069283);
    Hash::CreateCrcTable(IEEE, table);
    EXPECT_EQ(table[1], 0x77073096u);
    EXPECT_EQ(Hash::CRC(data.data(), 64, table, 9), Hash::CRC(data.data(), 64, 9));
}

std::uint32_t RecursiveCtCrc(const char* string, std::uint32_t seed, int depth = 0) {
    if (depth == 50 || *string == '\0') {
        return seed;
    }
    const std::int64_t c = static_cast<signed char>(*string);
    const char byte[] = {*string, '\0'};
    // From a register of zero one byte gives the table's entry.
    const std::uint32_t entry = ~Hash::CRC(byte, 0xFFFFFFFF);
    return entry ^ static_cast<std::uint32_t>(c * 256 + RecursiveCtCrc(string + 1, seed, depth + 1));
}

TEST(Hash, CompileTimeHashes) {
    static_assert(Hash::CTCRC("Name", 1) != Hash::CTCRC("Mane", 1));
    static_assert(Hash::CTCRC32B("123456789", 0xFFFFFFFF) == 0xCBF43926);
    EXPECT_EQ(Hash::CTCRC("hello world", 0x12345678), 0x29414AB0u);
    EXPECT_EQ(Hash::CTCRC("Z\xE4hler \x80\xFF", 0x12345678), 0x4184F948u);
    EXPECT_EQ(Hash::CTCRC32B("", 0), 0xFFFFFFFFu);
    std::string text;
    for (unsigned length = 0; length < 120; ++length) {
        EXPECT_EQ(Hash::CTCRC(text.c_str(), length), RecursiveCtCrc(text.c_str(), length)) << length;
        EXPECT_EQ(Hash::CTCRC32B(text.c_str(), ~length), Hash::CRC(text.c_str(), length)) << length;
        text += static_cast<char>(1 + length * 71 % 255);
    }
    EXPECT_EQ(Hash::CTCRC(text.c_str(), 1), Hash::CTCRC(text.substr(0, 50).c_str(), 1));
    EXPECT_NE(Hash::CTCRC(text.c_str(), 1), Hash::CTCRC(text.substr(0, 49).c_str(), 1));
}

} // namespace
