// Faults hunted: bytes of data in use that change; buffers that overlap and are overwritten before they are read, or
// touched behind their end; a refused key that takes the place of the one in use; copies that lose the key or leak the
// name. Padding, keys of any characters and round trips of any size are what fuzz/cipher_fuzz.cpp holds.
#include <tests/support/guardedpage.h>
#include <tests/support/testhost.h>

#include <cstring>
#include <gtest/gtest.h>
#include <memory>
#include <numeric>
#include <string>
#include <zelk_core/services/encryption/cipher.h>

using namespace Z4;

namespace {

const char* const KEY = "0123456789abcdef";

std::string Encode(Cipher& cipher, const std::string& plain) {
    std::string out(plain.size() + 7, '#');
    out.resize(cipher.Encode(plain.data(), out.data(), static_cast<unsigned long>(plain.size())));
    return out;
}

std::string Decode(Cipher& cipher, const std::string& coded) {
    std::string out(coded.size(), '#');
    EXPECT_EQ(cipher.Decode(coded.data(), out.data(), static_cast<unsigned long>(coded.size())), coded.size());
    return out;
}

std::string Counted(std::size_t size) {
    std::string bytes(size, '\0');
    std::iota(bytes.begin(), bytes.end(), '\0');
    return bytes;
}

template <class Body>
void ForBoth(Body body) {
    {
        SCOPED_TRACE("Tea");
        body(Tea());
    }
    {
        SCOPED_TRACE("XTea");
        body(XTea());
    }
}

} // namespace

TEST(BlockCipher, BuffersMayTouchOverlapAndEndAtAPage) {
    ForBoth([](auto cipher) {
        ASSERT_TRUE(cipher.SetKey(KEY));
        const std::string plain = Counted(104);
        const std::string coded = Encode(cipher, plain);
        const ZelkTest::GuardedPage page;
        auto* const end = reinterpret_cast<char*>(page.End());
        // Both in place; out before in; out behind in; by less than a block and by more.
        for (const int shift : {0, -3, 3, -64, 64, -104, 104}) {
            SCOPED_TRACE(shift);
            char* const in = end - 104 - (shift > 0 ? shift : 0);
            char* const out = in + shift;
            std::memcpy(in, plain.data(), 104);
            EXPECT_EQ(cipher.Encode(in, out, 104), 104u);
            EXPECT_EQ(std::string(out, 104), coded);
            std::memcpy(in, coded.data(), 104);
            EXPECT_EQ(cipher.Decode(in, out, 104), 104u);
            EXPECT_EQ(std::string(out, 104), plain);
        }
        std::memcpy(end - 5, "abcde", 5);
        EXPECT_EQ(cipher.Decode(end - 5, end - 5, 5), 5u);
        EXPECT_EQ(std::string(end - 5, 5), "abcde");
        EXPECT_EQ(cipher.Encode(nullptr, nullptr, 0), 0u);
        EXPECT_EQ(cipher.Decode(nullptr, nullptr, 0), 0u);
    });
}

TEST(BlockCipher, RefusedKeysChangeNothing) {
    ForBoth([](auto cipher) {
        ASSERT_TRUE(cipher.SetKey(KEY));
        const std::string coded = Encode(cipher, "some text");
        for (const char* key : {"", "0123456789abcde", "0123456789abcdefg", static_cast<const char*>(nullptr)}) {
            EXPECT_FALSE(cipher.SetKey(key));
            EXPECT_EQ(Encode(cipher, "some text"), coded);
        }
    });
}

TEST(BlockCipher, CopiesTakeTheKeyAndShareTheName) {
    const ZelkTest::Balance before = ZelkTest::OutstandingMemory();
    ForBoth([](auto original) {
        using CipherClass = decltype(original);
        ASSERT_TRUE(original.SetKey(KEY));
        const std::string coded = Encode(original, "some text");
        const std::size_t blocks = ZelkTest::OutstandingMemory().blocks;
        CipherClass copy(original);
        CipherClass& itself = copy;
        copy = itself;
        EXPECT_EQ(Encode(copy, "some text"), coded);
        CipherClass assigned;
        assigned = original;
        EXPECT_EQ(Encode(assigned, "some text"), coded);
        EXPECT_EQ(ZelkTest::OutstandingMemory().blocks, blocks);
        ASSERT_TRUE(assigned.SetKey("fedcba9876543210"));
        EXPECT_NE(Encode(assigned, "some text"), coded);
        // Made and destroyed through the base, in the host's memory.
        const std::unique_ptr<Cipher> made(new CipherClass(original));
        EXPECT_EQ(ZelkTest::OutstandingMemory().blocks, blocks + 1);
        EXPECT_EQ(made->GetCipherType(), 0u);
        EXPECT_EQ(Encode(*made, "some text"), coded);
    });
    EXPECT_EQ(ZelkTest::OutstandingMemory().blocks, before.blocks);
}

TEST(Cipher, KnownBytes) {
    // A fresh Tea has a key of zeros; words are little-endian.
    Tea tea;
    EXPECT_EQ(Encode(tea, std::string(8, '\0')), std::string("\x0A\x3A\xEA\x41\x40\xA9\xBA\x94"));
    // "0123456789abcdef" as words, and the smeared word of the characters 41 80 42 43.
    const struct {
        const char* key;
        const char* coded;
    } rows[] = {
        {KEY, "\x67\x15\x88\x51\x8E\x3E\x18\xDF"},
        {"\x41\x80\x42\x43"
         "456789abcdef",
         "\xF5\x74\x50\x4B\x15\xD3\x56\x33"},
    };
    for (const auto& row : rows) {
        ASSERT_TRUE(tea.SetKey(row.key));
        EXPECT_EQ(Encode(tea, "ABCDEFGH"), row.coded);
    }
}

TEST(Cipher, TheBaseCopies) {
    Cipher cipher;
    EXPECT_EQ(cipher.GetCipherType(), 1u);
    EXPECT_TRUE(cipher.SetKey(nullptr));
    EXPECT_EQ(Encode(cipher, "seven77"), "seven77");
    EXPECT_EQ(Decode(cipher, "seven77"), "seven77");
    EXPECT_EQ(cipher.Encode(nullptr, nullptr, 0), 0u);
}
