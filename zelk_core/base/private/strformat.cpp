#include <algorithm>
#include <cfloat>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <zelk_core/base/private/formatoutput.h>
#include <zelk_core/base/private/numbertext.h>
#include <zelk_core/base/private/textobserver.h>
#include <zelk_core/base/strformat.h>

namespace Z4 {

namespace {

using namespace std::string_view_literals;
using Private::Text;

enum class Length : std::uint8_t {
    INT,
    SHORT,
    LONG,
    LONG_LONG,
};

struct Directive {
    bool leftJustify = false;
    bool zeroPad = false;
    bool plus = false;
    bool space = false;
    bool alternate = false;
    bool hasPrecision = false;
    Length length = Length::INT;
    unsigned width = 0;
    unsigned precision = 0;
};

// A number between its paddings: the zeros stand after the sign or radix prefix.
struct NumberField {
    std::string_view prefix;
    unsigned zeros;
    std::string_view digits;
};

template <class Char>
class Formatter {
public:
    Formatter(Char* buffer, unsigned size, const Char* format, va_list arguments)
        : m_output(buffer, size), m_format(format) {
        va_copy(m_arguments, arguments);
    }

    ~Formatter() { va_end(m_arguments); }

    Formatter(const Formatter&) = delete;
    Formatter& operator=(const Formatter&) = delete;

    int Run() {
        for (;;) {
            std::size_t run = 0;
            while (m_format[run] != '%' && m_format[run] != 0) {
                ++run;
            }
            m_output.Append(m_format, run);
            m_format.Skip(run);
            if (m_format[0] == 0) {
                return m_output.Finish();
            }
            m_format.Skip(1);
            Convert(ReadDirective());
        }
    }

private:
    Directive ReadDirective() {
        Directive directive;
        while (ReadFlag(directive)) {
        }
        if (Accept('*')) {
            const int width = va_arg(m_arguments, int);
            directive.leftJustify |= width < 0;
            directive.width = width < 0 ? 0u - static_cast<unsigned>(width) : static_cast<unsigned>(width);
        } else {
            directive.width = ReadNumber();
        }
        if (Accept('.')) {
            if (Accept('*')) {
                const int precision = va_arg(m_arguments, int);
                directive.hasPrecision = precision >= 0;
                directive.precision = precision >= 0 ? static_cast<unsigned>(precision) : 0;
            } else {
                directive.hasPrecision = true;
                directive.precision = ReadNumber();
            }
        }
        if (Accept('h')) {
            directive.length = Length::SHORT;
        } else if (Accept('l')) {
            directive.length = Accept('l') ? Length::LONG_LONG : Length::LONG;
        }
        return directive;
    }

    bool ReadFlag(Directive& directive) {
        switch (m_format[0]) {
        case '-':
            directive.leftJustify = true;
            break;
        case '0':
            directive.zeroPad = true;
            break;
        case '+':
            directive.plus = true;
            break;
        case ' ':
            directive.space = true;
            break;
        case '#':
            directive.alternate = true;
            break;
        case '\'':
            break;
        default:
            return false;
        }
        m_format.Skip(1);
        return true;
    }

    bool Accept(char expected) {
        if (m_format[0] != static_cast<Char>(expected)) {
            return false;
        }
        m_format.Skip(1);
        return true;
    }

    // Numbers too large for an int become its largest value.
    unsigned ReadNumber() {
        unsigned number = 0;
        for (; m_format[0] >= '0' && m_format[0] <= '9'; m_format.Skip(1)) {
            const auto digit = static_cast<unsigned>(m_format[0] - '0');
            number = number > (INT_MAX - digit) / 10 ? INT_MAX : number * 10 + digit;
        }
        return number;
    }

    void Convert(Directive directive) {
        const Char conversion = m_format[0];
        if (conversion == 0) {
            return;
        }
        m_format.Skip(1);
        switch (conversion) {
        case 'D':
        case 'O':
        case 'U':
            if (directive.length != Length::LONG_LONG) {
                directive.length = Length::LONG;
            }
            return ConvertInteger(directive, static_cast<char>(conversion + ('a' - 'A')));
        case 'd':
        case 'i':
        case 'u':
        case 'o':
        case 'x':
        case 'X':
            return ConvertInteger(directive, static_cast<char>(conversion));
        case 'p':
            return ConvertPointer(directive);
        case 'f':
        case 'g':
            return ConvertFloating(directive, conversion == 'g');
        case 's':
            return ConvertString(directive);
        case 'c': {
            const auto character = static_cast<Char>(va_arg(m_arguments, int));
            return PutText(Text<Char>(&character), 1, directive);
        }
        case '%':
            return PutText(Text<Char>(&conversion), 1, directive);
        default:
            return m_output.Append(Text<Char>(&conversion), 1);
        }
    }

    long long NextSigned(Length length) {
        switch (length) {
        case Length::SHORT:
            return static_cast<short>(va_arg(m_arguments, int));
        case Length::LONG:
            return va_arg(m_arguments, long);
        case Length::LONG_LONG:
            return va_arg(m_arguments, long long);
        default:
            return va_arg(m_arguments, int);
        }
    }

    unsigned long long NextUnsigned(Length length) {
        switch (length) {
        case Length::SHORT:
            return static_cast<unsigned short>(va_arg(m_arguments, unsigned));
        case Length::LONG:
            return va_arg(m_arguments, unsigned long);
        case Length::LONG_LONG:
            return va_arg(m_arguments, unsigned long long);
        default:
            return va_arg(m_arguments, unsigned);
        }
    }

    void ConvertInteger(const Directive& directive, char conversion) {
        if (conversion != 'd' && conversion != 'i') {
            const unsigned long long value = NextUnsigned(directive.length);
            const bool prefixed = directive.alternate && value != 0;
            return PutInteger(directive,
                              prefixed && conversion == 'x'   ? "0x"sv
                              : prefixed && conversion == 'X' ? "0X"sv
                                                              : ""sv,
                              value, conversion);
        }
        const long long value = NextSigned(directive.length);
        const std::string_view sign = value < 0 ? "-"sv : directive.plus ? "+"sv : directive.space ? " "sv : ""sv;
        const auto bits = static_cast<unsigned long long>(value);
        PutInteger(directive, sign, value < 0 ? 0 - bits : bits, conversion);
    }

    static char* WriteInteger(char* end, unsigned long long value, char conversion) {
        switch (conversion) {
        case 'o':
            return Private::WriteOctal(end, value);
        case 'x':
            return Private::WriteHexadecimal(end, value, false);
        case 'X':
            return Private::WriteHexadecimal(end, value, true);
        default:
            return Private::WriteDecimal(end, value);
        }
    }

    // A precision beyond the field is cut, so that a damaged one cannot ask for endless zeros.
    void PutInteger(const Directive& directive, std::string_view prefix, unsigned long long value, char conversion) {
        char scratch[Private::INTEGER_SCRATCH_SIZE];
        char* const end = scratch + sizeof(scratch);
        const bool blank = value == 0 && directive.hasPrecision && directive.precision == 0;
        const char* const begin = blank ? end : WriteInteger(end, value, conversion);
        const auto digits = static_cast<unsigned>(end - begin);
        const auto prefixLength = static_cast<unsigned>(prefix.size());
        unsigned minimum = std::min(directive.precision, Private::NUMBER_FIELD_SIZE - prefixLength);
        if (conversion == 'o' && directive.alternate && minimum <= digits && (blank || *begin != '0')) {
            minimum = digits + 1;
        }
        PutNumber({prefix, minimum > digits ? minimum - digits : 0, {begin, digits}}, directive);
    }

    void ConvertPointer(const Directive& directive) {
        constexpr unsigned POINTER_DIGITS = 8;
        char scratch[Private::INTEGER_SCRATCH_SIZE];
        char* const end = scratch + sizeof(scratch);
        const auto address = reinterpret_cast<std::uintptr_t>(va_arg(m_arguments, void*));
        const char* const begin = Private::WriteHexadecimal(end, static_cast<std::uint32_t>(address), true);
        const auto digits = static_cast<unsigned>(end - begin);
        Directive plain;
        plain.leftJustify = directive.leftJustify;
        plain.width = directive.width;
        PutNumber({{}, POINTER_DIGITS - digits, {begin, digits}}, plain);
    }

    void ConvertFloating(const Directive& directive, bool dropZeros) {
        constexpr unsigned DEFAULT_PRECISION = 6;
        const double value = va_arg(m_arguments, double);
        const double magnitude = value < 0 ? -value : value;
        if (value != value) {
            return PutWord("nan"sv, directive);
        }
        if (magnitude > DBL_MAX) {
            return PutWord(value < 0 ? "-inf"sv : "+inf"sv, directive);
        }
        if (magnitude > Private::FIXED_NOTATION_LIMIT) {
            return PutWord("toobig"sv, directive);
        }
        const bool forced = directive.plus || directive.space;
        const std::string_view sign = value < 0 ? "-"sv : forced && value > 0 ? "+"sv : ""sv;
        const unsigned precision = directive.hasPrecision ? directive.precision : DEFAULT_PRECISION;
        const auto room = Private::NUMBER_FIELD_SIZE - static_cast<unsigned>(sign.size());
        Private::FixedNotationArea area;
        std::string_view digits = Private::FixedNotation(area, room, magnitude, precision);
        if (digits.empty()) {
            return PutWord({}, directive);
        }
        if (dropZeros) {
            for (unsigned removable = precision; removable > 1 && digits.back() == '0'; --removable) {
                digits.remove_suffix(1);
            }
        }
        PutNumber({sign, 0, digits}, directive);
    }

    // What stands in the place of a number is padded with spaces only.
    void PutWord(std::string_view word, Directive directive) {
        directive.zeroPad = false;
        PutNumber({{}, 0, word}, directive);
    }

    void ConvertString(const Directive& directive) {
        const Char* const string = va_arg(m_arguments, const Char*);
        std::size_t length = 0;
        if (string != nullptr) {
            const std::size_t limit = directive.hasPrecision ? directive.precision : SIZE_MAX;
            for (const Text<Char> text(string); length < limit && text[length] != 0; ++length) {
            }
        }
        PutText(Text<Char>(string), length, directive);
    }

    void PutText(Text<Char> text, std::size_t length, const Directive& directive) {
        const std::size_t padding = directive.width > length ? directive.width - length : 0;
        if (!directive.leftJustify) {
            m_output.Fill(' ', padding);
        }
        m_output.Append(text, length);
        if (directive.leftJustify) {
            m_output.Fill(' ', padding);
        }
    }

    void PutNumber(const NumberField& field, const Directive& directive) {
        const auto length = static_cast<unsigned>(field.prefix.size() + field.zeros + field.digits.size());
        const unsigned padding = directive.width > length ? directive.width - length : 0;
        const bool zeroPad = directive.zeroPad && !directive.leftJustify;
        if (!directive.leftJustify && !zeroPad) {
            m_output.Fill(' ', padding);
        }
        m_output.AppendAscii(field.prefix);
        m_output.Fill('0', field.zeros + (zeroPad ? padding : 0));
        m_output.AppendAscii(field.digits);
        if (directive.leftJustify) {
            m_output.Fill(' ', padding);
        }
    }

    Private::Output<Char> m_output;
    Text<Char> m_format;
    va_list m_arguments;
};

} // namespace

int StrFormat::vsnprintf(char* buffer, unsigned size, const char* format, va_list arguments) {
    const int length = Formatter<char>(buffer, size, format != nullptr ? format : "", arguments).Run();
    if (size != 0 && buffer != nullptr) {
        Private::ObserveText(Private::TEXT_OF_FORMATTER, buffer);
    }
    return length;
}

int StrFormat::snprintf(char* buffer, unsigned size, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const int length = vsnprintf(buffer, size, format, arguments);
    va_end(arguments);
    return length;
}

int StrFormat::vsnprintf(wchar_t* buffer, unsigned size, const wchar_t* format, va_list arguments) {
    return Formatter<wchar_t>(buffer, size, format != nullptr ? format : L"", arguments).Run();
}

int StrFormat::snprintf(wchar_t* buffer, unsigned size, const wchar_t* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const int length = vsnprintf(buffer, size, format, arguments);
    va_end(arguments);
    return length;
}

} // namespace Z4
