// Both variants of CRC against its definition: the DLL calls the one that its processor has, the other never.
#include <gtest/gtest.h>
#include <tests/support/guardedpage.h>
#include <tests/support/random.h>
#include <zelk_core/base/private/hashcrc.h>

namespace {

using Crc = std::uint32_t (*)(const unsigned char* buffer, unsigned size, std::uint32_t crc);

/// One bit at a time.
std::uint32_t BitwiseCrc(const unsigned char* buffer, unsigned size, std::uint32_t crc) {
    std::uint32_t value = ~crc;
    for (unsigned bit = 0; bit < size * 8; ++bit) {
        const std::uint32_t difference = (value ^ (buffer[bit / 8] >> bit % 8)) & 1;
        value = (value >> 1) ^ (difference != 0 ? 0xEDB88320 : 0);
    }
    return ~value;
}

// Sums of equal or single bits find a wrong factor that random input might cover up, and name its distance.
void ExpectDefinition(Crc crc) {
    EXPECT_EQ(crc(reinterpret_cast<const unsigned char*>("123456789"), 9, 0), 0xCBF43926u);
    EXPECT_EQ(crc(nullptr, 0, 77), 77u);
    const ZelkTest::GuardedPage page;
    ZelkTest::Input input(11);
    for (unsigned size = 0; size <= 260; ++size) {
        unsigned char* const place = page.End() - size;
        for (unsigned content = 0; content < 4; ++content) {
            for (unsigned i = 0; i < size; ++i) {
                const unsigned bytes[] = {0, 0xFF, i == size / 2 ? 0x10U : 0, input.Below(256)};
                place[i] = static_cast<unsigned char>(bytes[content]);
            }
            for (const std::uint32_t start : {0u, 0xFFFFFFFFu, 0x12345678u}) {
                ASSERT_EQ(crc(place, size, start), BitwiseCrc(place, size, start)) << size << ", content " << content;
            }
        }
    }
    for (unsigned offset = 0; offset < 16; ++offset) {
        for (unsigned size = 0; size <= 140; ++size) {
            const unsigned char* const place = page.End() - 256 + offset;
            ASSERT_EQ(crc(place, size, 5), BitwiseCrc(place, size, 5)) << size << " at " << offset;
        }
    }
}

TEST(CrcVariant, Portable) {
    ExpectDefinition(Z4::Private::CrcPortable);
}

TEST(CrcVariant, Pclmul) {
    if (!Z4::Private::HasPclmul()) {
        GTEST_SKIP() << "this processor has no such instruction";
    }
    ExpectDefinition(Z4::Private::CrcPclmul);
}

} // namespace
