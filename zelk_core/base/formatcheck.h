/// @file
/// Formats that the compiler checks. A FormatString is made of a literal. It compiles only when each conversion in it
/// is one of StrFormat's (strformat.h) and the arguments that come with it are of the types that the conversions take.
///
/// StrFormat::Print(), ZelkBasicString::Print() and EalAssertPrint() take one. They are inline and call the function
/// with a C argument list, so the check costs nothing at run time. A function of your own takes one so:
///
///     template <class... Arguments>
///     void Say(FormatString<Arguments...> format, Arguments... arguments) {
///         StrFormat::Print(g_line, sizeof g_line, format, arguments...);
///     }
///
/// A format that is made at run time goes to the functions with a C argument list, StrFormat::snprintf() and the like.
#pragma once

#include <type_traits>
#include <zelk_core/base/formatreader.h>

namespace Z4 {

namespace Private {

/// Not constant, and never defined.
template <FormatFault>
void FormatDoesNotCompile();

} // namespace Private

/// What is wrong with `format` for arguments of these types; FormatFault::NONE when nothing is. The check is stricter
/// than the formatter: every value of an argument's type must be printed as it is, and neither an argument nor a length
/// may be without effect.
///
/// - `d` and `i` take a signed integer of the length that is given, `u` an unsigned one, `o`, `x` and `X` either.
///   Without `l` they also take a narrower integer whose values all fit; for `u`, `o`, `x` and `X` that is an unsigned
///   one.
/// - An unscoped enumeration counts as an integer of either sign; a scoped one must be cast. `bool` and character types
///   are integers.
/// - `c` takes an `int` or an integer of the size of the format's characters, `s` a pointer to characters of the
///   format's type, `f` and `g` a `float` or `double`, `p` any pointer, and `*` an `int` or a narrower integer.
template <class Char, class... Arguments>
constexpr FormatFault CheckFormat(const Char* format) {
    // One more, as there is no array of none.
    constexpr Private::FormatArgument ARGUMENTS[] = {Private::FormatArgument::Of<Arguments>()..., {}};
    return Private::FormatReader<Char>(format, ARGUMENTS, sizeof...(Arguments)).Read();
}

/// A format that was checked against arguments of these types. Only a constant, such as a literal, can become one. A
/// plain value.
template <class Char, class... Arguments>
class BasicFormatString {
public:
    consteval BasicFormatString(const Char* format) : m_format(format) {
        const FormatFault fault = CheckFormat<Char, Arguments...>(format);
        RefuseFor<FormatFault::NO_FORMAT>(fault);
        RefuseFor<FormatFault::UNKNOWN_CONVERSION>(fault);
        RefuseFor<FormatFault::INCOMPLETE_CONVERSION>(fault);
        RefuseFor<FormatFault::LENGTH_WITHOUT_MEANING>(fault);
        RefuseFor<FormatFault::TOO_FEW_ARGUMENTS>(fault);
        RefuseFor<FormatFault::TOO_MANY_ARGUMENTS>(fault);
        RefuseFor<FormatFault::WRONG_ARGUMENT>(fault);
    }

    constexpr const Char* Get() const { return m_format; }

private:
    /// A compiler that comes upon what is not constant refuses the format, and shows the fault by its name.
    template <FormatFault FAULT>
    static consteval void RefuseFor(FormatFault fault) {
        if (fault == FAULT) {
            Private::FormatDoesNotCompile<FAULT>();
        }
    }

    const Char* m_format;
};

/// @{
/// The type of the parameter that stands before `Arguments... arguments`: the types are deduced from those alone.
template <class... Arguments>
using FormatString = BasicFormatString<char, std::type_identity_t<Arguments>...>;
template <class... Arguments>
using WFormatString = BasicFormatString<wchar_t, std::type_identity_t<Arguments>...>;
/// @}

} // namespace Z4
