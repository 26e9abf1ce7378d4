// All variants of a hash against the plainest or one another: the DLL calls the one that its processor has, the others
// never. The references have judged what they are compared with: see fuzz/hash_fuzz.cpp.
#include <gtest/gtest.h>
#include <tests/support/guardedpage.h>
#include <tests/support/random.h>
#include <zelk_core/base/hash.h>
#include <zelk_core/base/private/hashcrc.h>
#include <zelk_core/base/private/hashxx.h>
#include <zelk_core/base/private/processorfeatures.h>

using namespace Z4::Private;

namespace {

using Crc = std::uint32_t (*)(const unsigned char* buffer, unsigned size, std::uint32_t crc);

class CrcVariant : public testing::TestWithParam<std::pair<bool, Crc>> {};

// Sums of equal or single bits find a wrong factor that random input might cover up, and name its distance.
TEST_P(CrcVariant, EveryLengthAlignmentAndContent) {
    const auto [available, crc] = GetParam();
    if (!available) {
        GTEST_SKIP() << "this processor has not what the variant needs";
    }
    const auto byBytes = [](const unsigned char* buffer, unsigned size, std::uint32_t start) {
        std::uint32_t value = ~start;
        for (unsigned i = 0; i < size; ++i) {
            value = CrcStepByte(value, buffer[i], CRC_TABLE.entries);
        }
        return ~value;
    };
    EXPECT_EQ(crc(nullptr, 0, 77), 77u);
    const ZelkTest::GuardedPage page;
    ZelkTest::Input input(11);
    // The widest takes 256 bytes a step: two steps, and whatever may be left behind them.
    for (unsigned size = 0; size <= 780; ++size) {
        unsigned char* const place = page.End() - size;
        for (unsigned content = 0; content < 4; ++content) {
            for (unsigned i = 0; i < size; ++i) {
                const unsigned bytes[] = {0, 0xFF, i == size / 2 ? 0x10U : 0, input.Below(256)};
                place[i] = static_cast<unsigned char>(bytes[content]);
            }
            for (const std::uint32_t start : {0u, 0xFFFFFFFFu, 0x12345678u}) {
                ASSERT_EQ(crc(place, size, start), byBytes(place, size, start)) << size << ", content " << content;
            }
        }
    }
    for (unsigned offset = 0; offset < 64; ++offset) {
        for (unsigned size = 0; size <= 300; size += 1 + size / 16) {
            const unsigned char* const place = page.End() - 364 + offset;
            ASSERT_EQ(crc(place, size, 5), byBytes(place, size, 5)) << size << " at " << offset;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Hash, CrcVariant,
                         testing::Values(std::pair{true, &CrcPortable}, std::pair{HasPclmul(), &CrcPclmul},
                                         std::pair{HasVpclmul(), &CrcVpclmul}, std::pair{HasFastAvx512(), &CrcAvx512}));

TEST(XXH32Variant, EveryCountOfStripes) {
    if (!HasAvx2()) {
        GTEST_SKIP() << "this processor has not what the variant needs";
    }
    const ZelkTest::GuardedPage page;
    ZelkTest::Input(12).Fill(page.Begin(), page.SIZE);
    for (unsigned stripes = 1; stripes <= 40; ++stripes) {
        const unsigned char* const input = page.End() - 16 * stripes;
        ASSERT_EQ(Stripes32Portable(input, stripes, stripes), Stripes32Avx2(input, stripes, stripes)) << stripes;
    }
}

} // namespace
