// The ciphers as their users see them: sizes, padding, keys, copies, memory.
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

TEST(BlockCipher, PadsWithZerosAndKeepsWhatIsNoBlock) {
    ForBoth([](auto cipher) {
        ASSERT_TRUE(cipher.SetKey(KEY));
        for (unsigned size = 0; size <= 200; ++size) {
            SCOPED_TRACE(size);
            const std::string plain = Counted(size);
            std::string padded = plain;
            padded.resize((size + 7) / 8 * 8);
            const std::string coded = Encode(cipher, plain);
            ASSERT_EQ(coded.size(), padded.size());
            ASSERT_EQ(coded, Encode(cipher, padded));
            ASSERT_EQ(Decode(cipher, coded), padded);
            // Blocks stand by themselves.
            ASSERT_EQ(coded.substr(0, size / 8 * 8), Encode(cipher, Counted(200)).substr(0, size / 8 * 8));
            const std::string tail = plain.substr(size / 8 * 8);
            ASSERT_EQ(Decode(cipher, coded.substr(0, size / 8 * 8) + tail), plain);
        }
    });
}

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

TEST(BlockCipher, KeyCharactersFrom80HexSmearTheirSignUpwards) {
    ForBoth([](auto cipher) {
        using CipherClass = decltype(cipher);
        // What stands above such a character in its word no longer counts, other bits than ones cannot get in below it.
        const char* const equal[][2] = {
            {"\x41\x80\x42\x43"
             "456789abcdef",
             "\x41\x80\xFF\x01"
             "456789abcdef"},
            {"0\xFF"
             "23456789abcdef",
             "0\xFF\x7F\x10"
             "456789abcdef"},
            {"0123456789abcd\x90"
             "f",
             "0123456789abcd\x90"
             "1"},
        };
        for (const auto& keys : equal) {
            CipherClass left;
            CipherClass right;
            ASSERT_TRUE(left.SetKey(keys[0]));
            ASSERT_TRUE(right.SetKey(keys[1]));
            EXPECT_EQ(Encode(left, "some text"), Encode(right, "some text"));
            ASSERT_TRUE(right.SetKey(KEY));
            EXPECT_NE(Encode(left, "some text"), Encode(right, "some text"));
        }
    });
}

TEST(BlockCipher, CopiesTakeTheKeyAndShareTheName) {
    ForBoth([](auto cipher) {
        using CipherClass = decltype(cipher);
        const ZelkTest::Balance before = ZelkTest::OutstandingMemory();
        {
            CipherClass& original = cipher;
            ASSERT_TRUE(original.SetKey(KEY));
            const ZelkTest::Balance one = ZelkTest::OutstandingMemory();
            CipherClass copy(original);
            CipherClass& itself = copy;
            copy = itself;
            EXPECT_EQ(ZelkTest::OutstandingMemory().blocks, one.blocks);
            EXPECT_EQ(Encode(copy, "some text"), Encode(original, "some text"));
            CipherClass assigned;
            assigned = original;
            EXPECT_EQ(ZelkTest::OutstandingMemory().blocks, one.blocks);
            EXPECT_EQ(Encode(assigned, "some text"), Encode(original, "some text"));
            ASSERT_TRUE(assigned.SetKey("fedcba9876543210"));
            EXPECT_NE(Encode(assigned, "some text"), Encode(original, "some text"));
            // Made and destroyed through the base, in the host's memory.
            const std::unique_ptr<Cipher> made(new CipherClass(original));
            EXPECT_EQ(ZelkTest::OutstandingMemory().blocks, one.blocks + 1);
            EXPECT_EQ(made->GetCipherType(), 0u);
            EXPECT_EQ(Encode(*made, "some text"), Encode(original, "some text"));
        }
        EXPECT_EQ(ZelkTest::OutstandingMemory().blocks, before.blocks);
    });
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
