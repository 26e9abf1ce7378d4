// All forms of the arrays' swap; the library calls the one for the processor at hand.
#include <cstring>
#include <gtest/gtest.h>
#include <tests/support/guardedpage.h>
#include <tests/support/random.h>
#include <utility>
#include <zelk_core/base/private/byteswap.h>
#include <zelk_core/base/private/processorfeatures.h>

namespace {

using namespace Z4::Private;

TEST(ByteSwapVariants, EveryLengthAndAlignment) {
    const ZelkTest::GuardedPage page;
    const ZelkTest::GuardedPage target;
    ZelkTest::Input(4).Fill(page.Begin(), ZelkTest::GuardedPage::SIZE);
    const std::pair<SwapFunction, bool> forms[] = {
        {SwapPlain, true}, {SwapSse2, true}, {SwapSsse3, HasSsse3()}, {SwapAvx2, HasAvx2()}};
    for (const auto& [swap, isAvailable] : forms) {
        for (const unsigned size : {2u, 4u, 8u}) {
            for (std::size_t count = 0; isAvailable && count * size <= 200; ++count) {
                const unsigned char* const from = page.End() - count * size;
                for (std::size_t offset = 0; offset <= 1; ++offset) {
                    unsigned char* const to = target.End() - count * size - offset;
                    swap(to, from, count, size);
                    for (std::size_t i = 0; i < count * size; ++i) {
                        ASSERT_EQ(to[i], from[i / size * size + size - 1 - i % size]) << count << " of " << size;
                    }
                    swap(to, to, count, size);
                    ASSERT_EQ(std::memcmp(from, to, count * size), 0) << count << " of " << size << " in place";
                }
            }
        }
    }
}

} // namespace
