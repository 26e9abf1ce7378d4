// Conversions, widths and roundings that come out differently than documented. That any format comes out alike in wide
// characters, and as its beginning in less room, and what is read or stored beyond a buffer, is what
// fuzz/strformat_fuzz.cpp holds.
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

namespace {

/// The text that comes out in room for `size` characters, and the length that is returned.
std::pair<int, std::string> Print(const std::string& format, const Arguments& arguments, unsigned size = 1000) {
    std::vector<char> buffer(size);
    const auto words = arguments.Words(0, arguments.Size());
    const int length =
        StrFormat::vsnprintf(buffer.data(), size, format.c_str(), reinterpret_cast<va_list>(words.get()));
    return {length, std::string(buffer.data(), std::min(size - 1, static_cast<unsigned>(length)))};
}

template <class... Values>
Arguments Of(Values... values) {
    Arguments arguments;
    (arguments.Add(values), ...);
    return arguments;
}

void Expect(const std::string& expected, const std::string& format, const Arguments& arguments) {
    EXPECT_EQ(Print(format, arguments), std::pair(static_cast<int>(expected.size()), expected)) << format;
}

TEST(StrFormat, Rows) {
    for (const Row& row : ZelkTest::Rows("strformat.txt")) {
        SCOPED_TRACE(row.Where());
        Arguments arguments;
        for (std::size_t field = 2; field < row.Size(); ++field) {
            const std::string argument = row.Text(field);
            const std::string type = argument.substr(0, argument.find(' '));
            const std::string value = argument.substr(std::min(type.size() + 1, argument.size()));
            if (type == "double") {
                arguments.Add(std::strtod(value.c_str(), nullptr));
            } else if (type == "text") {
                arguments.AddString(value + '\0');
            } else if (type == "long") {
                arguments.Add(std::strtoull(value.c_str(), nullptr, 0));
            } else {
                EXPECT_TRUE(type == "int" || type == "pointer" || type == "null") << type;
                arguments.Add(static_cast<std::uint32_t>(std::strtoll(value.c_str(), nullptr, 0)));
            }
        }
        Expect(row.Text(1), row.Text(0), arguments);
    }
    Expect(std::string("a\0b", 3), "a%cb", Of(0));
}

TEST(StrFormat, NoTextAndNoRoom) {
    EXPECT_EQ(StrFormat::vsnprintf(static_cast<char*>(nullptr), 0, static_cast<const char*>(nullptr), {}), 0);
    EXPECT_EQ(StrFormat::vsnprintf(static_cast<wchar_t*>(nullptr), 0, static_cast<const wchar_t*>(nullptr), {}), 0);
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
        EXPECT_EQ(Print(row.format, Of(7, 8), 8), std::pair(row.length, std::string(row.stored))) << row.format;
    }
    EXPECT_EQ(Print("%*d", Of(INT_MIN, 12), 4), std::pair(INT_MAX, std::string("12 ")));
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
    char memory[3][100];
    const auto oddly = [](char* bytes, const auto& text) {
        return static_cast<const wchar_t*>(std::memcpy(bytes + 1, text, sizeof text));
    };
    const wchar_t* const format = oddly(memory[0], L"%s|%5.3s|%d of it");
    const wchar_t* const text = oddly(memory[1], L"of some length");
    EXPECT_EQ(StrFormat::snprintf(reinterpret_cast<wchar_t*>(memory[2] + 1), 40, format, text, text, 12), 29);
    constexpr wchar_t EXPECTED[] = L"of some length|  of |12 of it";
    EXPECT_EQ(std::memcmp(memory[2] + 1, EXPECTED, sizeof EXPECTED), 0);
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
    EXPECT_EQ(StrFormat::FormatSize(nullptr, 0, 1, nullptr, 0), nullptr);
}

} // namespace
