// Faults hunted: a refused key that takes the place of the one in use; copies that lose the key or leak the name.
// Padding, keys of any characters, buffers that overlap and round trips of any size are what fuzz/cipher_fuzz.cpp
// holds.
#include <tests/support/testhost.h>

#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <zelk_core/services/encryption/cipher.h>

using namespace Z4;

namespace {

/// The framework wants run-time type information of what it is given; the library has none.
template <class CipherClass>
struct Of {
    using Class = CipherClass;
};

template <class OfClass>
class BlockCipher : public testing::Test {
protected:
    using CipherClass = typename OfClass::Class;

    BlockCipher() { EXPECT_TRUE(m_cipher.SetKey("0123456789abcdef")); }

    static std::string Encode(Cipher& cipher) {
        char out[16];
        return {out, cipher.Encode("some text", out, 9)};
    }

    CipherClass m_cipher;
};

using Ciphers = testing::Types<Of<Tea>, Of<XTea>>;
TYPED_TEST_SUITE(BlockCipher, Ciphers);

TYPED_TEST(BlockCipher, RefusedKeysChangeNothing) {
    const std::string coded = this->Encode(this->m_cipher);
    for (const char* key : {"", "0123456789abcde", "0123456789abcdefg", static_cast<const char*>(nullptr)}) {
        EXPECT_FALSE(this->m_cipher.SetKey(key));
        EXPECT_EQ(this->Encode(this->m_cipher), coded);
    }
    EXPECT_EQ(this->m_cipher.Encode(nullptr, nullptr, 0) + this->m_cipher.Decode(nullptr, nullptr, 0), 0u);
}

TYPED_TEST(BlockCipher, CopiesTakeTheKeyAndShareTheName) {
    const std::size_t blocks = ZelkTest::OutstandingMemory().blocks;
    const std::string coded = this->Encode(this->m_cipher);
    typename TypeParam::Class assigned;
    assigned = this->m_cipher;
    auto& itself = assigned;
    assigned = itself;
    EXPECT_EQ(this->Encode(assigned), coded);
    EXPECT_EQ(ZelkTest::OutstandingMemory().blocks, blocks);
    // Made and destroyed through the base, in the host's memory.
    const std::unique_ptr<Cipher> made(new typename TypeParam::Class(this->m_cipher));
    EXPECT_EQ(ZelkTest::OutstandingMemory().blocks, blocks + 1);
    EXPECT_EQ(made->GetCipherType(), 0u);
    ASSERT_TRUE(assigned.SetKey("fedcba9876543210"));
    EXPECT_NE(this->Encode(assigned), coded);
    EXPECT_EQ(this->Encode(*made), coded);
}

TEST(Cipher, TheBaseCopies) {
    Cipher cipher;
    EXPECT_EQ(cipher.GetCipherType(), 1u);
    EXPECT_TRUE(cipher.SetKey(nullptr));
    char text[8] = {};
    EXPECT_EQ(cipher.Encode("seven77", text, 7), 7u);
    EXPECT_STREQ(text, "seven77");
    EXPECT_EQ(cipher.Decode("another", text, 7), 7u);
    EXPECT_STREQ(text, "another");
    EXPECT_EQ(cipher.Encode(nullptr, nullptr, 0), 0u);
}

} // namespace
