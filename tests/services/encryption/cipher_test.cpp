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

std::string Encode(Cipher& cipher) {
    char out[16];
    return {out, cipher.Encode("some text", out, 9)};
}

template <class CipherClass>
void ExpectToKeepItsKey() {
    const std::size_t blocks = ZelkTest::OutstandingMemory().blocks;
    CipherClass cipher;
    ASSERT_TRUE(cipher.SetKey("0123456789abcdef"));
    const std::string coded = Encode(cipher);
    for (const char* key : {"", "0123456789abcde", "0123456789abcdefg", static_cast<const char*>(nullptr)}) {
        EXPECT_FALSE(cipher.SetKey(key));
        EXPECT_EQ(Encode(cipher), coded);
    }
    EXPECT_EQ(cipher.Encode(nullptr, nullptr, 0) + cipher.Decode(nullptr, nullptr, 0), 0u);
    CipherClass assigned;
    assigned = cipher;
    assigned = *&assigned;
    EXPECT_EQ(Encode(assigned), coded);
    // Made and destroyed through the base, in the host's memory.
    const std::unique_ptr<Cipher> made(new CipherClass(cipher));
    EXPECT_EQ(ZelkTest::OutstandingMemory().blocks, blocks + 2) << "they share the name";
    EXPECT_EQ(made->GetCipherType(), 0u);
    ASSERT_TRUE(assigned.SetKey("fedcba9876543210"));
    EXPECT_NE(Encode(assigned), coded);
    EXPECT_EQ(Encode(*made), coded);
}

TEST(Cipher, KeepsItsKeyAndGivesItToCopies) {
    ExpectToKeepItsKey<Tea>();
    ExpectToKeepItsKey<XTea>();
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
