// Faults hunted: any slip in the arithmetic of single blocks, against published vectors; and of many at once, against
// single ones, in every variant: the library itself calls the one that its processor has. Every count and alignment is
// what fuzz/cipher_fuzz.cpp holds.
#include <cstring>
#include <gtest/gtest.h>
#include <random>
#include <tests/support/guardedpage.h>
#include <utility>
#include <vector>
#include <zelk_core/base/private/processorfeatures.h>
#include <zelk_core/services/encryption/private/blocks.h>

using namespace Z4::Private;

namespace {

struct Pair {
    const char* name;
    CipherBlock (*encode)(CipherBlock, const std::uint32_t*);
    CipherBlock (*decode)(CipherBlock, const std::uint32_t*);
};

const Pair TEA{"Tea", TeaEncodeBlock, TeaDecodeBlock};
const Pair XTEA{"XTea", XTeaEncodeBlock, XTeaDecodeBlock};

} // namespace

TEST(CipherBlocks, PublishedVectors) {
    constexpr std::uint32_t COUNTED[] = {0x00010203, 0x04050607, 0x08090A0B, 0x0C0D0E0F};
    constexpr std::uint32_t ZERO[] = {0, 0, 0, 0};
    constexpr std::uint32_t STAIRS[] = {0x01234567, 0x12345678, 0x23456789, 0x3456789A};
    const struct {
        const Pair& cipher;
        const std::uint32_t* key;
        CipherBlock plain;
        CipherBlock coded;
    } vectors[] = {
        {TEA, ZERO, {0, 0}, {0x41EA3A0A, 0x94BAA940}},
        {TEA, ZERO, {0x01020304, 0x05060708}, {0x6A2F9CF3, 0xFCCF3C55}},
        {TEA, STAIRS, {0, 0}, {0x34E943B0, 0x900F5DCB}},
        {TEA, STAIRS, {0x01020304, 0x05060708}, {0x773DC179, 0x878A81C0}},
        {XTEA, COUNTED, {0x41424344, 0x45464748}, {0x497DF3D0, 0x72612CB5}},
        {XTEA, COUNTED, {0x41414141, 0x41414141}, {0xE78F2D13, 0x744341D8}},
        {XTEA, COUNTED, {0x5A5B6E27, 0x8948D77F}, {0x41414141, 0x41414141}},
        {XTEA, ZERO, {0x41424344, 0x45464748}, {0xA0390589, 0xF8B8EFA5}},
        {XTEA, ZERO, {0x41414141, 0x41414141}, {0xED23375A, 0x821A8C2D}},
        {XTEA, ZERO, {0x70E1225D, 0x6E4E7655}, {0x41414141, 0x41414141}},
    };
    for (const auto& vector : vectors) {
        const CipherBlock coded = vector.cipher.encode(vector.plain, vector.key);
        EXPECT_EQ(coded.y, vector.coded.y) << vector.cipher.name << std::hex << ' ' << vector.plain.y;
        EXPECT_EQ(coded.z, vector.coded.z);
        const CipherBlock plain = vector.cipher.decode(vector.coded, vector.key);
        EXPECT_EQ(plain.y, vector.plain.y);
        EXPECT_EQ(plain.z, vector.plain.z);
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
    std::mt19937 random(13);
    for (unsigned cipher = 0; cipher < 4; ++cipher) {
        std::vector<CipherBlock> blocks(STRIDES * kernels->blocksPerStride);
        for (CipherBlock& block : blocks) {
            block = {static_cast<std::uint32_t>(random()), static_cast<std::uint32_t>(random())};
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
