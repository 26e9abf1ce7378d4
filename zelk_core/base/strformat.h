/// @file
/// Formats text into a buffer that is never overrun: the conversions of `printf`, with the same result on every
/// platform, in narrow and in wide characters.
///
/// Where the format is a literal, call StrFormat::Print(), which does not compile with a conversion that is not known
/// here or an argument that it does not take. Any thread may call anything at any time. No locale is looked at, nothing
/// is allocated, and nothing fails.
#pragma once

#include <cstdarg>
#include <zelk_core/base/api.h>
#include <zelk_core/base/formatcheck.h>

namespace Z4 {

/// Formats into a buffer of the caller's, on any thread. This differs from the C library: there is no exponent
/// notation, so the conversion `e` prints an "e" and takes no argument; `g` prints what `f` does, without the zeros at
/// its end; a last digit is rounded up from half on; a floating-point zero has no sign; a null string prints nothing.
///
/// A conversion is a percent sign, flags, width, precision, length and conversion character, in this order.
///
/// - Flags, in any number and order. `-` justifies to the left. `0` pads a number with zeros between its sign or prefix
///   and its digits, also when it has a precision, but not together with `-`. `+` puts a "+" before a signed integer
///   that is not negative and before a floating-point number above zero. A space puts a space before the former and a
///   "+" before the latter; `+` makes it have no effect. `#` chooses the alternate form of `o`, `x` and `X`. An
///   apostrophe is ignored.
/// - Width: a decimal number, or `*` for an `int` argument; a negative argument justifies to the left and counts by
///   its magnitude. Nothing is ever cut to the width.
/// - Precision: `.` and a decimal number (without one it is 0), or `.*` for an `int` argument; a negative argument is
///   no precision.
/// - Length: `h` (short), `l` (long) or `ll` (64-bit), for integers. Strings and characters have the buffer's
///   character type whatever the length.
///
/// The conversions:
///
/// - `d`, `i`: a signed integer in decimal. The precision is the least number of digits; 0 with precision 0 has none.
/// - `u`, `o`, `x`, `X`: an unsigned integer in decimal, octal, hexadecimal of either case; precision likewise. `#`
///   makes octal begin with "0", and puts "0x" or "0X" before hexadecimal other than 0.
/// - `D`, `O`, `U`: as `ld`, `lo`, `lu`.
/// - `p`: a pointer as eight hexadecimal digits in upper case. Only width and `-` count.
/// - `f`: a double with precision (default 6) fractional digits, without a point when it is 0. What is no number, is
///   infinite or has a magnitude above 1e64 prints nan, +inf, -inf, toobig, padded with spaces only.
/// - `g`: as `f`, then without the zeros at the end of the fraction, of which one digit always stays.
/// - `s`: a string, at most precision characters of it, within which it need not be terminated. Null counts as empty.
/// - `c`: a character, passed as `int`.
/// - A second percent sign: a percent sign. Like strings and characters it is padded to the width, with spaces only.
///
/// Another character in the place of the conversion is printed by itself, without flags and width (the arguments of
/// `*` are taken). A format that ends within a conversion prints nothing for it.
///
/// A number has at most 256 characters, sign and prefix included, padding not. An integer's precision is cut to that;
/// a floating-point number that would be longer is left out, and its width filled with spaces. Floating-point digits
/// come one by one from quotients in double arithmetic: those before the point are exact below 1e22, beyond that errors
/// of a unit in the 16th or 17th digit can show, and a fraction is rounded by its product with 10 to the precision,
/// itself rounded. Widths and precisions beyond INT_MAX count as INT_MAX.
class StrFormat {
public:
    /// Formats into `buffer`, whose `size` counts characters: the first `size - 1` of the output are stored and always
    /// terminated. Nothing is stored when `size` is 0 or `buffer` is null.
    /// @param format null counts as the empty format.
    /// @param arguments must be of the types that `format` asks for. Strings among them must not lie in `buffer`. What
    /// is left in the list afterwards is unspecified.
    /// @return the length of the complete output without terminator, whether it was stored or not; INT_MAX when it is
    /// longer than that. A result of `size` or more means that the text was cut.
    Z4_API static int vsnprintf(char* buffer, unsigned size, const char* format, va_list arguments);

    /// vsnprintf() of the arguments that follow, for formats that are made at run time. Compilers check a literal by
    /// the rules of the C library's `printf`: they let the conversion `e` and the length `z` pass, which are none of
    /// this formatter's, and refuse `D`, `O` and `U`.
    Z4_PRINTF(3, 4)
    Z4_API static int snprintf(char* buffer, unsigned size, const char* format, ...);

    /// snprintf() with a literal, which the compiler checks by this formatter's rules (formatcheck.h). Costs nothing
    /// more.
    template <class... Arguments>
    static int Print(char* buffer, unsigned size, FormatString<Arguments...> format, Arguments... arguments) {
        // Through a pointer that carries no check: the compilers' own would complain that it cannot see the format.
        int (*const print)(char*, unsigned, const char*, ...) = snprintf;
        return print(buffer, size, format.Get(), arguments...);
    }

    /// vsnprintf() in wide characters: `size` and the result count them, the conversion `s` takes a wide string and `c`
    /// a wide character. Buffer, format and strings may lie at odd addresses.
    Z4_API static int vsnprintf(wchar_t* buffer, unsigned size, const wchar_t* format, va_list arguments);

    /// vsnprintf() of the arguments that follow, for formats that are made at run time. No compiler checks them.
    Z4_API static int snprintf(wchar_t* buffer, unsigned size, const wchar_t* format, ...);

    template <class... Arguments>
    static int Print(wchar_t* buffer, unsigned size, WFormatString<Arguments...> format, Arguments... arguments) {
        return snprintf(buffer, size, format.Get(), arguments...);
    }

    /// Writes `value` for people to read, with the largest of the binary prefixes Ki, Mi, Gi, Ti, Pi and Ei that leaves
    /// at least 1: 1536 with precision 1 is "1.5 KiB". A value below 1024 has no fraction: "512 B". The last digit is
    /// rounded exactly, up from half on. What is rounded to 1024 takes the next prefix: 1048575 with precision 1 is
    /// "1.0 MiB".
    /// @param size of `buffer` in characters. 18 and the unit's length are enough; a longer text is cut to `size` - 1
    /// characters and terminated, and with a size of 0 nothing is stored.
    /// @param unit what is counted, written behind the prefix. Null means "B". The empty unit gives "512" and "1.5 Ki".
    /// @param precision the number of fractional digits: 0 to 9; a number beyond them counts as the nearer of the two.
    /// @return `buffer`.
    Z4_API static char* FormatSize(char* buffer, unsigned size, unsigned long long value, const char* unit,
                                   int precision);
};

} // namespace Z4
