// Conversions, widths, roundings and cuts that come out differently than documented, narrow or wide; and what is read
// or stored beyond a buffer. Agreement with the C library and any other format are the fuzzer's.
#include <algorithm>
#include <array>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <random>
#include <string>
#include <tests/support/arguments.h>
#include <tests/support/rows.h>
#include <vector>
#include <zelk_core/base/strformat.h>

using Z4::StrFormat;
using ZelkTest::Arguments;
using ZelkTest::Row;
using ZelkTest::Widen;

namespace {

constexpr char UNTOUCHED = '\x7F';

/// A buffer that notices what is stored behind its `size` characters.
template <class Char>
class Buffer {
public:
    explicit Buffer(unsigned size) : m_text(size + MARGIN, static_cast<Char>(UNTOUCHED)), m_size(size) {}

    Char* Data() { return m_text.data(); }

    /// The stored text. Terminator and margin must be where they belong.
    std::string Text(unsigned length) const {
        for (unsigned i = m_size == 0 ? 0 : length + 1; i < m_text.size(); ++i) {
            EXPECT_EQ(m_text[i], static_cast<Char>(UNTOUCHED)) << "at " << i << " of " << m_size;
        }
        if (m_size == 0) {
            return {};
        }
        EXPECT_EQ(m_text[length], Char{}) << "terminator of " << m_size;
        std::string text;
        std::transform(m_text.data(), m_text.data() + length, std::back_inserter(text),
                       [](Char character) { return static_cast<char>(character); });
        return text;
    }

private:
    static constexpr unsigned MARGIN = 8;
    std::vector<Char> m_text;
    unsigned m_size;
};

template <class Char>
void ExpectAtEverySize(const std::string& expected, const Char* format, const Arguments& arguments) {
    const auto length = static_cast<unsigned>(expected.size());
    const auto words = arguments.Words(0, arguments.Size());
    for (unsigned size = 0; size <= length + 2; ++size) {
        Buffer<Char> buffer(size);
        EXPECT_EQ(StrFormat::vsnprintf(buffer.Data(), size, format, reinterpret_cast<va_list>(words.get())),
                  static_cast<int>(length));
        const unsigned stored = size == 0 ? 0 : std::min(size - 1, length);
        EXPECT_EQ(buffer.Text(stored), expected.substr(0, stored)) << sizeof(Char) << "-byte, size " << size;
    }
}

/// The output must be `expected`, narrow and wide, and its beginning in every buffer that is too small.
void Expect(const std::string& expected, const std::string& format, const Arguments& narrow, const Arguments& wide) {
    SCOPED_TRACE(format);
    ExpectAtEverySize(expected, format.c_str(), narrow);
    ExpectAtEverySize(expected, Widen(format + '\0').data(), wide);
}

template <class... Numbers>
void Expect(const std::string& expected, const std::string& format, Numbers... numbers) {
    Arguments arguments;
    (arguments.Add(numbers), ...);
    Expect(expected, format, arguments, arguments);
}

std::string Fixed(double value, int precision) {
    char text[400];
    StrFormat::snprintf(text, sizeof(text), "%.*f", precision, value);
    return text;
}

/// The digits as they are defined: one quotient by a power of ten after the other. Magnitudes up to 1e64.
class FixedReference {
public:
    FixedReference() {
        for (std::size_t i = 0; i < m_powers.size(); ++i) {
            m_powers[i] = std::strtod(("1e" + std::to_string(i)).c_str(), nullptr);
        }
    }

    std::string operator()(double value, int precision) const {
        double rest = std::fabs(value);
        int count = 0;
        while (count <= 64 && rest >= m_powers[static_cast<std::size_t>(count)]) {
            ++count;
        }
        std::string text = Digits(rest, count);
        if (text.empty()) {
            text = "0";
        }
        if (precision != 0) {
            rest *= m_powers[static_cast<std::size_t>(precision)];
            text += '.' + Digits(rest, precision);
        }
        if (rest >= 0.5) {
            auto digit = text.rbegin();
            for (; digit != text.rend() && (*digit == '9' || *digit == '.'); ++digit) {
                *digit = *digit == '.' ? '.' : '0';
            }
            if (digit == text.rend()) {
                text = '1' + text;
            } else {
                ++*digit;
            }
        }
        return (value < 0 ? "-" : "") + text;
    }

private:
    std::string Digits(double& rest, int count) const {
        std::string digits;
        for (int i = count - 1; i >= 0; --i) {
            const double power = m_powers[static_cast<std::size_t>(i)];
            const double digit = std::clamp(std::floor(rest / power), 0.0, 9.0);
            rest -= digit * power;
            digits += static_cast<char>('0' + static_cast<int>(digit));
        }
        return digits;
    }

    std::array<double, 256> m_powers;
};

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

TEST(StrFormat, ACharacterMayBeZero) {
    Expect(std::string("a\0b", 3), "a%cb", 0);
}

TEST(StrFormat, StringWithPrecisionNeedsNoTerminator) {
    Arguments narrow;
    narrow.AddNarrow("nnn");
    ExpectAtEverySize("nnn", "%.3s", narrow);
    Arguments wide;
    wide.Add(3);
    wide.AddWide("www");
    ExpectAtEverySize(" www", L"%4.*s", wide);
}

TEST(StrFormat, DecimalOfEveryLength) {
    for (unsigned long long power = 1, last = 0; power > last; last = power, power *= 10) {
        for (const unsigned long long value : {power - 1, power, power + 1}) {
            Expect(std::to_string(value), "%llu", value);
            Expect(std::to_string(static_cast<unsigned>(value)), "%u", static_cast<unsigned>(value));
        }
    }
}

TEST(StrFormat, NullFormatAndNullBuffer) {
    ExpectAtEverySize("", static_cast<const char*>(nullptr), {});
    ExpectAtEverySize("", static_cast<const wchar_t*>(nullptr), {});
    EXPECT_EQ(StrFormat::snprintf(static_cast<char*>(nullptr), 0, "%s", "text"), 4);
    EXPECT_EQ(StrFormat::snprintf(static_cast<char*>(nullptr), 9, "%d", 12), 2);
    EXPECT_EQ(StrFormat::snprintf(static_cast<wchar_t*>(nullptr), 9, L"%5f", 1.0), 8);
}

TEST(StrFormat, HugeWidths) {
    struct Case {
        const char* format;
        int length;
        const char* stored;
    };
    const Case cases[] = {
        {"%2147483647d", INT_MAX, "       "},
        {"%02147483640d", INT_MAX - 7, "0000000"},
        {"%2147483648d", INT_MAX, "       "},
        {"%-99999999999999999999d", INT_MAX, "7      "},
        {"%-2000000000d%2000000000d", INT_MAX, "7      "},
        {"%+0300.40d", 300, "+000000"},
        {"%-1000000.3ux", 1000001, "007    "},
    };
    for (const Case& test : cases) {
        SCOPED_TRACE(test.format);
        Buffer<char> buffer(8);
        EXPECT_EQ(StrFormat::snprintf(buffer.Data(), 8, test.format, 7, 8), test.length);
        EXPECT_EQ(buffer.Text(7), test.stored);
        EXPECT_EQ(StrFormat::snprintf(buffer.Data(), 0, test.format, 7, 8), test.length);
    }
    Buffer<wchar_t> buffer(4);
    EXPECT_EQ(StrFormat::snprintf(buffer.Data(), 4, L"%*s", INT_MIN, L"ab"), INT_MAX);
    EXPECT_EQ(buffer.Text(3), "ab ");
}

TEST(StrFormat, NumbersHaveAtMost256Characters) {
    const std::string zeros(300, '0');
    Expect(zeros.substr(0, 255) + "7", "%.300d", 7);
    Expect("-" + zeros.substr(0, 254) + "7", "%.*d", INT_MAX, -7);
    Expect("0x" + zeros.substr(0, 253) + "f", "%#.99999999999x", 15u);
    Expect(zeros.substr(0, 255) + "7", "%#.256o", 7u);
    Expect(std::string(44, ' ') + zeros.substr(0, 255) + "7", "%300.256d", 7);
    Expect(zeros.substr(0, 299) + "7", "%0300d", 7);
    Expect("1." + zeros.substr(0, 254), "%.254f", 1.0);
    Expect("-1." + zeros.substr(0, 253), "%.253f", -1.0);
    Expect("|||   |", "%.255f|%.254f|%.*g|%03.300f|", 1.0, -1.0, INT_MAX, 1.0, 1.0);
}

class StrFormatRandom : public testing::Test {
protected:
    static constexpr unsigned SEED = 20140611;
    testing::ScopedTrace m_trace{__FILE__, __LINE__, SEED};
    std::mt19937_64 m_random{SEED};

    /// Any magnitude up to 10^64, each power of two equally often.
    double AnyMagnitude() {
        for (;;) {
            const double value =
                std::ldexp(static_cast<double>(m_random() >> 11), static_cast<int>(m_random() % 460) - 300);
            if (value <= 1e64) {
                return value;
            }
        }
    }
};

TEST_F(StrFormatRandom, FloatingDigitsAreTheSuccessiveQuotients) {
    const FixedReference reference;
    for (int round = 0; round < 200000; ++round) {
        const double magnitude = round % 4 == 0 ? static_cast<double>(m_random() % 2000000) / 1000.0 : AnyMagnitude();
        const double value = m_random() % 2 == 0 ? magnitude : -magnitude;
        const int precision = static_cast<int>(m_random() % (round % 8 == 0 ? 120 : 20));
        ASSERT_EQ(Fixed(value, precision), reference(value, precision)) << std::hexfloat << value;
    }
    for (int power = 0; power <= 64; ++power) {
        for (double factor = 1; factor < 10; ++factor) {
            const double edge = std::min(factor * std::pow(10, power), 1e64);
            for (const double value : {std::nextafter(edge, 0), edge, std::min(std::nextafter(edge, 1e65), 1e64)}) {
                for (const int precision : {0, 1, 6, 9, 17, 40}) {
                    ASSERT_EQ(Fixed(value, precision), reference(value, precision)) << std::hexfloat << value;
                }
            }
        }
    }
}

TEST(StrFormat, WideTextAtOddAddresses) {
    constexpr unsigned SIZE = 40;
    const std::vector<wchar_t> format = Widen(std::string("%s|%5.3s|%d of it, literally%c") + '\0');
    const std::vector<wchar_t> string = Widen(std::string("a string of some length") + '\0');
    std::vector<char> bytes(1 + (format.size() + string.size() + SIZE) * sizeof(wchar_t));
    char* const formatAt = bytes.data() + 1;
    char* const stringAt = formatAt + format.size() * sizeof(wchar_t);
    char* const bufferAt = stringAt + string.size() * sizeof(wchar_t);
    std::memcpy(formatAt, format.data(), format.size() * sizeof(wchar_t));
    std::memcpy(stringAt, string.data(), string.size() * sizeof(wchar_t));
    const auto* const oddString = reinterpret_cast<const wchar_t*>(stringAt);
    EXPECT_EQ(StrFormat::snprintf(reinterpret_cast<wchar_t*>(bufferAt), SIZE,
                                  reinterpret_cast<const wchar_t*>(formatAt), oddString, oddString, 12, 'c'),
              50);
    std::string stored;
    for (const char* at = bufferAt; at != bytes.data() + bytes.size(); at += sizeof(wchar_t)) {
        wchar_t character;
        std::memcpy(&character, at, sizeof(character));
        stored += static_cast<char>(character);
    }
    EXPECT_EQ(stored, std::string("a string of some length|  a s|12 of it,") + '\0');
}

TEST(FormatSize, Rows) {
    for (const Row& row : ZelkTest::Rows("formatsize.txt")) {
        SCOPED_TRACE(row.Where());
        const std::string unit = row.Text(2);
        char text[64];
        EXPECT_EQ(StrFormat::FormatSize(text, sizeof(text), row.Number(0), unit == "null" ? nullptr : unit.c_str(),
                                        static_cast<int>(row.Number(1))),
                  text);
        EXPECT_EQ(text, row.Text(3));
    }
}

TEST(FormatSize, IsCutToTheBuffer) {
    const std::string complete = "1023.123046875 KiB";
    for (unsigned size = 0; size <= complete.size() + 1; ++size) {
        Buffer<char> buffer(size);
        EXPECT_EQ(StrFormat::FormatSize(buffer.Data(), size, 1047678, "B", 9), buffer.Data());
        const unsigned stored = size == 0 ? 0 : size - 1;
        EXPECT_EQ(buffer.Text(stored), complete.substr(0, stored));
    }
    EXPECT_EQ(StrFormat::FormatSize(nullptr, 0, 1, nullptr, 0), nullptr);
}

TEST_F(StrFormatRandom, SizeIsTheNearestOfItsPrecision) {
    for (int round = 0; round < 20000; ++round) {
        const unsigned long long value = m_random() >> (m_random() % 53);
        const int precision = static_cast<int>(m_random() % 4);
        char text[64];
        StrFormat::FormatSize(text, sizeof(text), value, "", precision);
        char* end = nullptr;
        const double shown = std::strtod(text, &end);
        const auto prefix = *end == 0 ? 0u : static_cast<unsigned>(std::string("KMGTPE").find(end[1]) + 1);
        const double exact = std::ldexp(static_cast<double>(value), -10 * static_cast<int>(prefix));
        const double half = prefix == 0 ? 0 : 0.5 * std::pow(10, -precision);
        ASSERT_LE(std::fabs(shown - exact), half + 1e-12 * exact) << value << " shown as " << text;
        ASSERT_TRUE(shown < 1024) << text;
    }
}

} // namespace
