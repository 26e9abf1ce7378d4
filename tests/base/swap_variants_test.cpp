// All forms of the arrays' swap; the library calls those for the processor at hand.
#include <gtest/gtest.h>
#include <tests/support/guardedpage.h>
#include <tests/support/random.h>
#include <vector>
#include <zelk_core/base/private/byteswap.h>
#include <zelk_core/base/private/processorfeatures.h>
#include <zelk_core/base/structureswap.h>

namespace {

using Z4::StructureSwap;

template <auto SWAP>
void Exported(void* to, const void* from, std::size_t count, unsigned) {
    SWAP(to, from, count);
}

const struct Form {
    unsigned size;
    bool isAvailable;
    Z4::Private::SwapFunction swap;
} FORMS[] = {
    {2, true, Z4::Private::SwapPlain},
    {4, true, Z4::Private::SwapPlain},
    {8, true, Z4::Private::SwapPlain},
    {2, true, Z4::Private::SwapSse2},
    {4, true, Z4::Private::SwapSse2},
    {8, true, Z4::Private::SwapSse2},
    {2, Z4::Private::HasSsse3(), Z4::Private::SwapSsse3},
    {4, Z4::Private::HasSsse3(), Z4::Private::SwapSsse3},
    {8, Z4::Private::HasSsse3(), Z4::Private::SwapSsse3},
    {2, Z4::Private::HasAvx2(), Z4::Private::SwapAvx2},
    {4, Z4::Private::HasAvx2(), Z4::Private::SwapAvx2},
    {8, Z4::Private::HasAvx2(), Z4::Private::SwapAvx2},
    {2, true, Exported<StructureSwap::Array16>},
    {4, true, Exported<StructureSwap::Array32>},
    {8, true, Exported<StructureSwap::Array64>},
};

/// What every array operation is: each element's bytes in reverse.
std::vector<unsigned char> Reversed(const unsigned char* data, std::size_t count, unsigned size) {
    std::vector<unsigned char> result(count * size);
    for (std::size_t i = 0; i < result.size(); ++i) {
        result[i] = data[i / size * size + size - 1 - i % size];
    }
    return result;
}

TEST(ByteSwapVariants, EveryLengthAndAlignment) {
    const ZelkTest::GuardedPage page;
    const ZelkTest::GuardedPage target;
    ZelkTest::Input(4).Fill(page.Begin(), ZelkTest::GuardedPage::SIZE);
    for (const Form& form : FORMS) {
        if (!form.isAvailable) {
            continue;
        }
        for (std::size_t count = 0; count * form.size <= 200; ++count) {
            const unsigned char* const from = page.End() - count * form.size;
            const std::vector<unsigned char> expected = Reversed(from, count, form.size);
            for (std::size_t offset = 0; offset <= 1; ++offset) {
                unsigned char* const to = target.End() - count * form.size - offset;
                form.swap(to, from, count, form.size);
                ASSERT_TRUE(std::equal(expected.begin(), expected.end(), to)) << count << " of " << form.size;
                form.swap(to, to, count, form.size);
                ASSERT_TRUE(std::memcmp(from, to, count * form.size) == 0)
                    << count << " of " << form.size << " in place";
            }
        }
    }
}

} // namespace
