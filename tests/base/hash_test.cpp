// Values that differ from the published ones, and reads beyond a string. The reference implementations, the forms of
// each family, the pieces and all other inputs are the fuzzer's.
#include <algorithm>
#include <cstring>
#include <gtest/gtest.h>
#include <string>
#include <tests/support/guardedpage.h>
#include <tests/support/hashfamilies.h>
#include <tests/support/random.h>
#include <tests/support/rows.h>
#include <tests/support/testhost.h>
#include <zelk_core/base/hash.h>

namespace {

using Z4::Hash;
using ZelkTest::HashFamily;

TEST(Hash, GivesPublishedValues) {
    for (const ZelkTest::Row& row : ZelkTest::Rows("hash.txt")) {
        const std::string text = row.Text(1);
        const auto* const bytes = reinterpret_cast<const unsigned char*>(text.data());
        const auto size = static_cast<unsigned>(text.size());
        const auto seed = static_cast<std::uint32_t>(row.Number(2));
        const auto* const family = std::find_if(std::begin(ZelkTest::HASH_FAMILIES), std::end(ZelkTest::HASH_FAMILIES),
                                                [&row](const HashFamily& f) { return f.name == row.Text(0); });
        if (family != std::end(ZelkTest::HASH_FAMILIES)) {
            EXPECT_EQ(family->bytes(bytes, size, seed), row.Number(3)) << row.Where();
        } else {
            ASSERT_EQ(row.Text(0).substr(0, 6), "CRC 0x") << row.Where();
            std::uint32_t table[256];
            Hash::CreateCrcTable(static_cast<std::uint32_t>(std::stoul(row.Text(0).substr(4), nullptr, 16)), table);
            EXPECT_EQ(Hash::CRC(bytes, size, table, seed), row.Number(3)) << row.Where();
        }
    }
    EXPECT_EQ(Hash::FNV32("foobar"), 0x00000006'BF9CF968u) << "that of a narrow string carries its length";
}

TEST(Hash, CountsNothingAsEmpty) {
    const ZelkTest::LogCapture unalignedWarnings;
    for (const HashFamily& family : ZelkTest::HASH_FAMILIES) {
        SCOPED_TRACE(family.name);
        const std::uint64_t empty = family.narrow("", 7);
        EXPECT_TRUE(family.bytes(nullptr, 0, 7) == empty && family.narrow(nullptr, 7) == empty);
        EXPECT_TRUE(family.wide(nullptr, 7) == empty);
    }
    EXPECT_TRUE(Hash::CTCRC(nullptr, 7) == 7 && Hash::CTCRC32B(nullptr, 7) == ~7u);
}

// The one reader that AddressSanitizer overlooks: it takes whole blocks that are aligned, which at either end of a page
// must not lie beyond it.
TEST(Hash, TerminatorsAreFoundWithoutLeavingThePage) {
    const ZelkTest::GuardedPage page;
    ZelkTest::Input input(1);
    for (unsigned size = 0; size <= 200; ++size) {
        const unsigned terminator = size % 2 == 0 ? 2 : 1;
        for (unsigned char* const place : {page.Begin() + size % 16, page.End() - size - terminator}) {
            std::generate_n(place, size, [&input] { return static_cast<unsigned char>(1 + input.Below(255)); });
            std::memset(place + size, 0, terminator);
            const std::uint32_t expected = Hash::XXH32(place, size);
            ASSERT_EQ(Hash::XXH32(reinterpret_cast<const char*>(place)), expected) << size;
            ASSERT_TRUE(size % 2 != 0 || Hash::XXH32(reinterpret_cast<const wchar_t*>(place)) == expected) << size;
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

static_assert(Hash::CTCRC("Name", 1) != Hash::CTCRC("Mane", 1));
static_assert(Hash::CTCRC("Z\xE4hler \x80\xFF", 0x12345678) == 0x4184F948);
static_assert(Hash::CTCRC32B("123456789", 0xFFFFFFFF) == 0xCBF43926);

} // namespace
