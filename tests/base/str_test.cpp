// Hunted here: reads beside a text's ends, forms of numbers that are none, paths that leave their folder. What
// searches, comparisons and whole numbers give for any text is what fuzz/str_fuzz.cpp holds.
#include <algorithm>
#include <cstdlib>
#include <gtest/gtest.h>
#include <string>
#include <tests/support/guardedpage.h>
#include <tests/support/rows.h>
#include <vector>
#include <zelk_core/base/path.h>
#include <zelk_core/base/str.h>

namespace {

using Z4::Path;
using Z4::Str;
using Z4::StrView;
using ZelkTest::Row;
using ZelkTest::Rows;

std::string Text(StrView view) {
    return {view.Data(), view.Size()};
}
StrView View(const std::string& text) {
    return {text.data(), text.size()};
}

static_assert(StrView("abc") < StrView("abd") && StrView("ab") < StrView("abc") && StrView("\x80") > StrView("z"));
static_assert(StrView(nullptr).IsEmpty() && StrView("abc").Substring(1, 9) == StrView("bc"));

template <class Char>
class StrOf : public testing::Test {};
using Characters = testing::Types<char, wchar_t>;
TYPED_TEST_SUITE(StrOf, Characters);

// Every length, at both ends of a page: whatever is read of its neighbours faults. And at odd addresses.
TYPED_TEST(StrOf, LengthAtPageEnds) {
    const ZelkTest::GuardedPage page;
    for (unsigned length = 0; length < 80; ++length) {
        for (const unsigned shift : {0u, 1u}) {
            std::fill(page.Begin(), page.End(), static_cast<unsigned char>(1));
            unsigned char* const end = page.End() - sizeof(TypeParam) - shift;
            const auto* const text = reinterpret_cast<const TypeParam*>(end - length * sizeof(TypeParam));
            ASSERT_EQ(Str::Length(text, length + 1), length + 1);
            std::fill_n(end, sizeof(TypeParam), static_cast<unsigned char>(0));
            ASSERT_EQ(Str::Length(text), length);
            ASSERT_EQ(Str::Length(text, length / 2), length / 2);
            ASSERT_EQ(Str::Length(text, length + 1), length);
        }
        auto* const first = reinterpret_cast<TypeParam*>(page.Begin());
        first[length] = 0;
        ASSERT_EQ(Str::Length(first), length);
    }
    EXPECT_EQ(Str::Length(static_cast<const TypeParam*>(nullptr)), 0u);
}

TYPED_TEST(StrOf, CopiesAreCutAndTerminated) {
    const TypeParam abc[] = {'a', 'b', 'c', 0};
    TypeParam room[6] = {9, 9, 9, 9, 9, 9};
    EXPECT_EQ(Str::Copy(static_cast<TypeParam*>(nullptr), 0, abc), 3u);
    EXPECT_EQ(Str::Copy(room, 3, abc), 3u);
    EXPECT_EQ(std::vector<TypeParam>(room, room + 4), (std::vector<TypeParam>{'a', 'b', 0, 9}));
    EXPECT_EQ(Str::Append(room, 5, abc), 5u);
    EXPECT_EQ(std::vector<TypeParam>(room, room + 6), (std::vector<TypeParam>{'a', 'b', 'a', 'b', 0, 9}));
    EXPECT_EQ(Str::Copy(room + 1, 5, Z4::BasicStrView<TypeParam>(room, 4)), 4u);
    EXPECT_EQ(std::vector<TypeParam>(room, room + 6), (std::vector<TypeParam>{'a', 'a', 'b', 'a', 'b', 0}));
    EXPECT_EQ(Str::Append(room, 3, abc), 6u) << "no end in the first three";
    EXPECT_EQ(room[3], TypeParam('a'));
}

TEST(Str, PartsAndEnds) {
    const auto split = [](StrView rest) {
        std::string parts;
        for (StrView part; Str::Split(rest, ',', part);) {
            parts += '[' + Text(part) + ']';
        }
        return parts;
    };
    EXPECT_EQ(split("a,,b,"), "[a][][b][]");
    EXPECT_EQ(split(""), "[]");
    EXPECT_EQ(split(StrView()), "");
    EXPECT_EQ(Text(Str::Trim(" \t\r\n\v\fa b\xA0 ")), "a b\xA0");
    EXPECT_EQ(Text(Str::TrimLeft("--a-", "-")), "a-");
    EXPECT_EQ(Text(Str::TrimRight("--a-", "-")), "--a");
    EXPECT_EQ(Text(Str::Trim("   ")), "");
}

TEST(Str, Wildcards) {
    for (const Row& row : Rows("wildcards.txt")) {
        EXPECT_EQ(Str::Matches(View(row.Text(0)), View(row.Text(1))), row.Text(2) == "yes") << row.Where();
    }
    EXPECT_TRUE(Str::MatchesNoCase("Name.TXT", "*.txt"));
    EXPECT_FALSE(Str::Matches("Name.TXT", "*.txt"));
    const ZelkTest::GuardedPage page; // a pattern that ends within a character
    auto* const half = std::copy_n("\xE2\x82", 2, reinterpret_cast<char*>(page.End()) - 2) - 2;
    EXPECT_FALSE(Str::Matches("\xE2\x82\xAC", {half, 2}));
    EXPECT_FALSE(Str::Matches(View(std::string(20000, 'a')), "*a*a*a*a*a*b")) << "it comes back";
}

// All other digits are the fuzzer's.
TEST(Str, WholeNumbersHaveThisForm) {
    int number = 1;
    unsigned natural = 1;
    for (const char* const text : {"", "+", "-", "+-1", " 1", "1 ", "0x1", "1.", "--1"}) {
        EXPECT_EQ(Str::ToInt(text, number), Z4::ERR_INVALID) << text;
    }
    for (const unsigned radix : {0u, 1u, 37u}) {
        EXPECT_EQ(Str::ToInt("1", number, radix), Z4::ERR_INVALID) << radix;
    }
    for (const char* const text : {"-1", "-99999999999", "-4294967296"}) {
        EXPECT_EQ(Str::ToInt(text, natural), Z4::ERR_INVALID) << text;
    }
    EXPECT_EQ(natural, 1u);
    EXPECT_EQ(Str::ToInt("-00", natural), Z4::ERR_OK);
    EXPECT_TRUE(Str::ToInt("+17", natural) == Z4::ERR_OK && natural == 17);
    char room[4];
    EXPECT_EQ(Str::FromInt(room, sizeof(room), INT64_MIN, 2), 65u);
    EXPECT_STREQ(room, "-10");
    EXPECT_EQ(Str::FromInt(room, sizeof(room), 12, 99), 2u);
}

// The library beneath is tested by its makers; the rows have the grammar and the ends of the range.
TEST(Str, DecimalNumbers) {
    for (const Row& row : Rows("decimals.txt")) {
        const std::string result = row.Text(1);
        double value = 7;
        const Z4::Error error = Str::ToDouble(View(row.Text(0)), value);
        EXPECT_EQ(error, result == "ok"          ? Z4::ERR_OK
                         : result == "too large" ? Z4::ERR_OVERFLOW
                                                 : Z4::ERR_INVALID)
            << row.Where();
        EXPECT_EQ(value, result == "none" ? 7 : std::strtod(row.Text(2).c_str(), nullptr)) << row.Where();
    }
    double value = 7;
    EXPECT_EQ(Str::ToDouble("nan", value), Z4::ERR_OK);
    EXPECT_NE(value, value);
    float single = 0;
    // Rounded twice, by way of double, it would be the neighbour.
    EXPECT_EQ(Str::ToFloat("1.00000017881393432617187499", single), Z4::ERR_OK);
    EXPECT_EQ(single, 0x1.000002p0F);
    EXPECT_EQ(Str::ToFloat("3.5e38", single), Z4::ERR_OVERFLOW);
}

TEST(Path, PartsAndWholes) {
    for (const Row& row : Rows("paths.txt")) {
        const std::string path = row.Text(1);
        if (row.Text(0) == "parts") {
            EXPECT_EQ(Text(Path::Folder(View(path))), row.Text(2)) << row.Where();
            EXPECT_EQ(Text(Path::FileName(View(path))), row.Text(3)) << row.Where();
            EXPECT_EQ(Text(Path::Extension(View(path))), row.Text(4)) << row.Where();
        } else if (row.Text(0) == "joined") {
            char whole[20];
            EXPECT_EQ(Path::Join(whole, sizeof(whole), View(row.Text(2)), View(row.Text(3))), path.size());
            EXPECT_EQ(whole, path) << row.Where();
            char cut[3] = {9, 9, 9};
            Path::Join(cut, 2, View(row.Text(2)), View(row.Text(3)));
            EXPECT_TRUE(cut == path.substr(0, 1) && cut[2] == 9) << row.Where();
        } else {
            EXPECT_EQ(Path::IsSafeRelative(View(path)), row.Text(0) == "safe") << row.Where();
        }
    }
    EXPECT_EQ(Path::Join(nullptr, 0, "a", "b"), 3u);
}

} // namespace
