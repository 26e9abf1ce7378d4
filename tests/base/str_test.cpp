// Hunted here: reads beside a text's ends, places that a search misses between two blocks, numbers that wrap, paths
// that leave their folder.
#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <gtest/gtest.h>
#include <string>
#include <tests/support/guardedpage.h>
#include <tests/support/random.h>
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

/// What the standard library knows in every build, whatever the size of its own wide characters.
template <class Char>
using Model = std::conditional_t<sizeof(Char) == 1, std::string, std::u16string>;

template <class Text>
Text FewLetters(ZelkTest::Input& input, std::size_t size) {
    Text text(size, 'a');
    for (auto& character : text) {
        character = static_cast<typename Text::value_type>("azAZ@[\xE1"[input.Below(7)]);
    }
    return text;
}

template <class Text>
Text Lower(Text text) {
    for (auto& character : text) {
        const bool isUpper = character >= 'A' && character <= 'Z';
        character = static_cast<typename Text::value_type>(isUpper ? character + 32 : character);
    }
    return text;
}

int Sign(int order) {
    return (order > 0) - (order < 0);
}

template <class Char>
class StrOf : public testing::Test {};
using Characters = testing::Types<char, wchar_t>;
TYPED_TEST_SUITE(StrOf, Characters);

// Every length, at both ends of a page: whatever is read of its neighbours faults.
TYPED_TEST(StrOf, LengthAtPageEnds) {
    const ZelkTest::GuardedPage page;
    std::fill(page.Begin(), page.End(), static_cast<unsigned char>(1));
    for (unsigned length = 0; length < 80; ++length) {
        auto* const text = reinterpret_cast<TypeParam*>(page.End()) - length - 1;
        text[length] = 0;
        ASSERT_EQ(Str::Length(text), length);
        ASSERT_EQ(Str::Length(text, length / 2), length / 2);
        ASSERT_EQ(Str::Length(text, length + 1), length);
        text[length] = 1;
        ASSERT_EQ(Str::Length(text, length + 1), length + 1);
        auto* const first = reinterpret_cast<TypeParam*>(page.Begin()) + length;
        *first = 0;
        ASSERT_EQ(Str::Length(reinterpret_cast<const TypeParam*>(page.Begin())), length);
        *first = 1;
    }
    // At odd addresses.
    std::fill(page.Begin(), page.End(), static_cast<unsigned char>(1));
    unsigned char* const end = page.End() - sizeof(TypeParam) - 1;
    std::fill_n(end, sizeof(TypeParam), static_cast<unsigned char>(0));
    for (unsigned length = 0; length < 80; ++length) {
        const auto* const text = reinterpret_cast<const TypeParam*>(end - length * sizeof(TypeParam));
        ASSERT_EQ(Str::Length(text), length);
        ASSERT_EQ(Str::Length(text, length / 2), length / 2);
    }
    EXPECT_EQ(Str::Length(static_cast<const TypeParam*>(nullptr)), 0u);
}

TYPED_TEST(StrOf, SearchesAndComparisonsAgreeWithTheStandardLibrary) {
    using View = Z4::BasicStrView<TypeParam>;
    using Model = Model<TypeParam>;
    const ZelkTest::GuardedPage page;
    ZelkTest::Input input(7);
    for (int round = 0; round < 20000; ++round) {
        const auto content = FewLetters<Model>(input, input.Below(70));
        auto* const place = reinterpret_cast<TypeParam*>(page.End()) - content.size();
        std::copy(content.begin(), content.end(), place);
        const View text(place, content.size());
        const std::size_t at = input.OnceIn(4) ? 0 : input.Below(static_cast<std::uint32_t>(content.size() + 1));
        auto wanted = input.OnceIn(3) ? FewLetters<Model>(input, input.Below(4)) : content.substr(at, input.Below(80));
        const View what(reinterpret_cast<const TypeParam*>(wanted.data()), wanted.size());
        const std::size_t from = input.OnceIn(2) ? 0 : input.Below(75);
        ASSERT_EQ(Str::Find(text, what, from), content.find(wanted, from));
        ASSERT_EQ(Str::FindLast(text, what, from), content.rfind(wanted, from));
        ASSERT_EQ(Str::FindAny(text, what, from), content.find_first_of(wanted, from));
        ASSERT_EQ(Str::StartsWith(text, what), content.starts_with(wanted));
        ASSERT_EQ(Str::EndsWith(text, what), content.ends_with(wanted));
        ASSERT_EQ(Sign(Str::Compare(text, what)), Sign(content.compare(wanted)));

        for (auto& character : wanted) {
            const bool isLetter = (character | 0x20) == 'a' || (character | 0x20) == 'z';
            const bool isChanged = input.OnceIn(isLetter ? 2 : 100);
            character = static_cast<typename Model::value_type>(isChanged ? character ^ 0x20 : character);
        }
        const int order = Lower(content).compare(Lower(wanted));
        ASSERT_EQ(Str::EqualsNoCase(text, what), order == 0);
        ASSERT_EQ(Sign(Str::CompareNoCase(text, what)), Sign(order));
        if constexpr (sizeof(TypeParam) == 1) {
            ASSERT_EQ(Str::FindNoCase(text, what, from), Lower(content).find(Lower(wanted), from));
        }
    }
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

TEST(Str, CasesOfAllCharactersAtAllPlaces) {
    std::string all(300, '\0');
    for (std::size_t i = 0; i < all.size(); ++i) {
        all[i] = static_cast<char>(i);
    }
    for (std::size_t size = 0; size < all.size(); ++size) {
        std::string text = all;
        Str::ToLower(text.data(), size);
        ASSERT_EQ(text, Lower(all.substr(0, size)) + all.substr(size));
        Str::ToUpper(text.data(), size);
        for (std::size_t i = 0; i < size; ++i) {
            ASSERT_EQ(text[i], all[i] >= 'a' && all[i] <= 'z' ? all[i] - 32 : all[i]);
        }
    }
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
    EXPECT_FALSE(Str::Matches(View(std::string(20000, 'a')), "*a*a*a*a*a*b")) << "it comes back";
}

// Whatever from_chars and this disagree about is our sign, our range and our radix rules, which the rows below hold.
template <class T>
void CompareWithFromChars(ZelkTest::Input& input) {
    const unsigned radix = input.OnceIn(2) ? 10 : 2 + input.Below(35);
    std::string text(1 + input.Below(22), '0');
    for (char& digit : text) {
        digit = "0123456789abcdefghijklmnopqrstuvwxyzAZ-"[input.Below(input.OnceIn(20) ? 39 : radix)];
    }
    if (std::is_signed_v<T> && input.OnceIn(2)) {
        text[0] = '-';
    }
    T expected = 42;
    const auto [end, problem] =
        std::from_chars(text.data(), text.data() + text.size(), expected, static_cast<int>(radix));
    Z4::Error error = problem == std::errc() ? Z4::ERR_OK : Z4::ERR_INVALID;
    if (problem == std::errc::result_out_of_range) {
        expected = text[0] == '-' ? std::numeric_limits<T>::min() : std::numeric_limits<T>::max();
        error = Z4::ERR_OVERFLOW;
    }
    T value = 42;
    StrView rest = View(text);
    ASSERT_EQ(Str::ParseInt(rest, value, radix), error) << text << ' ' << radix;
    ASSERT_TRUE(value == expected && rest.begin() == end) << text << ' ' << radix;
    value = 42;
    ASSERT_EQ(Str::ToInt(View(text), value, radix), rest.IsEmpty() ? error : Z4::ERR_INVALID) << text;
    ASSERT_EQ(value, rest.IsEmpty() ? expected : 42);
    char written[70];
    char ours[70];
    *std::to_chars(written, written + sizeof(written), expected, static_cast<int>(radix)).ptr = 0;
    ASSERT_EQ(Str::FromInt(ours, sizeof(ours), expected, radix), StrView(written).Size());
    ASSERT_STREQ(ours, written);
}

TEST(Str, WholeNumbersAgreeWithTheStandardLibrary) {
    ZelkTest::Input input(5);
    for (int round = 0; round < 20000; ++round) {
        CompareWithFromChars<std::int8_t>(input);
        CompareWithFromChars<std::uint16_t>(input);
        CompareWithFromChars<std::int32_t>(input);
        CompareWithFromChars<std::uint32_t>(input);
        CompareWithFromChars<std::int64_t>(input);
        CompareWithFromChars<std::uint64_t>(input);
    }
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
