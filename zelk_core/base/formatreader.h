/// @file
/// Reads a format beside the types of its arguments, in the compiler. The way to it is formatcheck.h.
#pragma once

#include <cstdint>
#include <type_traits>

namespace Z4 {

/// What is wrong with a format and its arguments.
enum class FormatFault : std::uint8_t {
    NONE,
    NO_FORMAT,              ///< a null pointer
    UNKNOWN_CONVERSION,     ///< such as `e`, `n` and `zu`
    INCOMPLETE_CONVERSION,  ///< the text ends within a conversion
    LENGTH_WITHOUT_MEANING, ///< `h`, `l` or `ll` before a conversion of no integer; `lf` and `lg` are fine, as in C
    TOO_FEW_ARGUMENTS,
    TOO_MANY_ARGUMENTS,
    WRONG_ARGUMENT, ///< an argument is not of the type that its conversion or `*` takes
};

namespace Private {

/// What a format's conversion must know of an argument.
struct FormatArgument {
    enum Kind : std::uint8_t {
        OTHER,
        INTEGER,
        FLOATING,
        NARROW_TEXT,
        WIDE_TEXT,
        POINTER
    };
    enum Rank : std::uint8_t {
        CHAR,
        SHORT,
        INT,
        LONG,
        LONG_LONG
    };

    Kind kind = OTHER;
    Rank rank = INT;
    bool isSigned = false;
    bool isUnsigned = false; ///< enumerations are both: compilers differ in what stands behind them

    template <class Type>
    static constexpr FormatArgument Of() {
        FormatArgument argument;
        if constexpr (std::is_integral_v<Type> || (std::is_enum_v<Type> && std::is_convertible_v<Type, long long>)) {
            using Promoted = decltype(+Type());
            argument.kind = INTEGER;
            argument.rank = sizeof(Type) == 1                                    ? CHAR
                            : sizeof(Type) < sizeof(int)                         ? SHORT
                            : std::is_same_v<std::make_signed_t<Promoted>, long> ? LONG
                            : sizeof(Promoted) > sizeof(int)                     ? LONG_LONG
                                                                                 : INT;
            argument.isSigned = std::is_signed_v<Type> || std::is_enum_v<Type>;
            argument.isUnsigned = !std::is_signed_v<Type>;
        } else if constexpr (std::is_same_v<Type, double> || std::is_same_v<Type, float>) {
            argument.kind = FLOATING;
        } else if constexpr (std::is_convertible_v<Type, const char*> && std::is_pointer_v<Type>) {
            argument.kind = NARROW_TEXT;
        } else if constexpr (std::is_convertible_v<Type, const wchar_t*> && std::is_pointer_v<Type>) {
            argument.kind = WIDE_TEXT;
        } else if constexpr (std::is_pointer_v<Type> || std::is_null_pointer_v<Type>) {
            argument.kind = POINTER;
        }
        return argument;
    }

    /// Whether each value of the argument is one of the signed integer of this rank that a conversion reads.
    constexpr bool FitsSigned(Rank wanted) const {
        return kind == INTEGER && ((rank == wanted && isSigned) || (rank < wanted && wanted <= INT));
    }
    constexpr bool FitsUnsigned(Rank wanted) const {
        return kind == INTEGER && isUnsigned && (rank == wanted || (rank < wanted && wanted <= INT));
    }
};

/// Reads a format as StrFormat does.
template <class Char>
class FormatReader {
public:
    constexpr FormatReader(const Char* format, const FormatArgument* arguments, unsigned count)
        : m_format(format), m_arguments(arguments), m_end(arguments + count) {}

    constexpr FormatFault Read() {
        if (m_format == nullptr) {
            return FormatFault::NO_FORMAT;
        }
        for (; *m_format != 0; ++m_format) {
            if (*m_format == '%') {
                ++m_format;
                if (const FormatFault fault = ReadConversion(); fault != FormatFault::NONE) {
                    return fault;
                }
            }
        }
        return m_arguments == m_end ? FormatFault::NONE : FormatFault::TOO_MANY_ARGUMENTS;
    }

private:
    enum Length : std::uint8_t {
        NO_LENGTH,
        SHORT,
        LONG,
        LONG_LONG
    };

    constexpr FormatFault ReadConversion() {
        while (IsOneOf("-0+ #'")) {
            ++m_format;
        }
        FormatFault fault = ReadNumber();
        if (Accept('.') && fault == FormatFault::NONE) {
            fault = ReadNumber();
        }
        const Length length = Accept('h') ? SHORT : !Accept('l') ? NO_LENGTH : Accept('l') ? LONG_LONG : LONG;
        if (fault != FormatFault::NONE || *m_format == '%') {
            return fault != FormatFault::NONE || length == NO_LENGTH ? fault : FormatFault::LENGTH_WITHOUT_MEANING;
        }
        if (*m_format == 0) {
            return FormatFault::INCOMPLETE_CONVERSION;
        }
        if (!IsOneOf("diuoxXDOUpfgsc")) {
            return FormatFault::UNKNOWN_CONVERSION;
        }
        if ((IsOneOf("psc") && length != NO_LENGTH) || (IsOneOf("fg") && length != NO_LENGTH && length != LONG)) {
            return FormatFault::LENGTH_WITHOUT_MEANING;
        }
        return Take([this, length](const FormatArgument& argument) { return IsTaken(argument, length); });
    }

    /// A width or a precision.
    constexpr FormatFault ReadNumber() {
        if (Accept('*')) {
            return Take([](const FormatArgument& argument) { return argument.FitsSigned(FormatArgument::INT); });
        }
        while (IsOneOf("0123456789")) {
            ++m_format;
        }
        return FormatFault::NONE;
    }

    constexpr bool IsTaken(const FormatArgument& argument, Length length) const {
        constexpr bool IS_NARROW = sizeof(Char) == 1;
        const bool isLong = IsOneOf("DOU") && length != LONG_LONG;
        const FormatArgument::Rank rank = isLong || length == LONG ? FormatArgument::LONG
                                          : length == LONG_LONG    ? FormatArgument::LONG_LONG
                                          : length == SHORT        ? FormatArgument::SHORT
                                                                   : FormatArgument::INT;
        switch (*m_format) {
        case 'd':
        case 'i':
        case 'D':
            return argument.FitsSigned(rank);
        case 'u':
        case 'U':
            return argument.FitsUnsigned(rank);
        case 'p':
            return argument.kind >= FormatArgument::NARROW_TEXT;
        case 'f':
        case 'g':
            return argument.kind == FormatArgument::FLOATING;
        case 's':
            return argument.kind == (IS_NARROW ? FormatArgument::NARROW_TEXT : FormatArgument::WIDE_TEXT);
        case 'c':
            // Another rank would be cut, or filled with the sign of a `char`.
            return argument.kind == FormatArgument::INTEGER &&
                   (argument.rank == (IS_NARROW ? FormatArgument::CHAR : FormatArgument::SHORT) ||
                    (argument.rank == FormatArgument::INT && argument.isSigned));
        default:
            // The bits of a signed one are asked for on purpose, unless its sign would fill a wider integer.
            return argument.FitsUnsigned(rank) || (argument.kind == FormatArgument::INTEGER && argument.rank == rank);
        }
    }

    template <class IsRight>
    constexpr FormatFault Take(IsRight isRight) {
        if (m_arguments == m_end) {
            return FormatFault::TOO_FEW_ARGUMENTS;
        }
        return isRight(*m_arguments++) ? FormatFault::NONE : FormatFault::WRONG_ARGUMENT;
    }

    constexpr bool IsOneOf(const char* characters) const {
        while (*characters != 0 && static_cast<Char>(*characters) != *m_format) {
            ++characters;
        }
        return *characters != 0;
    }

    constexpr bool Accept(char expected) {
        if (*m_format != static_cast<Char>(expected)) {
            return false;
        }
        ++m_format;
        return true;
    }

    const Char* m_format;
    const FormatArgument* m_arguments;
    const FormatArgument* m_end;
};

} // namespace Private

} // namespace Z4
