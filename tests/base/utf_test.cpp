// Hunted here: characters that change on their way, and forms that must not be believed. That texts are cut between
// characters in any room is what fuzz/str_fuzz.cpp holds.
#include <gtest/gtest.h>
#include <string>
#include <tests/support/rows.h>
#include <zelk_core/base/utf.h>

namespace {

using Z4::StrView;
using Z4::Utf;

std::string Encoded(char32_t character) {
    char bytes[4];
    return {bytes, Utf::Encode(bytes, character)};
}

TEST(Utf, EveryCharacterBothWays) {
    for (char32_t character = 1; character <= 0x10FFFF; character += character == 0xD7FF ? 0x801 : 1) {
        const std::string narrow = Encoded(character);
        const wchar_t single[] = {static_cast<wchar_t>(character), 0};
        const wchar_t pair[] = {static_cast<wchar_t>(0xD7C0 + (character >> 10)),
                                static_cast<wchar_t>(0xDC00 | (character & 0x3FF)), 0};
        const Z4::WStrView wide = character < 0x10000 ? single : pair;
        wchar_t units[3];
        std::size_t length = 0;
        ASSERT_EQ(Utf::ToUtf16(units, 3, {narrow.data(), narrow.size()}, length), Z4::ERR_OK);
        ASSERT_TRUE(Z4::WStrView(units) == wide && length == wide.Size());
        char bytes[5];
        ASSERT_EQ(Utf::ToUtf8(bytes, 5, wide, length), Z4::ERR_OK);
        ASSERT_TRUE(narrow == bytes && length == narrow.size());
        StrView rest(narrow.data(), narrow.size());
        ASSERT_EQ(Utf::Decode(rest), character);
        ASSERT_TRUE(rest.IsEmpty());
    }
    for (const char32_t none : {0xD800u, 0xDFFFu, 0x110000u, 0xFFFFFFFFu}) {
        EXPECT_EQ(Encoded(none), "\xEF\xBF\xBD");
    }
}

TEST(Utf, WhatIsIllFormedIsReplacedByParts) {
    wchar_t units[40];
    char bytes[40];
    std::size_t length = 0;
    std::size_t badAt = 0;
    for (const ZelkTest::Row& row : ZelkTest::Rows("utf.txt")) {
        const std::string text = row.Text(0);
        EXPECT_EQ(Utf::ToUtf16(units, 40, {text.data(), text.size()}, length, &badAt), Z4::ERR_CORRUPTED_DATA);
        EXPECT_EQ(badAt, row.Number(1)) << row.Where();
        EXPECT_FALSE(Utf::IsValidUtf8({text.data(), text.size()})) << row.Where();
        EXPECT_EQ(Utf::ToUtf16Lossy(units, 40, {text.data(), text.size()}, length), Z4::ERR_OK);
        EXPECT_EQ(Utf::ToUtf8(bytes, 40, {units, length}, length), Z4::ERR_OK);
        EXPECT_EQ(bytes, row.Text(2)) << row.Where();
    }
    const wchar_t lone[] = {'a', 0xDC00, 0xD800, 'b', 0xD83D, 0xDE00, 0xD800, 0xE000, 0xD800, 0};
    EXPECT_EQ(Utf::ToUtf8Lossy(bytes, sizeof(bytes), lone, length), Z4::ERR_OK);
    EXPECT_STREQ(bytes, "a\xEF\xBF\xBD\xEF\xBF\xBD"
                        "b\xF0\x9F\x98\x80\xEF\xBF\xBD\xEE\x80\x80\xEF\xBF\xBD");
    EXPECT_EQ(Utf::ToUtf8(bytes, sizeof(bytes), lone, length, &badAt), Z4::ERR_CORRUPTED_DATA);
    EXPECT_STREQ(bytes, "a");
    EXPECT_EQ(badAt, 1u);
    EXPECT_EQ(Utf::Cut("\x80\x80\x80\x80\x80", 4).Size(), 4u);
}

} // namespace
