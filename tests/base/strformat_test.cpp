// Conversions, widths, roundings and cuts that come out differently than documented, narrow or wide; and what is read
// or stored beyond a buffer. All other formats and numbers are the fuzzer's.
#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <string>
#include <tests/support/arguments.h>
#include <tests/support/rows.h>
#include <utility>
#include <vector>
#include <zelk_core/base/strformat.h>

using Z4::StrFormat;
using ZelkTest::Arguments;
using ZelkTest::Row;
using ZelkTest::Widen;

namespace {

/// What a buffer of `size` characters gets, and the length that is returned. Nothing may be stored behind the
/// terminator.
template <class Char>
std::pair<int, std::string> Print(unsigned size, const Char* format, const Arguments& arguments) {
    constexpr Char UNTOUCHED = 0x7F;
    std::vector<Char> buffer(size + 8, UNTOUCHED);
    const auto words = arguments.Words(0, arguments.Size());
    const int length = StrFormat::vsnprintf(buffer.data(), size, format, reinterpret_cast<va_list>(words.get()));
    auto end = buffer.begin();
    if (size != 0) {
        end += std::min(static_cast<int>(size) - 1, length);
        EXPECT_EQ(std::exchange(*end, UNTOUCHED), Char{}) << "terminator of " << size;
    }
    EXPECT_EQ(std::count(end, buffer.end(), UNTOUCHED), buffer.end() - end) << "behind the terminator of " << size;
    return {length, std::string(buffer.begin(), end)};
}

template <class... Values>
Arguments Of(Values... values) {
    Arguments arguments;
    (arguments.Add(values), ...);
    return arguments;
}

template <class Char>
void ExpectPrinted(const std::string& expected, const Char* format, const Arguments& arguments) {
    const auto length = static_cast<unsigned>(expected.size());
    for (const unsigned size : {0U, 1U, length / 2 + 1, length, length + 1, length + 2}) {
        EXPECT_EQ(Print(size, format, arguments),
                  std::pair(static_cast<int>(length), expected.substr(0, size == 0 ? 0 : size - 1)))
            << sizeof(Char) << "-byte characters, size " << size;
    }
}

/// The output must be `expected`, narrow and wide, and its beginning in a buffer that is too small.
void Expect(const std::string& expected, const std::string& format, const Arguments& narrow, const Arguments& wide) {
    SCOPED_TRACE(format);
    ExpectPrinted(expected, format.c_str(), narrow);
    ExpectPrinted(expected, Widen(format + '\0').data(), wide);
}
void Expect(const std::string& expected, const std::string& format, const Arguments& arguments) {
    Expect(expected, format, arguments, arguments);
}

TEST(StrFormat, Rows) {
    for (const Row& row : ZelkTest::Rows("strformat.txt")) {
        SCOPED_TRACE(row.Where());
        Arguments narrow;
        Arguments wide;
        for (std::size_t field = 2; field < row.Size(); ++field) {
            const std::string argument = row.Text(field);
            const std::string type = argument.substr(0, argument.find(' '));
            const std::string value = argument.substr(std::min(type.size() + 1, argument.size()));
            const auto add = [&](auto number) {
                narrow.Add(number);
                wide.Add(number);
            };
            if (type == "double") {
                add(std::strtod(value.c_str(), nullptr));
            } else if (type == "text") {
                narrow.AddNarrow(value + '\0');
                wide.AddWide(value + '\0');
            } else if (type == "long") {
                add(std::strtoull(value.c_str(), nullptr, 0));
            } else {
                EXPECT_TRUE(type == "int" || type == "pointer" || type == "null") << type;
                add(static_cast<std::uint32_t>(std::strtoll(value.c_str(), nullptr, 0)));
            }
        }
        Expect(row.Text(1), row.Text(0), narrow, wide);
    }
}

TEST(StrFormat, TextsEndWhereTheyAreSaidTo) {
    Expect(std::string("a\0b", 3), "a%cb", Of(0));
    Arguments narrow;
    narrow.AddNarrow("nnn"); // without a terminator
    Arguments wide;
    wide.AddWide("nnn");
    Expect("nnn", "%.3s", narrow, wide);
    ExpectPrinted("", static_cast<const char*>(nullptr), {});
    ExpectPrinted("", static_cast<const wchar_t*>(nullptr), {});
    EXPECT_EQ(StrFormat::snprintf(static_cast<char*>(nullptr), 9, "%d", 12), 2);
    EXPECT_EQ(StrFormat::snprintf(static_cast<wchar_t*>(nullptr), 9, L"%5f", 1.0), 8);
}

TEST(StrFormat, HugeWidths) {
    const struct {
        const char* format;
        int length;
        const char* stored;
    } rows[] = {
        {"%2147483647d", INT_MAX, "       "},
        {"%02147483640d", INT_MAX - 7, "0000000"},
        {"%2147483648d", INT_MAX, "       "},
        {"%-99999999999999999999d", INT_MAX, "7      "},
        {"%-2000000000d%2000000000d", INT_MAX, "7      "},
        {"%+0300.40d", 300, "+000000"},
        {"%-1000000.3ux", 1000001, "007    "},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(Print(8, row.format, Of(7, 8)), std::pair(row.length, std::string(row.stored))) << row.format;
        EXPECT_EQ(Print(0, row.format, Of(7, 8)), std::pair(row.length, std::string())) << row.format;
    }
    EXPECT_EQ(Print(4, L"%*d", Of(INT_MIN, 12)), std::pair(INT_MAX, std::string("12 ")));
}

TEST(StrFormat, NumbersHaveAtMost256Characters) {
    const std::string zeros(300, '0');
    Expect(zeros.substr(0, 255) + "7", "%.300d", Of(7));
    Expect("-" + zeros.substr(0, 254) + "7", "%.*d", Of(INT_MAX, -7));
    Expect("0x" + zeros.substr(0, 253) + "f", "%#.99999999999x", Of(15));
    Expect(zeros.substr(0, 255) + "7", "%#.256o", Of(7));
    Expect(zeros.substr(0, 299) + "7", "%0300d", Of(7));
    Expect("-1." + zeros.substr(0, 253), "%.253f", Of(-1.0));
    Expect("|||   |", "%.255f|%.254f|%.*g|%03.300f|", Of(1.0, -1.0, INT_MAX, 1.0, 1.0));
}

TEST(StrFormat, WideTextAtOddAddresses) {
    const auto oddly = [](const std::string& text, std::vector<char>& bytes) {
        const std::vector<wchar_t> wide = Widen(text + '\0');
        bytes.resize(1 + wide.size() * sizeof(wchar_t));
        std::memcpy(bytes.data() + 1, wide.data(), bytes.size() - 1);
        return reinterpret_cast<wchar_t*>(bytes.data() + 1);
    };
    std::vector<char> memory[3];
    const wchar_t* const format = oddly("%s|%5.3s|%d of it, literally%c", memory[0]);
    const wchar_t* const text = oddly("a string of some length", memory[1]);
    const std::string expected = "a string of some length|  a s|12 of it,";
    const wchar_t* const buffer = oddly(std::string(expected.size(), '?'), memory[2]);
    EXPECT_EQ(StrFormat::snprintf(const_cast<wchar_t*>(buffer), static_cast<unsigned>(expected.size() + 1), format,
                                  text, text, 12, 'c'),
              50);
    std::vector<char> stored;
    oddly(expected, stored);
    EXPECT_EQ(memory[2], stored);
}

TEST(FormatSize, Rows) {
    for (const Row& row : ZelkTest::Rows("formatsize.txt")) {
        const std::string unit = row.Text(2);
        char text[64];
        EXPECT_EQ(StrFormat::FormatSize(text, sizeof(text), row.Number(0), unit == "null" ? nullptr : unit.c_str(),
                                        static_cast<int>(row.Number(1))),
                  text);
        EXPECT_EQ(text, row.Text(3)) << row.Where();
    }
}

TEST(FormatSize, IsCutToTheBuffer) {
    const std::string complete = "1023.123046875 KiB";
    for (unsigned size = 0; size <= complete.size() + 1; ++size) {
        std::string buffer(24, '?');
        EXPECT_EQ(StrFormat::FormatSize(buffer.data(), size, 1047678, "B", 9), buffer.data());
        std::string expected = size == 0 ? "" : complete.substr(0, size - 1) + '\0';
        expected.resize(buffer.size(), '?');
        EXPECT_EQ(buffer, expected) << size;
    }
    EXPECT_EQ(StrFormat::FormatSize(nullptr, 0, 1, nullptr, 0), nullptr);
}

} // namespace
