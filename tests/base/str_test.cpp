#include <algorithm>
#include <charconv>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <string_view>
#include <tests/support/guardedpage.h>
#include <tests/support/random.h>
#include <vector>
#include <zelk_core/base/path.h>
#include <zelk_core/base/str.h>

namespace {

using Z4::Path;
using Z4::Str;
using Z4::StrView;
using Z4::WStrView;

std::string Text(StrView view) {
    return {view.Data(), view.Size()};
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
        character = static_cast<typename Text::value_type>("abAB\xE1["[input.Below(6)]);
    }
    return text;
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
    EXPECT_EQ(Str::Length(static_cast<const TypeParam*>(nullptr)), 0u);
}

TYPED_TEST(StrOf, SearchesAndComparisonsAgreeWithTheStandardLibrary) {
    using View = Z4::BasicStrView<TypeParam>;
    using Model = Model<TypeParam>;
    const auto viewOf = [](const Model& text) {
        return View(reinterpret_cast<const TypeParam*>(text.data()), text.size());
    };
    const ZelkTest::GuardedPage page;
    ZelkTest::Input input(7);
    for (int round = 0; round < 20000; ++round) {
        const auto content = FewLetters<Model>(input, input.Below(70));
        auto* const place = reinterpret_cast<TypeParam*>(page.End()) - content.size();
        std::copy(content.begin(), content.end(), place);
        const View text(place, content.size());
        const std::size_t at = input.Below(static_cast<std::uint32_t>(content.size() + 1));
        auto wanted = input.OnceIn(3) ? FewLetters<Model>(input, input.Below(4)) : content.substr(at, input.Below(20));
        const View what = viewOf(wanted);
        const std::size_t from = input.OnceIn(2) ? 0 : input.Below(75);
        ASSERT_EQ(Str::Find(text, what, from), content.find(wanted, from));
        ASSERT_EQ(Str::FindLast(text, what, from), content.rfind(wanted, from));
        ASSERT_EQ(Str::FindAny(text, what, from), content.find_first_of(wanted, from));
        ASSERT_EQ(Str::StartsWith(text, what), content.starts_with(wanted));
        ASSERT_EQ(Str::EndsWith(text, what), content.ends_with(wanted));
        const int order = content.compare(wanted);
        ASSERT_EQ(Str::Compare(text, what), order < 0 ? -1 : order > 0 ? 1 : 0);

        auto other = input.OnceIn(2) ? content : wanted;
        for (auto& character : other) {
            const bool isLetter = (character | 0x20) >= 'a' && (character | 0x20) <= 'z' && character < 0x80;
            character =
                static_cast<typename Model::value_type>(isLetter && input.OnceIn(2) ? character ^ 0x20 : character);
        }
        const auto lower = [](Model mixed) {
            for (auto& character : mixed) {
                character = static_cast<typename Model::value_type>(
                    character >= 'A' && character <= 'Z' ? character + 32 : character);
            }
            return mixed;
        };
        const View otherText = viewOf(other);
        const int noCase = lower(content).compare(lower(other));
        ASSERT_EQ(Str::EqualsNoCase(text, otherText), noCase == 0);
        ASSERT_EQ(Str::CompareNoCase(text, otherText), noCase < 0 ? -1 : noCase > 0 ? 1 : 0);
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
    for (std::size_t size = 0; size < 40; ++size) {
        for (int value = 0; value < 256; ++value) {
            std::string text(size, static_cast<char>(value));
            Str::ToUpper(text.data(), size);
            ASSERT_EQ(text, std::string(size, static_cast<char>(value >= 'a' && value <= 'z' ? value - 32 : value)));
            text.assign(size, static_cast<char>(value));
            Str::ToLower(text.data(), size);
            ASSERT_EQ(text, std::string(size, static_cast<char>(value >= 'A' && value <= 'Z' ? value + 32 : value)));
        }
    }
}

TEST(Str, PartsAndEnds) {
    const auto split = [](StrView rest) {
        std::vector<std::string> parts;
        for (StrView part; Str::Split(rest, ',', part);) {
            parts.push_back(Text(part));
        }
        return parts;
    };
    EXPECT_THAT(split("a,,b,"), testing::ElementsAre("a", "", "b", ""));
    EXPECT_THAT(split(""), testing::ElementsAre(""));
    EXPECT_THAT(split(StrView()), testing::IsEmpty());
    EXPECT_EQ(Text(Str::Trim(" \t\r\n\v\fa b\xA0 ")), "a b\xA0");
    EXPECT_EQ(Text(Str::TrimLeft("--a-", "-")), "a-");
    EXPECT_EQ(Text(Str::TrimRight("--a-", "-")), "--a");
    EXPECT_EQ(Text(Str::Trim("   ")), "");
    EXPECT_EQ(Str::FindNoCase("xxHello", "hELL"), 2u);
    EXPECT_EQ(Str::FindNoCase("xxHello", "hELLow"), Str::NPOS);
    EXPECT_EQ(Str::FindNoCase("ab", "", 2), 2u);
    EXPECT_EQ(Str::FindNoCase("ab", "", 3), Str::NPOS);
}

TEST(Str, Wildcards) {
    const struct {
        const char* text;
        const char* pattern;
        bool matches;
    } rows[] = {{"", "", true},
                {"", "*", true},
                {"", "?", false},
                {"a", "", false},
                {"abc", "a*c", true},
                {"abc", "a*b", false},
                {"aXbXc", "a*X?", true},
                {"abab", "*ab", true},
                {"\xE2\x82\xAC", "?", true},
                {"\xE2\x82\xAC", "*??", false},
                {"\xE2\x82", "??", true},
                {"\xE2\x82\xAC", "*\xAC", false},
                {"aaab", "*a?b", true},
                {"mississippi", "m*iss*pi", true},
                {"mississippi", "m*iss*ppp*", false},
                {"a*c", "a*c", true},
                {"ab", "**?**", true}};
    for (const auto& row : rows) {
        EXPECT_EQ(Str::Matches(row.text, row.pattern), row.matches) << row.text << ' ' << row.pattern;
    }
    EXPECT_TRUE(Str::MatchesNoCase("Name.TXT", "*.txt"));
    EXPECT_FALSE(Str::Matches("Name.TXT", "*.txt"));
    const std::string long1(20000, 'a');
    EXPECT_FALSE(Str::Matches({long1.data(), long1.size()}, "*a*a*a*a*a*b")) << "no product of stars";
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
    T value = 42;
    const auto [end, problem] =
        std::from_chars(text.data(), text.data() + text.size(), expected, static_cast<int>(radix));
    StrView rest = text.c_str();
    const Z4::Error error = Str::ParseInt(rest, value, radix);
    if (problem == std::errc::result_out_of_range) {
        expected = text[0] == '-' ? std::numeric_limits<T>::min() : std::numeric_limits<T>::max();
        ASSERT_EQ(error, Z4::ERR_OVERFLOW) << text << ' ' << radix;
    } else {
        ASSERT_EQ(error, problem == std::errc() ? Z4::ERR_OK : Z4::ERR_INVALID) << text << ' ' << radix;
    }
    ASSERT_EQ(value, expected) << text << ' ' << radix;
    ASSERT_EQ(rest.begin(), end) << text;
    value = 42;
    ASSERT_EQ(Str::ToInt(text.c_str(), value, radix), *end == 0 ? error : Z4::ERR_INVALID) << text;
    ASSERT_EQ(value, *end == 0 ? expected : 42);
    char written[70];
    const auto result = std::to_chars(written, written + sizeof(written), expected, static_cast<int>(radix));
    char ours[70];
    ASSERT_EQ(Str::FromInt(ours, sizeof(ours), expected, radix), static_cast<std::size_t>(result.ptr - written));
    ASSERT_EQ(std::string(ours), std::string(written, result.ptr));
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
    EXPECT_EQ(Str::ToInt("1", number, 1), Z4::ERR_INVALID);
    EXPECT_EQ(Str::ToInt("1", number, 37), Z4::ERR_INVALID);
    EXPECT_EQ(Str::ToInt("-1", natural), Z4::ERR_INVALID);
    EXPECT_EQ(Str::ToInt("-99999999999", natural), Z4::ERR_INVALID);
    EXPECT_EQ(natural, 1u);
    EXPECT_EQ(Str::ToInt("-00", natural), Z4::ERR_OK);
    EXPECT_EQ(Str::ToInt("+17", natural), Z4::ERR_OK);
    EXPECT_EQ(natural, 17u);
    char room[4];
    EXPECT_EQ(Str::FromInt(room, sizeof(room), INT64_MIN, 2), 65u);
    EXPECT_STREQ(room, "-10");
    EXPECT_EQ(Str::FromInt(room, sizeof(room), 12, 99), 2u);
}

// The library beneath is tested by its makers; here stand the grammar, the ends of the range, and both sizes.
TEST(Str, DecimalNumbers) {
    const double infinity = std::numeric_limits<double>::infinity();
    const struct {
        const char* text;
        Z4::Error error;
        double value;
    } rows[] = {{"1", Z4::ERR_OK, 1},
                {"+1.5e3", Z4::ERR_OK, 1500},
                {"-.5", Z4::ERR_OK, -0.5},
                {"5.", Z4::ERR_OK, 5},
                {"-INF", Z4::ERR_OK, -infinity},
                {"Infinity", Z4::ERR_OK, infinity},
                {"1e309", Z4::ERR_OVERFLOW, infinity},
                {"-1e999999999999", Z4::ERR_OVERFLOW, -infinity},
                {"1.7976931348623158079e308", Z4::ERR_OK, 1.7976931348623157e308},
                {"1.7976931348623159e308", Z4::ERR_OVERFLOW, infinity},
                {"4.9e-324", Z4::ERR_OK, 4.9406564584124654e-324},
                {"1e-400", Z4::ERR_OK, 0},
                {"9007199254740993", Z4::ERR_OK, 9007199254740992.0},
                {"9007199254740993.00000000000000000000000000000000000001", Z4::ERR_OK, 9007199254740994.0}};
    for (const auto& row : rows) {
        double value = 7;
        EXPECT_EQ(Str::ToDouble(row.text, value), row.error) << row.text;
        EXPECT_EQ(value, row.value) << row.text;
    }
    double value = 7;
    for (const char* const text :
         {"", "+", "-", "+-1", "1 ", " 1", "1e", "1e+", "0x1", ".", "1,5", "infi", "e5", "--1"}) {
        EXPECT_EQ(Str::ToDouble(text, value), Z4::ERR_INVALID) << text;
        EXPECT_EQ(value, 7) << text;
    }
    EXPECT_EQ(Str::ToDouble("nan", value), Z4::ERR_OK);
    EXPECT_NE(value, value);
    float single = 0;
    // Rounded twice, by way of double, it would be the neighbour.
    EXPECT_EQ(Str::ToFloat("1.00000017881393432617187499", single), Z4::ERR_OK);
    EXPECT_EQ(single, 0x1.000002p0F);
    EXPECT_EQ(Str::ToFloat("3.5e38", single), Z4::ERR_OVERFLOW);
}

TEST(Path, Parts) {
    const struct {
        const char* path;
        const char* folder;
        const char* name;
        const char* extension;
    } rows[] = {{"", "", "", ""},
                {"a.txt", "", "a.txt", ".txt"},
                {"b/a.tar.gz", "b", "a.tar.gz", ".gz"},
                {"C:\\b/a", "C:\\b", "a", ""},
                {"C:\\a", "C:\\", "a", ""},
                {"C:a.b", "C:", "a.b", ".b"},
                {"/a", "/", "a", ""},
                {"b/", "b", "", ""},
                {"b/.git", "b", ".git", ""},
                {"b.c/..", "b.c", "..", ""},
                {"a.", "", "a.", "."}};
    for (const auto& row : rows) {
        EXPECT_EQ(Text(Path::Folder(row.path)), row.folder) << row.path;
        EXPECT_EQ(Text(Path::FileName(row.path)), row.name) << row.path;
        EXPECT_EQ(Text(Path::Extension(row.path)), row.extension) << row.path;
    }
    const struct {
        const char* folder;
        const char* name;
        const char* whole;
    } joined[] = {{"a", "b", "a/b"}, {"a/", "b", "a/b"}, {"C:\\a", "b", "C:\\a\\b"}, {"", "b", "b"},
                  {"a", "", "a"},    {"C:", "b", "C:b"}, {"a\\b/c", "d", "a\\b/c/d"}};
    for (const auto& row : joined) {
        char whole[20];
        EXPECT_EQ(Path::Join(whole, sizeof(whole), row.folder, row.name), std::string(row.whole).size());
        EXPECT_STREQ(whole, row.whole);
        char cut[3] = {9, 9, 9};
        Path::Join(cut, 2, row.folder, row.name);
        EXPECT_EQ(std::string(cut), std::string(row.whole).substr(0, 1));
        EXPECT_EQ(cut[2], 9);
    }
    EXPECT_EQ(Path::Join(nullptr, 0, "a", "b"), 3u);
}

TEST(Path, NamesThatStayBelowTheirFolder) {
    for (const char* const path : {"a", "a/b.c", "a\\b", ".a", "a b", "COMX", "COM10", "CONSOLE", "nul1", "\xC3\xA4"}) {
        EXPECT_TRUE(Path::IsSafeRelative(path)) << path;
    }
    for (const char* const path : {"",
                                   "/a",
                                   "a/",
                                   "a//b",
                                   "..",
                                   "a/../b",
                                   "a\\..",
                                   ".",
                                   "C:a",
                                   "C:\\a",
                                   "\\\\server\\a",
                                   "a:stream",
                                   "a.",
                                   "a ",
                                   "a?",
                                   "a*",
                                   "a|b",
                                   "a<",
                                   "a\"",
                                   "a\x01",
                                   "nul",
                                   "a/CON.txt",
                                   "Com1",
                                   "lpt9.x",
                                   "CON .txt",
                                   "COM\xC2\xB9",
                                   "aux.",
                                   "CONIN$",
                                   "\xC3",
                                   "a/\xED\xA0\x80"}) {
        EXPECT_FALSE(Path::IsSafeRelative(path)) << path;
    }
    EXPECT_FALSE(Path::IsSafeRelative({"a\0b", 3}));
}

} // namespace
