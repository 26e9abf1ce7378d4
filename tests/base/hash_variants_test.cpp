// All variants of a hash against its definition: the DLL calls the one that its processor has, the others never.
#include <bit>
#include <cstring>
#include <gtest/gtest.h>
#include <random>
#include <tests/support/guardedpage.h>
#include <zelk_core/base/private/hashcrc.h>
#include <zelk_core/base/private/hashxx.h>
#include <zelk_core/base/private/processorfeatures.h>

namespace {

using namespace Z4::Private;

struct Variant {
    const char* name;
    bool available;
    std::uint32_t (*crc)(const unsigned char* buffer, unsigned size, std::uint32_t crc);
};

void PrintTo(const Variant& variant, std::ostream* out) {
    *out << variant.name;
}

class CrcVariant : public testing::TestWithParam<Variant> {
protected:
    void SetUp() override {
        if (!GetParam().available) {
            GTEST_SKIP() << "this processor has no " << GetParam().name;
        }
    }

    /// One bit at a time.
    static std::uint32_t Expected(const unsigned char* buffer, unsigned size, std::uint32_t crc) {
        std::uint32_t value = ~crc;
        for (unsigned bit = 0; bit < size * 8; ++bit) {
            const std::uint32_t difference = (value ^ (buffer[bit / 8] >> bit % 8)) & 1;
            value = (value >> 1) ^ (difference != 0 ? 0xEDB88320 : 0);
        }
        return ~value;
    }
};

TEST_P(CrcVariant, PublishedValue) {
    EXPECT_EQ(GetParam().crc(reinterpret_cast<const unsigned char*>("123456789"), 9, 0), 0xCBF43926u);
    EXPECT_EQ(GetParam().crc(nullptr, 0, 77), 77u);
}

// Sums of equal or single bits find a wrong factor that random input might cover up, and name its distance.
TEST_P(CrcVariant, EveryLengthAlignmentAndContent) {
    const ZelkTest::GuardedPage page;
    std::mt19937 random(11);
    // The widest takes 256 bytes a step: two steps, and whatever may be left behind them.
    for (unsigned size = 0; size <= 780; ++size) {
        unsigned char* const atEnd = page.End() - size;
        for (int content = 0; content < 4; ++content) {
            for (unsigned i = 0; i < size; ++i) {
                const unsigned char bytes[] = {0, 0xFF, static_cast<unsigned char>(i == size / 2 ? 0x10 : 0),
                                               static_cast<unsigned char>(random())};
                atEnd[i] = bytes[content];
            }
            for (const std::uint32_t crc : {0u, 0xFFFFFFFFu, 0x12345678u}) {
                ASSERT_EQ(GetParam().crc(atEnd, size, crc), Expected(atEnd, size, crc))
                    << size << " bytes, content " << content;
            }
        }
    }
    for (unsigned offset = 0; offset < 64; ++offset) {
        for (unsigned size = 0; size <= 300; size += 1 + size / 16) {
            const unsigned char* const place = page.End() - 364 + offset;
            ASSERT_EQ(GetParam().crc(place, size, 5), Expected(place, size, 5)) << size << " at " << offset;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Hash, CrcVariant,
                         testing::Values(Variant{"Portable", true, CrcPortable},
                                         Variant{"Pclmul", HasPclmul(), CrcPclmul},
                                         Variant{"Vpclmul", HasVpclmul(), CrcVpclmul},
                                         Variant{"Avx512", HasFastAvx512(), CrcAvx512}),
                         [](const auto& variant) { return variant.param.name; });

class XXH32Variant : public testing::TestWithParam<std::pair<bool, decltype(&Stripes32Portable)>> {};

// One accumulator after the other, each over its quarter of every stripe.
TEST_P(XXH32Variant, EveryCountOfStripes) {
    const auto [available, stripes32] = GetParam();
    if (!available) {
        GTEST_SKIP() << "this processor has not what the variant needs";
    }
    const ZelkTest::GuardedPage page;
    std::mt19937 random(12);
    for (unsigned stripes = 1; stripes <= 40; ++stripes) {
        unsigned char* const input = page.End() - 16 * stripes;
        const auto seed = static_cast<std::uint32_t>(random());
        std::uint32_t expected = 0;
        constexpr int ROTATIONS[] = {1, 7, 12, 18};
        const std::uint32_t starts[] = {seed + 0x9E3779B1u + 0x85EBCA77u, seed + 0x85EBCA77u, seed, seed - 0x9E3779B1u};
        for (unsigned lane = 0; lane < 4; ++lane) {
            std::uint32_t accumulator = starts[lane];
            for (unsigned stripe = 0; stripe < stripes; ++stripe) {
                const auto word = static_cast<std::uint32_t>(random());
                std::memcpy(input + 16 * stripe + 4 * lane, &word, 4);
                accumulator = std::rotl(accumulator + word * 0x85EBCA77u, 13) * 0x9E3779B1u;
            }
            expected += std::rotl(accumulator, ROTATIONS[lane]);
        }
        ASSERT_EQ(stripes32(input, stripes, seed), expected) << stripes << " stripes";
    }
}

INSTANTIATE_TEST_SUITE_P(Hash, XXH32Variant,
                         testing::Values(std::pair{true, &Stripes32Portable}, std::pair{HasAvx2(), &Stripes32Avx2}));

} // namespace
