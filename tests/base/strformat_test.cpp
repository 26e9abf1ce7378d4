#include <algorithm>
#include <array>
#include <cfloat>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <string>
#include <vector>
#include <zelk_core/base/strformat.h>

using Z4::StrFormat;

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

/// Keeps wide copies of narrow strings; other arguments pass through. (The C++ library's wide string class is compiled
/// for larger wide characters on some platforms.)
class Wide {
public:
    using Text = std::vector<wchar_t>;

    static Text Copy(const char* text) {
        Text copy;
        std::transform(text, text + std::strlen(text) + 1, std::back_inserter(copy),
                       [](char character) { return static_cast<wchar_t>(static_cast<unsigned char>(character)); });
        return copy;
    }

    const wchar_t* operator()(const char* text) {
        return text != nullptr ? m_texts.emplace_back(Copy(text)).data() : nullptr;
    }

    template <class Value>
    Value operator()(Value value) {
        return value;
    }

private:
    std::deque<Text> m_texts;
};

template <class Char, class... Arguments>
void ExpectAtEverySize(const std::string& expected, const Char* format, Arguments... arguments) {
    const auto length = static_cast<unsigned>(expected.size());
    for (unsigned size = 0; size <= length + 2; ++size) {
        Buffer<Char> buffer(size);
        // The last one is nobody's: compilers find a format without arguments suspicious.
        EXPECT_EQ(StrFormat::snprintf(buffer.Data(), size, format, arguments..., 0), static_cast<int>(length));
        const unsigned stored = size == 0 ? 0 : std::min(size - 1, length);
        EXPECT_EQ(buffer.Text(stored), expected.substr(0, stored)) << sizeof(Char) << "-byte, size " << size;
    }
}

/// The output must be `expected`, narrow and wide, and its beginning in every buffer that is too small.
template <class... Arguments>
void Expect(const std::string& expected, const char* format, Arguments... arguments) {
    SCOPED_TRACE(format);
    Wide wide;
    ExpectAtEverySize(expected, format, arguments...);
    ExpectAtEverySize(expected, wide(format), wide(arguments)...);
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

TEST(StrFormat, Text) {
    Expect("", "");
    Expect("abcdef", "abcdef");
    Expect("100% sure", "100%% %s", "sure");
    Expect("   ab|ab   |ab", "%5s|%-5s|%.2s", "ab", "ab", "abcdef");
    Expect("   ab|ab   ", "%05s|%-05.2s", "ab", "abc");
    Expect("|    |    |", "|%.0s%4.0s|%4s|", "ab", "ab", "");
    Expect("x|  x|x  |  x", "%c|%3c|%-3c|%03.0c", 'x', 'x', 'x', 'x');
    Expect(std::string("a\0b", 3), "a%cb", 0);
    Expect("    %|%    |    %", "%5%|%-5%|%05.0%");
    Expect("\xE4\xF6 \xFC", "\xE4\xF6 %s", "\xFC");
    Expect("text", "%ls", "text");
}

TEST(StrFormat, NullStringPrintsNothing) {
    const char* const null = nullptr;
    Expect("|", "%s|", null);
    Expect("   |   |", "%3s|%-3.9s|", null, null);
}

TEST(StrFormat, StringWithPrecisionNeedsNoTerminator) {
    const std::vector<char> narrow(3, 'n');
    const std::vector<wchar_t> wide(3, L'w');
    ExpectAtEverySize("nnn", "%.3s", narrow.data());
    ExpectAtEverySize(" www", L"%4.*s", 3, wide.data());
}

TEST(StrFormat, SignedIntegers) {
    Expect("0 -1 42", "%d %i %d", 0, -1, 42);
    Expect("2147483647 -2147483648", "%d %ld", INT_MAX, static_cast<long>(INT_MIN));
    Expect("9223372036854775807 -9223372036854775808", "%lld %lli", LLONG_MAX, LLONG_MIN);
    Expect("-1 32767 -32768", "%hd %hd %hd", 65535, 0x17FFF, 32768);
    Expect("+5| 5|+5|-5|-5", "%+d|% d|%+ d|%+d|% d", 5, 5, 5, -5, -5);
    Expect("   42|42   |00042|42   ", "%5d|%-5d|%05d|%-05d", 42, 42, 42, 42);
    Expect("-0042|+0042| 0042", "%05d|%+05d|% 05d", -42, 42, 42);
    Expect("007|-007|  007|007  ", "%.3d|%.3d|%5.3d|%-5.3d", 7, -7, 7, 7);
    Expect("00007|+0007", "%05.3d|%+05.3d", 7, 7);
    Expect("||   |+", "%.0d|%.d|%3.0d|%+.0d", 0, 0, 0, 0);
    Expect("1,2", "%'d,%#d", 1, 2);
    Expect("-12 -7 4294967296 -3", "%D %'D %llD %hD", -12L, -7L, 1LL << 32, -3L);
}

TEST(StrFormat, UnsignedIntegers) {
    Expect("4294967295 18446744073709551615", "%u %llu", UINT_MAX, ULLONG_MAX);
    Expect("65535 12 12", "%hu %U %+u", UINT_MAX, 12ul, 12u);
    Expect("37777777777 1777777777777777777777 0", "%o %llo %O", UINT_MAX, ULLONG_MAX, 0ul);
    Expect("010 0 0 010 00010 0", "%#o %#o %#.0o %#.3o %#.5o %#.1o", 8u, 0u, 0u, 8u, 8u, 0u);
    Expect("ff FF 0xff 0XFF 0", "%x %X %#x %#X %#x", 255u, 255u, 255u, 255u, 0u);
    Expect("ffffffffffffffff 0123456789ABCDEF", "%llx %016llX", ULLONG_MAX, 0x123456789ABCDEFull);
    Expect("0x0000ff|  0xff|0xff  |0x00ff", "%#08x|%#6x|%-#6x|%#.4x", 255u, 255u, 255u, 255u);
    Expect("|", "%.0x%.0u|%.0o", 0u, 0u, 0u);
}

TEST(StrFormat, DecimalOfEveryLength) {
    for (unsigned long long power = 1, last = 0; power > last; last = power, power *= 10) {
        for (const unsigned long long value : {power - 1, power, power + 1}) {
            Expect(std::to_string(value), "%llu", value);
            Expect(std::to_string(static_cast<unsigned>(value)), "%u", static_cast<unsigned>(value));
        }
    }
}

TEST(StrFormat, Pointer) {
    const auto pointer = reinterpret_cast<const void*>(std::uintptr_t{0x1234});
    Expect("00001234|  00001234|00001234  ", "%p|%10p|%-10p", pointer, pointer, pointer);
    Expect("  0000ABCD|00000000", "%+ #010.3p|%p", reinterpret_cast<const void*>(std::uintptr_t{0xABCD}),
           static_cast<const void*>(nullptr));
}

TEST(StrFormat, WidthAndPrecisionFromArguments) {
    Expect("   42|42   |042", "%*d|%*d|%.*d", 5, 42, -5, 42, 3, 42);
    Expect("text|te|", "%.*s|%.*s|%.*s", -1, "text", 2, "text", 0, "text");
    Expect("42", "%.*d", -3, 42);
    Expect("1.500000|2", "%.*f|%.*f", -2, 1.5, 0, 1.5);
}

TEST(StrFormat, WhatIsNoConversionIsText) {
    Expect("e E G n 5", "%e %E %-5G %010.3n %d", 5);
    Expect("e7", "%*e%d", 9, 7);
    Expect("hd ld Ld zd -d", "%hhd %llld %Ld %zd %5-d");
    Expect("\xE4", "%\xE4");
}

TEST(StrFormat, FormatThatEndsInAConversion) {
    Expect("a", "a%");
    Expect("a", "a%-05.3ll");
    Expect("a", "a%.");
    Expect("a", "a%*.*h", 3, 4);
}

TEST(StrFormat, NullFormatAndNullBuffer) {
    ExpectAtEverySize("", static_cast<const char*>(nullptr));
    ExpectAtEverySize("", static_cast<const wchar_t*>(nullptr));
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
    Expect(std::string(300, ' ') + "text", "%304.300s", "text");
    Expect("1." + zeros.substr(0, 254), "%.254f", 1.0);
    Expect("-1." + zeros.substr(0, 253), "%.253f", -1.0);
    Expect("|||   |", "%.255f|%.254f|%.*g|%03.300f|", 1.0, -1.0, INT_MAX, 1.0, 1.0);
}

TEST(StrFormat, FixedNotation) {
    Expect("0.100000 1.500000 -1.500000", "%f %f %f", 0.1, 1.5, -1.5);
    Expect("3 4 1 0 10 100.0", "%.0f %.0f %.0f %.0f %.0f %.1f", 2.5, 3.5, 0.5, 0.49, 9.5, 99.96);
    Expect("1.00 0.10 2.00 1.3", "%.2f %.2f %.2f %.1f", 0.999, 0.0996, 1.999, 1.25);
    Expect("0.000000 0.000000 -0.000000", "%f %+f %f", -0.0, 0.0, -1e-9);
    Expect("+1.500000 +1.500000 +0.000000 0.000000", "%+f % f %+f % f", 1.5, 1.5, 1e-9, -0.0);
    Expect("  1.50|1.50  |001.50|+01.50|-01.50", "%6.2f|%-6.2f|%06.2f|%0+6.2f|%06.2f", 1.5, 1.5, 1.5, 1.5, -1.5);
    Expect("2 2", "%#.0f %.0f", 2.0, 2.0);
    Expect("123456789012345.125000 9007199254740994.0", "%f %.1f", 123456789012345.125, 9007199254740994.0);
    Expect("1" + std::string(64, '0'), "%.0f", 1e64);
}

TEST(StrFormat, ShortestFixedNotation) {
    Expect("2.0 1.25 0.0 -0.5 100.0", "%g %g %g %g %g", 2.0, 1.25, 0.0, -0.5, 100.0);
    Expect("0.000001 0.0 123456789.125", "%g %g %g", 1e-6, 1e-7, 123456789.125);
    Expect("2 3 2.0 2.5 2.5", "%.0g %.0g %.1g %.1g %.4g", 2.0, 2.5, 2.0, 2.5, 2.5);
    Expect("1.0 +2.0  2.5 0002.5", "%.3g %+g %4g %06g", 0.9999, 2.0, 2.5, 2.5);
}

TEST(StrFormat, WhatHasNoFixedNotation) {
    constexpr double INFINITE = std::numeric_limits<double>::infinity();
    constexpr double NAN_VALUE = std::numeric_limits<double>::quiet_NaN();
    Expect("nan nan +inf -inf +inf", "%f %+g %f %f %+g", NAN_VALUE, -NAN_VALUE, INFINITE, -INFINITE, INFINITE);
    Expect("toobig toobig toobig", "%f %+f %g", 1e65, -DBL_MAX, std::nextafter(1e64, INFINITE));
    Expect("   nan|+inf  |  toobig", "%06.0f|%-6.300f|%08f", NAN_VALUE, INFINITE, 1e65);
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

TEST_F(StrFormatRandom, FloatingTextIsWithinHalfADigit) {
    for (int round = 0; round < 100000; ++round) {
        const double value = std::fmod(AnyMagnitude(), 1e15);
        const int precision = static_cast<int>(m_random() % 16);
        const double error = std::fabs(std::strtod(Fixed(value, precision).c_str(), nullptr) - value);
        ASSERT_LE(error, 0.5000001 * std::pow(10, -precision) + 1e-15 * value) << std::hexfloat << value;
    }
}

TEST_F(StrFormatRandom, ExactIntegersBelow1e22) {
    for (int round = 0; round < 20000; ++round) {
        const double value = std::floor(std::fmod(AnyMagnitude(), 1e22));
        char exact[64];
        std::snprintf(exact, sizeof(exact), "%.2f", value);
        ASSERT_EQ(Fixed(value, 2), exact);
    }
}

TEST(StrFormat, WideTextAtOddAddresses) {
    constexpr unsigned SIZE = 40;
    const Wide::Text format = Wide::Copy("%s|%5.3s|%d of it, literally%c");
    const Wide::Text string = Wide::Copy("a string of some length");
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

TEST(FormatSize, Units) {
    struct Case {
        unsigned long long value;
        int precision;
        const char* expected;
    };
    constexpr unsigned long long KI = 1024;
    const Case cases[] = {
        {0, 2, "0 B"},
        {1, 2, "1 B"},
        {1023, 2, "1023 B"},
        {1024, 2, "1.00 KiB"},
        {1536, 1, "1.5 KiB"},
        {1536, 0, "2 KiB"},
        {1535, 0, "1 KiB"},
        {1076, 1, "1.1 KiB"},
        {1075, 1, "1.0 KiB"},
        {KI * KI - 1, 3, "1023.999 KiB"},
        {KI * KI - 1, 2, "1.00 MiB"},
        {KI * KI - 512, 0, "1 MiB"},
        {KI * KI - 513, 0, "1023 KiB"},
        {KI * KI, 0, "1 MiB"},
        {KI * KI * KI * 5 / 2, 1, "2.5 GiB"},
        {KI * KI * KI * KI, 1, "1.0 TiB"},
        {KI * KI * KI * KI * KI - 1, 9, "1.000000000 PiB"},
        {ULLONG_MAX, 9, "16.000000000 EiB"},
        {ULLONG_MAX, 0, "16 EiB"},
        {1234567, INT_MIN, "1 MiB"},
        {1234567, INT_MAX, "1.177374840 MiB"},
    };
    for (const Case& test : cases) {
        char text[64];
        EXPECT_EQ(StrFormat::FormatSize(text, sizeof(text), test.value, nullptr, test.precision), text);
        EXPECT_STREQ(text, test.expected);
    }
}

TEST(FormatSize, UnitsOfTheCaller) {
    char text[64];
    EXPECT_STREQ(StrFormat::FormatSize(text, sizeof(text), 2048, "bit/s", 1), "2.0 Kibit/s");
    EXPECT_STREQ(StrFormat::FormatSize(text, sizeof(text), 7, "%s", 1), "7 %s");
    EXPECT_STREQ(StrFormat::FormatSize(text, sizeof(text), 2048, "", 1), "2.0 Ki");
    EXPECT_STREQ(StrFormat::FormatSize(text, sizeof(text), 7, "", 1), "7");
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
