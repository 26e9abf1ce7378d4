// The single blocks against published vectors, many blocks against single ones.
#include <cstring>
#include <gtest/gtest.h>
#include <random>
#include <vector>
#include <zelk_core/services/encryption/private/blocks.h>

using namespace Z4::Private;

namespace {

using BlockFunction = CipherBlock (*)(CipherBlock, const std::uint32_t*);
using BlocksFunction = void (*)(char*, unsigned long, const std::uint32_t*);

struct Pair {
    const char* name;
    BlockFunction encodeOne;
    BlockFunction decodeOne;
    BlocksFunction encodeMany;
    BlocksFunction decodeMany;
};

const Pair TEA{"Tea", TeaEncodeBlock, TeaDecodeBlock, TeaEncodeBlocks, TeaDecodeBlocks};
const Pair XTEA{"XTea", XTeaEncodeBlock, XTeaDecodeBlock, XTeaEncodeBlocks, XTeaDecodeBlocks};

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
        const CipherBlock coded = vector.cipher.encodeOne(vector.plain, vector.key);
        EXPECT_EQ(coded.y, vector.coded.y) << vector.cipher.name << std::hex << ' ' << vector.plain.y;
        EXPECT_EQ(coded.z, vector.coded.z);
        const CipherBlock plain = vector.cipher.decodeOne(vector.coded, vector.key);
        EXPECT_EQ(plain.y, vector.plain.y);
        EXPECT_EQ(plain.z, vector.plain.z);
    }
}

TEST(CipherBlocks, ManyEqualSingleOnesAtEveryCountAndAlignment) {
    std::mt19937 random(20'250'101);
    for (const Pair& pair : {TEA, XTEA}) {
        for (unsigned long count = 0; count <= 35; ++count) {
            for (const unsigned offset : {0u, 1u, 4u, 15u}) {
                SCOPED_TRACE(testing::Message() << pair.name << ' ' << count << " blocks at " << offset);
                std::uint32_t key[4];
                std::generate(key, key + 4, random);
                std::vector<char> original(offset + count * 8 + 3);
                std::generate(original.begin(), original.end(), [&random] { return static_cast<char>(random()); });
                for (const bool encode : {true, false}) {
                    std::vector<char> expected = original;
                    for (unsigned long i = 0; i < count; ++i) {
                        CipherBlock block;
                        std::memcpy(&block, &expected[offset + 8 * i], 8);
                        block = (encode ? pair.encodeOne : pair.decodeOne)(block, key);
                        std::memcpy(&expected[offset + 8 * i], &block, 8);
                    }
                    std::vector<char> actual = original;
                    (encode ? pair.encodeMany : pair.decodeMany)(actual.data() + offset, count, key);
                    ASSERT_EQ(actual, expected);
                }
            }
        }
    }
}
