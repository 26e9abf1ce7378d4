#include <limits>
#include <zelk_core/base/guid.h>
#include <zelk_core/base/private/decimal.h>
#include <zelk_core/base/private/numbertext.h>
#include <zelk_core/base/str.h>

namespace Z4 {

using namespace Private;

namespace {

constexpr bool IsRadix(unsigned radix) {
    return radix >= 2 && radix <= 36;
}

/// So many digits of every radix, of 10 and of 36, fit into 32 bits.
constexpr unsigned SAFE_DIGITS_10 = 9;
constexpr unsigned SAFE_DIGITS_36 = 6;

/// Moves `at` past the digits there. The first that fit into 32 bits are not checked; `isTooLarge` tells of the others.
template <class Bits>
Bits ReadDigits(const char*& at, const char* end, unsigned radix, bool& isTooLarge) {
    const auto isDigit = [&] { return at != end && DIGITS[*at] < radix; };
    std::uint32_t first = 0;
    if (radix == 10) {
        const char* const safe = end - at > static_cast<std::ptrdiff_t>(SAFE_DIGITS_10) ? at + SAFE_DIGITS_10 : end;
        for (; at != safe; ++at) {
            const unsigned digit = static_cast<unsigned char>(*at) - unsigned{'0'};
            if (digit > 9) {
                return first;
            }
            first = first * 10 + digit;
        }
    } else {
        for (unsigned i = 0; i < SAFE_DIGITS_36 && isDigit(); ++i, ++at) {
            first = first * radix + DIGITS[*at];
        }
    }
    Bits value = first;
    for (; isDigit(); ++at) {
        const Bits digit = DIGITS[*at];
        isTooLarge |= value > (static_cast<Bits>(-1) - digit) / radix;
        value = value * radix + digit;
    }
    return value;
}

template <class Bits>
Error Read(StrView& rest, NumberRange<Bits> range, unsigned radix, Bits& value) {
    const char* at = rest.begin();
    const char* const end = rest.end();
    const bool isNegative = at != end && *at == '-';
    if (isNegative || (at != end && *at == '+')) {
        ++at;
    }
    const char* const digits = at;
    bool isTooLarge = false;
    const Bits magnitude = IsRadix(radix) ? ReadDigits<Bits>(at, end, radix, isTooLarge) : 0;
    if (at == digits || (isNegative && range.smallest == 0 && (magnitude != 0 || isTooLarge))) {
        return ERR_INVALID;
    }
    rest = {at, static_cast<std::size_t>(end - at)};
    const Bits limit = isNegative ? range.smallest : range.largest;
    isTooLarge |= magnitude > limit;
    const Bits nearest = isTooLarge ? limit : magnitude;
    value = isNegative ? 0 - nearest : nearest;
    return isTooLarge ? ERR_OVERFLOW : ERR_OK;
}

template <class Number>
Error ToNumber(StrView text, Number& value) {
    if (!text.IsEmpty() && text[0] == '+') {
        text = text.Substring(1);
        if (!text.IsEmpty() && text[0] == '-') {
            return ERR_INVALID;
        }
    }
    Number read = 0;
    if (text.IsEmpty() || !ReadDecimal(text.begin(), text.end(), read)) {
        return ERR_INVALID;
    }
    value = read;
    const char letter = text[text[0] == '-' ? 1 : 0];
    const bool isDigits = DIGITS[letter] < 10 || letter == '.';
    constexpr Number LARGEST = std::numeric_limits<Number>::max();
    return isDigits && (read > LARGEST || read < -LARGEST) ? ERR_OVERFLOW : ERR_OK;
}

} // namespace

Error Private::ReadNumber(StrView& rest, NumberRange<std::uint32_t> range, unsigned radix, std::uint32_t& value) {
    return Read(rest, range, radix, value);
}

Error Private::ReadNumber(StrView& rest, NumberRange<std::uint64_t> range, unsigned radix, std::uint64_t& value) {
    return Read(rest, range, radix, value);
}

std::size_t Private::WriteNumber(char* to, std::size_t size, std::uint64_t magnitude, bool isNegative, unsigned radix) {
    char text[1 + INTEGER_SCRATCH_SIZE];
    char* const end = text + sizeof(text);
    char* begin = end;
    if (IsRadix(radix) && radix != 10) {
        do {
            begin -= 1;
            *begin = "0123456789abcdefghijklmnopqrstuvwxyz"[magnitude % radix];
            magnitude /= radix;
        } while (magnitude != 0);
    } else {
        begin = WriteDecimal(end, magnitude);
    }
    if (isNegative) {
        *--begin = '-';
    }
    return Str::Copy(to, size, {begin, static_cast<std::size_t>(end - begin)});
}

Error Str::ToDouble(StrView text, double& value) {
    return ToNumber(text, value);
}

Error Str::ToFloat(StrView text, float& value) {
    return ToNumber(text, value);
}

} // namespace Z4
