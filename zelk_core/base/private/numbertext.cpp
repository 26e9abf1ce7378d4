#include <cstdint>
#include <cstring>
#include <zelk_core/base/private/numbertext.h>

namespace Z4::Private {

namespace {

constexpr char DIGIT_PAIRS[] = "00010203040506070809101112131415161718192021222324252627282930313233343536373839"
                               "40414243444546474849505152535455565758596061626364656667686970717273747576777879"
                               "8081828384858687888990919293949596979899";

constexpr double POWERS_OF_TEN[NUMBER_FIELD_SIZE] = {
    1e0,   1e1,   1e2,   1e3,   1e4,   1e5,   1e6,   1e7,   1e8,   1e9,   1e10,  1e11,  1e12,  1e13,  1e14,  1e15,
    1e16,  1e17,  1e18,  1e19,  1e20,  1e21,  1e22,  1e23,  1e24,  1e25,  1e26,  1e27,  1e28,  1e29,  1e30,  1e31,
    1e32,  1e33,  1e34,  1e35,  1e36,  1e37,  1e38,  1e39,  1e40,  1e41,  1e42,  1e43,  1e44,  1e45,  1e46,  1e47,
    1e48,  1e49,  1e50,  1e51,  1e52,  1e53,  1e54,  1e55,  1e56,  1e57,  1e58,  1e59,  1e60,  1e61,  1e62,  1e63,
    1e64,  1e65,  1e66,  1e67,  1e68,  1e69,  1e70,  1e71,  1e72,  1e73,  1e74,  1e75,  1e76,  1e77,  1e78,  1e79,
    1e80,  1e81,  1e82,  1e83,  1e84,  1e85,  1e86,  1e87,  1e88,  1e89,  1e90,  1e91,  1e92,  1e93,  1e94,  1e95,
    1e96,  1e97,  1e98,  1e99,  1e100, 1e101, 1e102, 1e103, 1e104, 1e105, 1e106, 1e107, 1e108, 1e109, 1e110, 1e111,
    1e112, 1e113, 1e114, 1e115, 1e116, 1e117, 1e118, 1e119, 1e120, 1e121, 1e122, 1e123, 1e124, 1e125, 1e126, 1e127,
    1e128, 1e129, 1e130, 1e131, 1e132, 1e133, 1e134, 1e135, 1e136, 1e137, 1e138, 1e139, 1e140, 1e141, 1e142, 1e143,
    1e144, 1e145, 1e146, 1e147, 1e148, 1e149, 1e150, 1e151, 1e152, 1e153, 1e154, 1e155, 1e156, 1e157, 1e158, 1e159,
    1e160, 1e161, 1e162, 1e163, 1e164, 1e165, 1e166, 1e167, 1e168, 1e169, 1e170, 1e171, 1e172, 1e173, 1e174, 1e175,
    1e176, 1e177, 1e178, 1e179, 1e180, 1e181, 1e182, 1e183, 1e184, 1e185, 1e186, 1e187, 1e188, 1e189, 1e190, 1e191,
    1e192, 1e193, 1e194, 1e195, 1e196, 1e197, 1e198, 1e199, 1e200, 1e201, 1e202, 1e203, 1e204, 1e205, 1e206, 1e207,
    1e208, 1e209, 1e210, 1e211, 1e212, 1e213, 1e214, 1e215, 1e216, 1e217, 1e218, 1e219, 1e220, 1e221, 1e222, 1e223,
    1e224, 1e225, 1e226, 1e227, 1e228, 1e229, 1e230, 1e231, 1e232, 1e233, 1e234, 1e235, 1e236, 1e237, 1e238, 1e239,
    1e240, 1e241, 1e242, 1e243, 1e244, 1e245, 1e246, 1e247, 1e248, 1e249, 1e250, 1e251, 1e252, 1e253, 1e254, 1e255};

constexpr std::uint32_t CHUNK = 1000000000;
constexpr unsigned CHUNK_DIGITS = 9;

void WritePair(char* text, std::uint32_t pair) {
    std::memcpy(text, DIGIT_PAIRS + 2 * pair, 2);
}

// Exactly `count` digits, with leading zeros.
void WriteFilled(char* text, std::uint32_t value, unsigned count) {
    for (; count >= 2; value /= 100) {
        count -= 2;
        WritePair(text + count, value % 100);
    }
    if (count != 0) {
        *text = static_cast<char>('0' + value % 10);
    }
}

template <unsigned BITS_PER_DIGIT>
char* WriteBits(char* end, unsigned long long value, const char* digits) {
    constexpr unsigned MASK = (1u << BITS_PER_DIGIT) - 1;
    for (; value > UINT32_MAX; value >>= BITS_PER_DIGIT) {
        *--end = digits[value & MASK];
    }
    auto rest = static_cast<std::uint32_t>(value);
    do {
        *--end = digits[rest & MASK];
        rest >>= BITS_PER_DIGIT;
    } while (rest != 0);
    return end;
}

// Each digit is the quotient by its power of ten, clamped to one digit because the rounding errors of large values pile
// up as they are subtracted. Returns what remains below the last digit.
double WriteDigitsStepwise(char* text, double value, unsigned count) {
    for (; count != 0; ++text) {
        const double power = POWERS_OF_TEN[--count];
        const double quotient = value / power;
        const int digit = quotient >= 9 ? 9 : quotient > 0 ? static_cast<int>(quotient) : 0;
        value -= digit * power;
        *text = static_cast<char>('0' + digit);
    }
    return value;
}

// The same digits and remainder, in chunks where no step rounds: below 10^18 the quotient by a power of ten never
// rounds up to an integer, that integer's multiple of the power is representable, and the difference is exact.
double WriteDigits(char* text, double value, unsigned count) {
    if (count > 2 * CHUNK_DIGITS || value < 0 || value >= POWERS_OF_TEN[count]) {
        return WriteDigitsStepwise(text, value, count);
    }
    if (count > CHUNK_DIGITS) {
        const auto high = static_cast<std::int32_t>(value / CHUNK);
        count -= CHUNK_DIGITS;
        WriteFilled(text, static_cast<std::uint32_t>(high), count);
        text += count;
        value -= high * double{CHUNK};
        count = CHUNK_DIGITS;
    }
    const auto low = static_cast<std::int32_t>(value);
    WriteFilled(text, static_cast<std::uint32_t>(low), count);
    return value - low;
}

// Adds one to the last digit. The character before `begin` is free for a carry; returns the new begin.
char* RoundUp(char* begin, char* end) {
    for (char* digit = end - 1; digit >= begin; --digit) {
        if (*digit == '.') {
            continue;
        }
        if (*digit != '9') {
            ++*digit;
            return begin;
        }
        *digit = '0';
    }
    *--begin = '1';
    return begin;
}

} // namespace

char* WriteDecimal(char* end, unsigned long long value) {
    while (value >= CHUNK) {
        end -= CHUNK_DIGITS;
        WriteFilled(end, static_cast<std::uint32_t>(value % CHUNK), CHUNK_DIGITS);
        value /= CHUNK;
    }
    auto rest = static_cast<std::uint32_t>(value);
    for (; rest >= 100; rest /= 100) {
        end -= 2;
        WritePair(end, rest % 100);
    }
    if (rest >= 10) {
        end -= 2;
        WritePair(end, rest);
    } else {
        *--end = static_cast<char>('0' + rest);
    }
    return end;
}

char* WriteOctal(char* end, unsigned long long value) {
    return WriteBits<3>(end, value, "01234567");
}

char* WriteHexadecimal(char* end, unsigned long long value, bool upperCase) {
    return WriteBits<4>(end, value, upperCase ? "0123456789ABCDEF" : "0123456789abcdef");
}

std::string_view FixedNotation(FixedNotationArea& area, unsigned room, double value, unsigned precision) {
    unsigned integerDigits = 0;
    while (value >= POWERS_OF_TEN[integerDigits]) {
        ++integerDigits;
    }
    const unsigned integerLength = integerDigits != 0 ? integerDigits : 1;
    const unsigned pointLength = precision != 0 ? 1 : 0;
    if (precision > room || integerLength + pointLength + precision > room) {
        return {};
    }
    char* begin = area.text + 1;
    char* const point = begin + integerLength;
    char* const end = point + pointLength + precision;
    *begin = '0';
    value = WriteDigits(begin, value, integerDigits);
    if (precision != 0) {
        *point = '.';
        value = WriteDigits(point + 1, value * POWERS_OF_TEN[precision], precision);
    }
    if (value >= 0.5) {
        begin = RoundUp(begin, end);
    }
    return {begin, static_cast<std::size_t>(end - begin)};
}

} // namespace Z4::Private
