// The digits of numbers, without sign and padding: what StrFormat puts into its number fields.
#pragma once

#include <string_view>

namespace Z4::Private {

/// Digits of any 64-bit value fit, in every radix.
constexpr unsigned INTEGER_SCRATCH_SIZE = 64;

/// Each writes the digits of `value` so that they end before `end`, and returns the first; 0 is one digit.
char* WriteDecimal(char* end, unsigned long long value);
char* WriteOctal(char* end, unsigned long long value);
char* WriteHexadecimal(char* end, unsigned long long value, bool upperCase);

/// The largest value that FixedNotation renders.
constexpr double FIXED_NOTATION_LIMIT = 1e64;

/// A number field has at most so many characters, sign and prefix included, padding to the width not.
constexpr unsigned NUMBER_FIELD_SIZE = 256;

/// Room for a number in fixed notation, and for the digit that rounding may put before it.
struct FixedNotationArea {
    char text[1 + NUMBER_FIELD_SIZE];
};

/// `value` with exactly `precision` fractional digits, rounded half up; no point when `precision` is 0.
/// @param value 0 to FIXED_NOTATION_LIMIT.
/// @param room the characters it may have, at most NUMBER_FIELD_SIZE.
/// @return text in `area`, empty when the room does not suffice.
std::string_view FixedNotation(FixedNotationArea& area, unsigned room, double value, unsigned precision);

} // namespace Z4::Private
