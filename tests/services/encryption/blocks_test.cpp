// Faults hunted: any slip in the arithmetic of single blocks, against published vectors. That many blocks at once are
// the same as single ones, at every count and alignment, is what fuzz/cipher_fuzz.cpp holds.
#include <gtest/gtest.h>
#include <tests/support/rows.h>
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

} // namespace
