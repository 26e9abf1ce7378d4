#include <algorithm>
#include <gtest/gtest.h>
#include <string>
#include <tests/support/guardedpage.h>
#include <tests/support/random.h>
#include <zelk_core/base/utf.h>

namespace {

using Z4::StrView;
using Z4::Utf;
using Z4::WStrView;

std::string Encoded(char32_t character) {
    char bytes[4];
    return {bytes, Utf::Encode(bytes, character)};
}

std::u16string Units(char32_t character) {
    if (character < 0x10000) {
        return {static_cast<char16_t>(character)};
    }
    return {static_cast<char16_t>(0xD7C0 + (character >> 10)), static_cast<char16_t>(0xDC00 | (character & 0x3FF))};
}

/// As the library has wide texts; the standard library's own wide characters have another size in some builds.
WStrView WideView(const std::u16string& text) {
    return {reinterpret_cast<const wchar_t*>(text.data()), text.size()};
}
std::u16string Stored(const wchar_t* text) {
    return {text, text + WStrView(text).Size()};
}

TEST(Utf, EveryCharacterBothWays) {
    for (char32_t character = 1; character <= 0x10FFFF; character += character == 0xD7FF ? 0x801 : 1) {
        const std::string narrow = Encoded(character);
        const std::u16string wide = Units(character);
        wchar_t units[3];
        std::size_t length = 0;
        ASSERT_EQ(Utf::ToUtf16(units, 3, {narrow.data(), narrow.size()}, length), Z4::ERR_OK);
        ASSERT_TRUE(Stored(units) == wide && length == wide.size());
        char bytes[5];
        ASSERT_EQ(Utf::ToUtf8(bytes, 5, WideView(wide), length), Z4::ERR_OK);
        ASSERT_TRUE(narrow == bytes && length == narrow.size());
        StrView rest(narrow.data(), narrow.size());
        ASSERT_EQ(Utf::Decode(rest), character);
        ASSERT_TRUE(rest.IsEmpty());
    }
    for (const char32_t none : {0xD800u, 0xDFFFu, 0x110000u, 0xFFFFFFFFu}) {
        EXPECT_EQ(Encoded(none), "\xEF\xBF\xBD");
    }
}

/// A reader of another make: decodes by arithmetic and rejects what its own shortest form does not give back.
std::size_t WellFormedFront(const std::string& text) {
    std::size_t at = 0;
    while (at < text.size()) {
        const auto first = static_cast<unsigned char>(text[at]);
        const std::size_t size = first < 0x80 ? 1 : first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
        std::uint32_t value = size == 1 ? first : first & (0x7Fu >> size);
        for (std::size_t i = 1; i < size && at + i < text.size(); ++i) {
            value = value << 6 | (static_cast<unsigned char>(text[at + i]) & 0x3F);
        }
        if (at + size > text.size() || (value >= 0xD800 && value < 0xE000) || value > 0x10FFFF ||
            Encoded(value) != text.substr(at, size)) {
            break;
        }
        at += size;
    }
    return at;
}

TEST(Utf, EverySequenceOfThreeBytesIsJudged) {
    static constexpr unsigned char EDGES[] = {0x00, 0x41, 0x7F, 0x80, 0x8F, 0x90, 0x9F, 0xA0, 0xBF,
                                              0xC0, 0xC1, 0xC2, 0xDF, 0xE0, 0xE1, 0xEC, 0xED, 0xEE,
                                              0xEF, 0xF0, 0xF1, 0xF3, 0xF4, 0xF5, 0xF8, 0xFF};
    static constexpr unsigned char FOURTH[] = {0x7F, 0x80, 0xBF, 0xC2};
    for (unsigned first = 0; first < 256; ++first) {
        for (const unsigned char second : EDGES) {
            for (const unsigned char third : EDGES) {
                for (const unsigned char fourth : FOURTH) {
                    const std::string text = {static_cast<char>(first), static_cast<char>(second),
                                              static_cast<char>(third), static_cast<char>(fourth)};
                    const std::size_t front = WellFormedFront(text);
                    wchar_t units[5];
                    std::size_t length = 0;
                    std::size_t badAt = 99;
                    const Z4::Error error = Utf::ToUtf16(units, 5, {text.data(), 4}, length, &badAt);
                    ASSERT_EQ(error, front == 4 ? Z4::ERR_OK : Z4::ERR_CORRUPTED_DATA);
                    ASSERT_EQ(badAt, front) << first << ' ' << +second << ' ' << +third << ' ' << +fourth;
                    ASSERT_EQ(Utf::IsValidUtf8({text.data(), 4}), front == 4);
                }
            }
        }
    }
}

// Blocks of ASCII with others at all places among them, in rooms of all sizes, at the ends of pages: always the text of
// one character after the other, as far as it fits.
TEST(Utf, LongTextsInEveryRoom) {
    const ZelkTest::GuardedPage source;
    const ZelkTest::GuardedPage target;
    ZelkTest::Input input(3);
    for (int round = 0; round < 3000; ++round) {
        std::string narrow;
        std::u16string wide;
        const std::uint32_t rarity = 1 + input.Below(40);
        for (unsigned count = input.Below(60); count != 0; --count) {
            static constexpr char32_t OTHERS[] = {0x80, 0xE4, 0x7FF, 0x800, 0x4E2D, 0xFFFD, 0xFFFF, 0x10000, 0x10FFFF};
            const char32_t character = input.OnceIn(rarity) ? OTHERS[input.Below(9)] : 1 + input.Below(127);
            narrow += Encoded(character);
            wide += Units(character);
        }
        const std::size_t size = input.OnceIn(2) ? wide.size() + 1 : input.Below(70);
        char* const from = reinterpret_cast<char*>(source.End()) - narrow.size();
        narrow.copy(from, narrow.size());
        auto* const to = reinterpret_cast<wchar_t*>(target.End()) - size;
        std::size_t length = 0;
        const Z4::Error error = Utf::ToUtf16(to, size, {from, narrow.size()}, length);
        ASSERT_EQ(error, size > wide.size() ? Z4::ERR_OK : Z4::ERR_OVERFLOW);
        ASSERT_EQ(length, wide.size());
        if (size != 0) {
            const std::u16string stored = Stored(to);
            ASSERT_TRUE(wide.starts_with(stored));
            ASSERT_GE(stored.size() + 2, std::min(size, wide.size() + 2));
            ASSERT_TRUE(stored.empty() || (stored.back() & 0xFC00) != 0xD800) << "split";
        }
        const std::size_t narrowSize = input.OnceIn(2) ? narrow.size() + 1 : input.Below(100);
        auto* const wideFrom = reinterpret_cast<wchar_t*>(source.End()) - wide.size();
        std::copy(wide.begin(), wide.end(), wideFrom);
        char* const narrowTo = reinterpret_cast<char*>(target.End()) - narrowSize;
        ASSERT_EQ(Utf::ToUtf8(narrowTo, narrowSize, {wideFrom, wide.size()}, length),
                  narrowSize > narrow.size() ? Z4::ERR_OK : Z4::ERR_OVERFLOW);
        ASSERT_EQ(length, narrow.size());
        if (narrowSize != 0) {
            const std::string stored = narrowTo;
            ASSERT_TRUE(narrow.starts_with(stored) && Utf::IsValidUtf8(stored.c_str()));
            ASSERT_GE(stored.size() + 4, std::min(narrowSize, narrow.size() + 4));
        }
        const std::size_t most = input.Below(80);
        const StrView cut = Utf::Cut({narrow.data(), narrow.size()}, most);
        ASSERT_TRUE(cut.Size() <= most && Utf::IsValidUtf8(cut) && cut.Size() + 3 >= std::min(most, narrow.size()));
    }
}

TEST(Utf, WhatIsIllFormedIsReplacedByParts) {
    const struct {
        StrView narrow;
        std::u16string replaced;
    } rows[] = {{"a\xFF z", u"a\xFFFD z"},
                {"\xE2\x82", u"\xFFFD"},
                {"\xE2\x82z", u"\xFFFDz"},
                {"\xF0\x9F\x92\xE2\x82\xAC", u"\xFFFD\x20AC"},
                {"\xED\xA0\x80", u"\xFFFD\xFFFD\xFFFD"},
                {"\xC0\xAF", u"\xFFFD\xFFFD"},
                {"\xF4\x90\x80\x80", u"\xFFFD\xFFFD\xFFFD\xFFFD"},
                {"0123456789abcdef\x80", u"0123456789abcdef\xFFFD"}};
    for (const auto& row : rows) {
        wchar_t units[20];
        std::size_t length = 0;
        EXPECT_EQ(Utf::ToUtf16Lossy(units, 20, row.narrow, length), Z4::ERR_OK);
        EXPECT_EQ(std::u16string(units, units + length), row.replaced);
        EXPECT_EQ(units[length], 0);
    }
    const wchar_t lone[] = {'a', 0xDC00, 0xD800, 'b', 0xD83D, 0xDE00, 0xD800, 0};
    char bytes[40];
    std::size_t length = 0;
    EXPECT_EQ(Utf::ToUtf8Lossy(bytes, sizeof(bytes), lone, length), Z4::ERR_OK);
    EXPECT_STREQ(bytes, "a\xEF\xBF\xBD\xEF\xBF\xBD"
                        "b\xF0\x9F\x98\x80\xEF\xBF\xBD");
    std::size_t badAt = 0;
    EXPECT_EQ(Utf::ToUtf8(bytes, sizeof(bytes), lone, length, &badAt), Z4::ERR_CORRUPTED_DATA);
    EXPECT_STREQ(bytes, "a");
    EXPECT_EQ(badAt, 1u);
    EXPECT_EQ(Utf::Cut("\x80\x80\x80\x80\x80", 4).Size(), 4u);
}

} // namespace
