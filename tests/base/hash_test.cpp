// The reference is compiled right here, as functions of its own.
#define XXH_STATIC_LINKING_ONLY
#define XXH_IMPLEMENTATION
#include <xxhash.h>

#include <cstring>
#include <gtest/gtest.h>
#include <random>
#include <string>
#include <tests/support/guardedpage.h>
#include <tests/support/testhost.h>
#include <vector>
#include <zelk_core/base/hash.h>

namespace {

using Z4::Hash;
using Buffer = std::vector<unsigned char>;

const unsigned char* Bytes(const char* text) {
    return reinterpret_cast<const unsigned char*>(text);
}

Buffer RandomBytes(std::size_t size, unsigned seed) {
    std::mt19937 random(seed);
    Buffer bytes(size);
    for (unsigned char& byte : bytes) {
        byte = static_cast<unsigned char>(random());
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

/// A family with all its forms brought to one shape; those without a seed ignore it.
struct Family {
    const char* name;
    std::uint64_t (*bytes)(const unsigned char* buffer, unsigned size, std::uint32_t seed);
    std::uint64_t (*narrow)(const char* string, std::uint32_t seed);
    std::uint64_t (*wide)(const wchar_t* string, std::uint32_t seed);
};

using std::uint32_t;

const Family FAMILIES[] = {
    {"FNV32", [](const unsigned char* p, unsigned n, uint32_t) -> std::uint64_t { return Hash::FNV32(p, n); },
     [](const char* s, uint32_t) -> std::uint64_t { return static_cast<uint32_t>(Hash::FNV32(s)); },
     [](const wchar_t* s, uint32_t) -> std::uint64_t { return Hash::FNV32(s); }},
    {"FNV64", [](const unsigned char* p, unsigned n, uint32_t) { return Hash::FNV64(p, n); },
     [](const char* s, uint32_t) { return Hash::FNV64(s); }, [](const wchar_t* s, uint32_t) { return Hash::FNV64(s); }},
    {"Knuth",
     [](const unsigned char* p, unsigned n, uint32_t seed) -> std::uint64_t { return Hash::Knuth(p, n, seed); },
     [](const char* s, uint32_t seed) -> std::uint64_t { return Hash::Knuth(s, seed); },
     [](const wchar_t* s, uint32_t seed) -> std::uint64_t { return Hash::Knuth(s, seed); }},
    {"XXH32",
     [](const unsigned char* p, unsigned n, uint32_t seed) -> std::uint64_t { return Hash::XXH32(p, n, seed); },
     [](const char* s, uint32_t seed) -> std::uint64_t { return Hash::XXH32(s, seed); },
     [](const wchar_t* s, uint32_t seed) -> std::uint64_t { return Hash::XXH32(s, seed); }},
    {"XXH64", [](const unsigned char* p, unsigned n, uint32_t seed) { return Hash::XXH64(p, n, ~std::uint64_t{seed}); },
     [](const char* s, uint32_t seed) { return Hash::XXH64(s, ~std::uint64_t{seed}); },
     [](const wchar_t* s, uint32_t seed) { return Hash::XXH64(s, ~std::uint64_t{seed}); }},
    {"Dobbs", [](const unsigned char* p, unsigned n, uint32_t) -> std::uint64_t { return Hash::Dobbs(p, n); },
     [](const char* s, uint32_t) -> std::uint64_t { return Hash::Dobbs(s); },
     [](const wchar_t* s, uint32_t) -> std::uint64_t { return Hash::Dobbs(s); }},
    {"Fast", [](const unsigned char* p, unsigned n, uint32_t) -> std::uint64_t { return Hash::Fast(p, n); },
     [](const char* s, uint32_t) -> std::uint64_t { return Hash::Fast(s); },
     [](const wchar_t* s, uint32_t) -> std::uint64_t { return Hash::Fast(s); }},
    {"CRC", [](const unsigned char* p, unsigned n, uint32_t seed) -> std::uint64_t { return Hash::CRC(p, n, seed); },
     [](const char* s, uint32_t seed) -> std::uint64_t { return Hash::CRC(s, seed); },
     [](const wchar_t* s, uint32_t seed) -> std::uint64_t { return Hash::CRC(s, seed); }},
};

TEST(Hash, GivesPublishedValues) {
    // draft-eastlake-fnv, and the vectors of FNV's own test program.
    const struct {
        const char* text;
        std::uint32_t fnv32;
        std::uint64_t fnv64;
    } fnv[] = {
        {"", 0x811C9DC5, 0xCBF29CE484222325},       {"a", 0xE40C292C, 0xAF63DC4C8601EC8C},
        {"b", 0xE70C2DE5, 0xAF63DF4C8601F1A5},      {"foo", 0xA9F37ED7, 0xDCB27518FED9D577},
        {"foobar", 0xBF9CF968, 0x85944171F73967E8}, {"chongo was here!\n", 0xD49930D5, 0x46810940EFF5F915},
    };
    for (const auto& vector : fnv) {
        EXPECT_EQ(Hash::FNV32(Bytes(vector.text), static_cast<unsigned>(std::strlen(vector.text))), vector.fnv32);
        EXPECT_EQ(Hash::FNV64(vector.text), vector.fnv64);
    }

    EXPECT_EQ(Hash::CRC("123456789"), 0xCBF43926);
    EXPECT_EQ(Hash::CRC("The quick brown fox jumps over the lazy dog"), 0x414FA339u);

    // xxHash's sanity check: a generated buffer, cut to several lengths.
    constexpr std::uint32_t PRIME32 = 0x9E3779B1;
    constexpr std::uint64_t PRIME64 = 0x9E3779B185EBCA8D;
    unsigned char buffer[222];
    std::uint64_t generator = PRIME32;
    for (unsigned char& byte : buffer) {
        byte = static_cast<unsigned char>(generator >> 56);
        generator *= PRIME64;
    }
    const struct {
        unsigned size;
        std::uint32_t seed;
        std::uint32_t xxh32;
        std::uint64_t xxh64;
    } xxh[] = {
        {0, 0, 0x02CC5D05, 0xEF46DB3751D8E999},   {0, PRIME32, 0x36B78AE7, 0xAC75FDA2929B17EF},
        {1, 0, 0xCF65B03E, 0xE934A84ADB052768},   {1, PRIME32, 0xB4545AA4, 0x5014607643A9B4C3},
        {14, 0, 0x1208E7E2, 0x8282DCC4994E35C8},  {14, PRIME32, 0x6AF1D1FE, 0xC3BD6BF63DEB6DF0},
        {222, 0, 0x5BD11DBD, 0xB641AE8CB691C174}, {222, PRIME32, 0x58803C5F, 0x20CB8AB7AE10C14A},
    };
    for (const auto& vector : xxh) {
        EXPECT_EQ(Hash::XXH32(buffer, vector.size, vector.seed), vector.xxh32) << vector.size;
        EXPECT_EQ(Hash::XXH64(buffer, vector.size, vector.seed), vector.xxh64) << vector.size;
    }
}

TEST(Hash, GivesTheValuesOfAnotherImplementation) {
    // lookup2 by Debian's Digest::JHash; the others, which nobody publishes values of, by a program in another
    // language.
    const struct {
        const char* text;
        std::uint32_t lookup2, fast, knuth;
    } vectors[] = {
        {"a", 0x29EEC818, 0x4866210B, 0x234567E0},
        {"ab", 0x9879AC41, 0x8D55535E, 0x34567E60},
        {"abc", 0x251E4793, 0x1D272C17, 0x4567E660},
        {"abcd", 0x5AE61FA5, 0x1CB7712C, 0x567E6660},
        {"\xFF\xFE\xFD", 0xBDA95105, 0x879FB763, 0x4567713E},
        {"hello world", 0x1AA919E6, 0x0721B312, 0xE8166BBD},
        {"abcdefghijkl", 0x0B1B3EA5, 0xF20005C0, 0x66609ABA},
        {"abcdefghijklmnopqrstuvw", 0x68E5FF21, 0x42DCC24B, 0x7FFFFFF9},
        {"The quick brown fox jumps over the lazy dog", 0xFC1558DE, 0x7C0D5911, 0xB2A2D7A2},
    };
    for (const auto& vector : vectors) {
        EXPECT_EQ(Hash::Dobbs(vector.text), vector.lookup2) << vector.text;
        EXPECT_EQ(Hash::Fast(vector.text), vector.fast) << vector.text;
        EXPECT_EQ(Hash::Knuth(vector.text, 0x12345678), vector.knuth) << vector.text;
    }
    EXPECT_EQ(Hash::Dobbs(""), 0xBD49D10Du);
}

TEST(Hash, CountsNothingAsEmpty) {
    const ZelkTest::LogCapture unalignedWarnings;
    for (const Family& family : FAMILIES) {
        SCOPED_TRACE(family.name);
        const std::uint64_t empty = family.bytes(nullptr, 0, 7);
        EXPECT_EQ(family.narrow("", 7), empty);
        EXPECT_EQ(family.wide(L"", 7), empty);
        EXPECT_EQ(family.narrow(nullptr, 7), empty);
        EXPECT_EQ(family.wide(nullptr, 7), empty);
    }
    EXPECT_EQ(Hash::Knuth("", 7), 7u);
    EXPECT_EQ(Hash::Fast(""), 0u);
    EXPECT_EQ(Hash::CRC("", 7), 7u);
    EXPECT_EQ(Hash::CTCRC(nullptr, 7), 7u);
    EXPECT_EQ(Hash::CTCRC32B(nullptr, 7), ~7u);
}

TEST(Hash, SeedsDefaultToZero) {
    const char* const text = "seed";
    const auto* const wide = L"seed";
    EXPECT_EQ(Hash::Knuth(text), Hash::Knuth(text, 0));
    EXPECT_EQ(Hash::XXH32(wide), Hash::XXH32(wide, 0));
    EXPECT_EQ(Hash::XXH64(Bytes(text), 4), Hash::XXH64(Bytes(text), 4, 0));
    EXPECT_EQ(Hash::CRC(Bytes(text), 4), Hash::CRC(Bytes(text), 4, 0));
}

TEST(Hash, Fnv32OfANarrowStringCarriesItsLength) {
    EXPECT_EQ(Hash::FNV32("foobar"), 0x00000006'BF9CF968u);
    EXPECT_EQ(Hash::FNV32(""), 0x811C9DC5u);
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
            for (const Family& family : FAMILIES) {
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

TEST(Hash, WideStringsAtOddAddressesAgreeWithTheirBytes) {
    const ZelkTest::LogCapture unalignedWarnings;
    const ZelkTest::GuardedPage page;
    const Buffer text = RandomBytes(64, 2);
    for (unsigned offset = 1; offset < 8; ++offset) {
        // Units whose low or high byte is zero do not end the string.
        unsigned char* const place = page.End() - text.size() - 2 - offset;
        std::memcpy(place, text.data(), text.size());
        place[4] = 0;
        place[9] = 0;
        std::memset(place + text.size(), 0, 2);
        for (const Family& family : FAMILIES) {
            EXPECT_EQ(family.wide(reinterpret_cast<const wchar_t*>(place), 3), family.bytes(place, 64, 3))
                << family.name << offset;
        }
    }
}

TEST(Hash, CrcWarnsOfUnalignedWideStringsOnce) {
    alignas(4) unsigned char place[16] = {};
    for (unsigned offset = 0; offset < 4; ++offset) {
        std::memset(place, 0, sizeof(place));
        std::memcpy(place + offset, L"wide", 8);
        const ZelkTest::LogCapture log;
        EXPECT_EQ(Hash::CRC(reinterpret_cast<const wchar_t*>(place + offset)), Hash::CRC(place + offset, 8u));
        const std::vector<ZelkTest::LogLine> lines = log.Lines();
        if (offset == 0) {
            EXPECT_TRUE(lines.empty());
            continue;
        }
        ASSERT_EQ(lines.size(), 1u);
        EXPECT_EQ(lines[0].id, 0x40100001);
        EXPECT_EQ(lines[0].level, 2u);
        EXPECT_EQ(lines[0].file, "base/hash");
        EXPECT_EQ(lines[0].line, 600u);
        EXPECT_EQ(
            lines[0].text,
            "[Z4::Hash] EAL_LOG_WARNING: ComputeCRC called with unaligned string buffer. Falling back to byte array "
            "of 8 bytes.\n  Please align buffer or use ComputeCRC<>(const U8*, ...) for better performances.\n");
    }
}

TEST(Hash, CrcIsTheRemainderOfADivision) {
    const Buffer data = RandomBytes(3000, 3);
    for (unsigned size = 0; size <= 200; ++size) {
        for (unsigned offset = 0; offset < 16; ++offset) {
            ASSERT_EQ(Hash::CRC(data.data() + offset, size, size),
                      BitwiseCrc(data.data() + offset, size, 0x04C11DB7, size))
                << size << " at " << offset;
        }
    }
    EXPECT_EQ(Hash::CRC(data.data(), 3000), BitwiseCrc(data.data(), 3000, 0x04C11DB7, 0));
}

TEST(Hash, PiecesContinueToTheWhole) {
    const Buffer data = RandomBytes(300, 4);
    for (unsigned cut = 0; cut <= data.size(); ++cut) {
        const unsigned rest = static_cast<unsigned>(data.size()) - cut;
        ASSERT_EQ(Hash::CRC(data.data() + cut, rest, Hash::CRC(data.data(), cut, 5)), Hash::CRC(data.data(), 300, 5));
        ASSERT_EQ(Hash::Knuth(data.data() + cut, rest, Hash::Knuth(data.data(), cut, 5)),
                  Hash::Knuth(data.data(), 300, 5));
    }
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
    EXPECT_EQ(Hash::CRC(Bytes("123456789"), 9, table, 0), 0xE3069283);
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

TEST(Hash, XxHashEqualsTheReference) {
    const Buffer data = RandomBytes(5000, 6);
    const std::uint64_t seeds[] = {0, 1, 0xFFFFFFFF, 0x80000000, 0x9E3779B185EBCA87, 0xFFFFFFFFFFFFFFFF};
    for (const std::uint64_t seed : seeds) {
        const auto seed32 = static_cast<std::uint32_t>(seed);
        for (unsigned size = 0; size <= 200; ++size) {
            for (unsigned offset = 0; offset < 16; ++offset) {
                const unsigned char* const place = data.data() + offset;
                ASSERT_EQ(Hash::XXH32(place, size, seed32), XXH32(place, size, seed32)) << size << " at " << offset;
                ASSERT_EQ(Hash::XXH64(place, size, seed), XXH64(place, size, seed)) << size << " at " << offset;
            }
        }
        EXPECT_EQ(Hash::XXH32(data.data(), 5000, seed32), XXH32(data.data(), 5000, seed32));
        EXPECT_EQ(Hash::XXH64(data.data(), 5000, seed), XXH64(data.data(), 5000, seed));
    }
}

} // namespace
