// Faults hunted: any slip in the arithmetic of single blocks, against published vectors; and of many at once, against
// single ones, in every variant: the library itself calls the one that its processor has. Every count and alignment is
// what fuzz/cipher_fuzz.cpp holds.
#include <cstring>
#include <gtest/gtest.h>
#include <tests/support/guardedpage.h>
#include <tests/support/random.h>
#include <tests/support/rows.h>
#include <utility>
#include <vector>
#include <zelk_core/base/private/processorfeatures.h>
#include <zelk_core/services/encryption/private/blocks.h>

using namespace Z4::Private;

namespace {

std::vector<std::uint32_t> Words(const std::vector<unsigned char>& bytes) {
    std::vector<std::uint32_t> words(bytes.size() / 4);
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        words[i / 4] = words[i / 4] << 8 | bytes[i];
    }
    return words;
}

TEST(CipherBlocks, PublishedVectors) {
    for (const ZelkTest::Row& row : ZelkTest::Rows("cipher.txt")) {
        SCOPED_TRACE(row.Where());
        const bool isTea = row.Text(0) == "Tea";
        const auto key = Words(row.Bytes(1));
        const auto plain = Words(row.Bytes(2));
        const auto coded = Words(row.Bytes(3));
        const CipherBlock there = (isTea ? TeaEncodeBlock : XTeaEncodeBlock)({plain[0], plain[1]}, key.data());
        EXPECT_EQ((std::vector{there.y, there.z}), coded);
        const CipherBlock back = (isTea ? TeaDecodeBlock : XTeaDecodeBlock)({coded[0], coded[1]}, key.data());
        EXPECT_EQ((std::vector{back.y, back.z}), plain);
    }
}

class BlockKernelsVariant : public testing::TestWithParam<std::pair<bool, const BlockKernels*>> {};

TEST_P(BlockKernelsVariant, StridesAreSingleBlocks) {
    const auto [available, kernels] = GetParam();
    if (!available) {
        GTEST_SKIP() << "this processor has not what the variant needs";
    }
    constexpr decltype(&TeaEncodeBlock) SINGLE[] = {TeaEncodeBlock, TeaDecodeBlock, XTeaEncodeBlock, XTeaDecodeBlock};
    constexpr std::uint32_t KEY[] = {0x01234567, 0x92345678, 0x23456789, 0xF456789A};
    constexpr unsigned STRIDES = 3;
    const ZelkTest::GuardedPage page;
    ZelkTest::Input input(13);
    for (unsigned cipher = 0; cipher < 4; ++cipher) {
        std::vector<CipherBlock> blocks(STRIDES * kernels->blocksPerStride);
        for (CipherBlock& block : blocks) {
            block = {input.Bits(), input.Bits()};
        }
        char* const data = reinterpret_cast<char*>(page.End()) - 8 * blocks.size();
        std::memcpy(data, blocks.data(), 8 * blocks.size());
        kernels->work[cipher](data, STRIDES, KEY);
        for (std::size_t i = 0; i < blocks.size(); ++i) {
            const CipherBlock expected = SINGLE[cipher](blocks[i], KEY);
            ASSERT_EQ(std::memcmp(data + 8 * i, &expected, 8), 0) << "cipher " << cipher << ", block " << i;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Cipher, BlockKernelsVariant,
                         testing::Values(std::pair{true, &BLOCK_KERNELS_SSE2},
                                         std::pair{HasAvx2(), &BLOCK_KERNELS_AVX2},
                                         std::pair{HasFastAvx512(), &BLOCK_KERNELS_AVX512}));

} // namespace
