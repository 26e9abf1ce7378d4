// Formats that are refused though they are right, accepted though they are wrong, or read otherwise than by the
// formatter. What the compiler refuses stands in formats.txt.
#include <cstring>
#include <gtest/gtest.h>
#include <initializer_list>
#include <string>
#include <zelk_core/base/strformat.h>

using Z4::FormatFault;
using Z4::StrFormat;

namespace {

enum Plain {
    PLAIN
};
enum Wide : unsigned long {
    WIDE
};
enum class Scoped {
    SCOPED
};

/// In narrow text. Wide text is checked by the same code, but for the characters that its strings have.
template <class... Arguments>
void Expect(FormatFault expected, std::initializer_list<const char*> formats) {
    for (const char* const format : formats) {
        EXPECT_EQ((Z4::CheckFormat<char, Arguments...>(format)), expected) << format;
    }
}

TEST(CheckFormat, TakesEachConversionWithItsArgument) {
    constexpr FormatFault NONE = FormatFault::NONE;
    Expect<>(NONE, {"", "100%% of %-5%"});
    Expect<int, short, unsigned char, bool, wchar_t, Plain>(NONE, {"%d %i % d %+d %05d %-'3.2d"});
    Expect<unsigned, unsigned char, unsigned short, char32_t, Plain>(NONE, {"%u %u %u %u %u"});
    Expect<unsigned, int, unsigned char, Plain>(NONE, {"%x %#X %02x %o"});
    Expect<short, unsigned short, signed char, short>(NONE, {"%hd %hu %hi %hx"});
    Expect<long, unsigned long, Wide, long, unsigned long>(NONE, {"%ld %lu %lx %D %U"});
    Expect<long long, unsigned long long, long long>(NONE, {"%lld %llu %llX", "%lld %llu %llD"});
    Expect<const char*, int, const char*, int, int, const char*>(NONE, {"%s %.*s %-*.*s"});
    Expect<char, int>(NONE, {"%c %-3c"});
    Expect<float, double, double, double>(NONE, {"%f %g %.3lf %+8.2lg"});
    Expect<void*, const int*, void (*)(), std::nullptr_t, const char*>(NONE, {"%p %p %p %p %12p"});
}

TEST(CheckFormat, TellsWhatIsWrong) {
    using enum FormatFault;
    EXPECT_EQ((Z4::CheckFormat<char>(nullptr)), NO_FORMAT);
    Expect<unsigned>(UNKNOWN_CONVERSION, {"%zu", "%e", "%G", "%n", "%hhd", "%lle", "%Lf", "%I64d", "%5.3y", "% \n"});
    Expect<int>(INCOMPLETE_CONVERSION, {"%", "50 %d%", "%d%-05.3ll"});
    Expect<const char*>(LENGTH_WITHOUT_MEANING, {"%ls"});
    Expect<int>(LENGTH_WITHOUT_MEANING, {"%hc", "%d%l%"});
    Expect<double>(LENGTH_WITHOUT_MEANING, {"%llf"});
    Expect<>(TOO_FEW_ARGUMENTS, {"%d"});
    Expect<int>(TOO_FEW_ARGUMENTS, {"%*d"});
    Expect<int, const char*>(TOO_FEW_ARGUMENTS, {"%.*s %d"});
    Expect<int>(TOO_MANY_ARGUMENTS, {"100%%"});
    Expect<int, int>(TOO_MANY_ARGUMENTS, {"%d"});
    Expect<int>(WRONG_ARGUMENT, {"%u", "%ld", "%hd", "%f", "%s"});
    Expect<unsigned>(WRONG_ARGUMENT, {"%d", "%U", "%c", "%p"});
    Expect<long>(WRONG_ARGUMENT, {"%d"});
    Expect<long long>(WRONG_ARGUMENT, {"%lx"});
    Expect<signed char>(WRONG_ARGUMENT, {"%02x", "%u"});
    Expect<double>(WRONG_ARGUMENT, {"%d", "%u", "%x"});
    Expect<unsigned long>(WRONG_ARGUMENT, {"%u", "%x"});
    Expect<long double>(WRONG_ARGUMENT, {"%f"});
    Expect<std::string>(WRONG_ARGUMENT, {"%s"});
    Expect<const unsigned char*>(WRONG_ARGUMENT, {"%s"});
    Expect<const wchar_t*>(WRONG_ARGUMENT, {"%s"});
    Expect<wchar_t>(WRONG_ARGUMENT, {"%c"});
    Expect<const char*>(WRONG_ARGUMENT, {"%d", "%c"});
    Expect<Scoped>(WRONG_ARGUMENT, {"%d"});
    Expect<unsigned, int>(WRONG_ARGUMENT, {"%*d", "%*.3d"});
    Expect<unsigned, const char*>(WRONG_ARGUMENT, {"%.*s"});
    EXPECT_EQ((Z4::CheckFormat<wchar_t, const wchar_t*, wchar_t, int>(L"%s %c %d")), NONE);
    EXPECT_EQ((Z4::CheckFormat<wchar_t, const char*>(L"%s")), WRONG_ARGUMENT);
    EXPECT_EQ((Z4::CheckFormat<wchar_t, char>(L"%c")), WRONG_ARGUMENT);
}

// What the formatter prints as itself is no conversion, and nothing else is none.
TEST(CheckFormat, KnowsTheFormattersConversions) {
    for (char character = ' ' + 1; character < 0x7F; ++character) {
        if (std::strchr("-+0#'123456789.*hl%", character) != nullptr) {
            continue;
        }
        const char format[] = {'%', character, 0};
        char text[400];
        const int length = StrFormat::snprintf(text, sizeof text, format, 0LL);
        const bool isItself = length == 1 && text[0] == character;
        EXPECT_EQ((Z4::CheckFormat<char>(format)),
                  isItself ? FormatFault::UNKNOWN_CONVERSION : FormatFault::TOO_FEW_ARGUMENTS)
            << format;
    }
}

} // namespace
