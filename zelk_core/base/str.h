/// @file
/// What can be done with texts: compare, search, cut, copy into fixed room, and read and write numbers.
///
/// Only the letters A to Z have a case, and only blank, tab, line feed, vertical tab, form feed and carriage return are
/// space: there is no locale. UTF-8 passes through unharmed, as none of its other bytes looks like one of these; utf.h
/// knows its characters. Nothing allocates memory. Any thread may call everything at any time, on texts that nobody
/// changes meanwhile.
///
/// Some functions write a text to `to`, which has room for `size` characters. They cut what does not fit and always
/// write a terminator; with a `size` of 0 they write nothing, and `to` may be null. They return the length of the whole
/// text, without the terminator, so a result of `size` or more says that it was cut.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <type_traits>
#include <zelk_core/base/api.h>
#include <zelk_core/base/error.h>
#include <zelk_core/base/strview.h>

namespace Z4 {

namespace Private {

/// The largest whole number and the smallest, the latter without its sign. Numbers are passed in as many bits as they
/// need, as two's complement.
template <class Bits>
struct NumberRange {
    Bits largest;
    Bits smallest;
};

[[nodiscard]] Z4_API Error ReadNumber(StrView& rest, NumberRange<std::uint32_t> range, unsigned radix,
                                      std::uint32_t& value);
[[nodiscard]] Z4_API Error ReadNumber(StrView& rest, NumberRange<std::uint64_t> range, unsigned radix,
                                      std::uint64_t& value);
Z4_API std::size_t WriteNumber(char* to, std::size_t size, std::uint64_t magnitude, bool isNegative, unsigned radix);

/// Whether a text is 1 to 9 decimal digits; `value` is what they say then. Compiled into callers, as most numbers are
/// so short that a call would take as long as reading them.
constexpr bool ReadShortDecimal(const char* text, std::size_t size, std::uint32_t& value) {
    if (size - 1 >= 9) {
        return false;
    }
    value = 0;
    for (std::size_t i = 0; i < size; ++i) {
        const unsigned digit = static_cast<unsigned char>(text[i]) - unsigned{'0'};
        if (digit > 9) {
            return false;
        }
        value = value * 10 + digit;
    }
    return true;
}

template <class T>
concept PlainInteger = std::is_integral_v<T> && !std::is_same_v<std::remove_cv_t<T>, bool>;

} // namespace Private

/// The operations, all static; str.h tells what all of them have in common. Any thread may call them at any time, on
/// texts that nobody changes meanwhile. An operation on wide texts does what the one before it does.
class Str {
public:
    Str() = delete;

    /// "To the end" as a count, "nowhere" as the answer of a search.
    static constexpr std::size_t NPOS = StrView::NPOS;

    /// The number of characters before the terminator, but no more than `limit`; 0 for null. It reads whole aligned
    /// blocks of 16 bytes, so bytes around the text, but never of another page.
    [[nodiscard]] static std::size_t Length(const char* text, std::size_t limit = NPOS) {
        return Private::TextLength(text, limit);
    }
    [[nodiscard]] static std::size_t Length(const wchar_t* text, std::size_t limit = NPOS) {
        return Private::TextLength(text, limit);
    }

    /// Copies a text, which may overlap `to`.
    Z4_API static std::size_t Copy(char* to, std::size_t size, StrView text);
    Z4_API static std::size_t Copy(wchar_t* to, std::size_t size, WStrView text);
    /// Copies a text behind the terminated one that stands in `to`. When no terminator stands within the `size`
    /// characters of `to`, nothing changes, and the result is `size` plus the size of `text`.
    Z4_API static std::size_t Append(char* to, std::size_t size, StrView text);
    Z4_API static std::size_t Append(wchar_t* to, std::size_t size, WStrView text);

    /// Below, at or above 0 as `left` comes before, equals or comes after `right`: by the unsigned values of the first
    /// characters that differ; of two texts that begin alike the shorter comes first. `==` and `<=>` of views are the
    /// same.
    [[nodiscard]] Z4_API static int Compare(StrView left, StrView right);
    [[nodiscard]] Z4_API static int Compare(WStrView left, WStrView right);
    /// The same as Compare() and `==`, with A to Z taken for a to z.
    [[nodiscard]] Z4_API static int CompareNoCase(StrView left, StrView right);
    [[nodiscard]] Z4_API static int CompareNoCase(WStrView left, WStrView right);
    [[nodiscard]] Z4_API static bool EqualsNoCase(StrView left, StrView right);
    [[nodiscard]] Z4_API static bool EqualsNoCase(WStrView left, WStrView right);

    /// Whether `text` begins, or ends, with `what`; every text does with an empty one.
    [[nodiscard]] static bool StartsWith(StrView text, StrView what) {
        return what.Size() <= text.Size() && text.Substring(0, what.Size()) == what;
    }
    [[nodiscard]] static bool StartsWith(WStrView text, WStrView what) {
        return what.Size() <= text.Size() && text.Substring(0, what.Size()) == what;
    }
    [[nodiscard]] static bool EndsWith(StrView text, StrView what) {
        return what.Size() <= text.Size() && text.Substring(text.Size() - what.Size()) == what;
    }
    [[nodiscard]] static bool EndsWith(WStrView text, WStrView what) {
        return what.Size() <= text.Size() && text.Substring(text.Size() - what.Size()) == what;
    }
    /// The same with A to Z taken for a to z.
    [[nodiscard]] static bool StartsWithNoCase(StrView text, StrView what) {
        return what.Size() <= text.Size() && EqualsNoCase(text.Substring(0, what.Size()), what);
    }
    [[nodiscard]] static bool EndsWithNoCase(StrView text, StrView what) {
        return what.Size() <= text.Size() && EqualsNoCase(text.Substring(text.Size() - what.Size()), what);
    }

    /// The first position, of those from `from` on, at which `what` stands; NPOS when there is none. An empty `what`
    /// stands at every position, the end of the text included. 16 bytes of positions are tested at a time, by the first
    /// and the last character of `what`. When these two agree at every position, the search takes as many steps as the
    /// product of both sizes.
    [[nodiscard]] Z4_API static std::size_t Find(StrView text, StrView what, std::size_t from = 0);
    [[nodiscard]] Z4_API static std::size_t Find(WStrView text, WStrView what, std::size_t from = 0);
    [[nodiscard]] Z4_API static std::size_t FindNoCase(StrView text, StrView what, std::size_t from = 0);
    /// The last position, of those up to `from`, at which `what` stands; NPOS when there is none.
    [[nodiscard]] Z4_API static std::size_t FindLast(StrView text, StrView what, std::size_t from = NPOS);
    [[nodiscard]] Z4_API static std::size_t FindLast(WStrView text, WStrView what, std::size_t from = NPOS);
    /// The first position, of those from `from` on, of a character that is in `set`; NPOS when there is none.
    [[nodiscard]] Z4_API static std::size_t FindAny(StrView text, StrView set, std::size_t from = 0);
    [[nodiscard]] Z4_API static std::size_t FindAny(WStrView text, WStrView set, std::size_t from = 0);

    /// What is space to Trim().
    static constexpr StrView SPACE = StrView(" \t\n\v\f\r", 6);

    /// `text` without those characters at its ends that are in `set`.
    [[nodiscard]] static StrView Trim(StrView text, StrView set = SPACE) { return TrimLeft(TrimRight(text, set), set); }
    [[nodiscard]] Z4_API static StrView TrimLeft(StrView text, StrView set = SPACE);
    [[nodiscard]] Z4_API static StrView TrimRight(StrView text, StrView set = SPACE);
    /// Takes the next part, up to the next `separator` or the end, off the front of `rest`. The text `a,,b` has three
    /// parts, of which the second is empty; an empty text has one part, which is empty. After the last part `rest`
    /// becomes a view whose Data() is null; such a view has no parts.
    ///
    ///     for (StrView rest = line, part; Str::Split(rest, ',', part);)
    ///
    /// @return false, with `part` as it was, when there is no further part.
    [[nodiscard]] Z4_API static bool Split(StrView& rest, char separator, StrView& part);

    /// Changes A to Z into a to z, or the other way round, in the `size` characters of `text`.
    Z4_API static void ToLower(char* text, std::size_t size);
    Z4_API static void ToUpper(char* text, std::size_t size);

    /// Whether `pattern` describes the whole text: in it `*` stands for any number of characters, also none, `?` stands
    /// for one character, and every other character for itself. A character is one of UTF-8; where the text is
    /// ill-formed, it is one byte. It takes at most as many steps as the product of both sizes.
    [[nodiscard]] Z4_API static bool Matches(StrView text, StrView pattern);
    [[nodiscard]] Z4_API static bool MatchesNoCase(StrView text, StrView pattern);

    /// Reads a whole number. The text consists of a sign, `+` or `-`, which may be missing, and at least one digit;
    /// letters of either case are the digits above 9. Spaces and prefixes such as `0x` are no part of a number.
    /// @param radix 2 to 36.
    /// @return ERR_OK; ERR_INVALID when the text is no such number, when it is below 0 and `T` is unsigned, and for
    /// another radix, and then `value` stays as it was; ERR_OVERFLOW when `T` cannot hold the number, and then `value`
    /// is the largest, or smallest, that it can hold.
    template <Private::PlainInteger T>
    [[nodiscard]] static Error ToInt(StrView text, T& value, unsigned radix = 10) {
        using Bits = std::make_unsigned_t<T>;
        const bool isNegative = std::is_signed_v<T> && !text.IsEmpty() && *text.begin() == '-';
        const std::size_t signs = isNegative ? 1 : 0;
        std::uint32_t magnitude = 0;
        if (radix == 10 && Private::ReadShortDecimal(text.begin() + signs, text.Size() - signs, magnitude) &&
            magnitude <= static_cast<Bits>((std::numeric_limits<T>::max)())) {
            const auto bits = static_cast<Bits>(magnitude);
            value = static_cast<T>(isNegative ? static_cast<Bits>(0 - bits) : bits);
            return ERR_OK;
        }
        T read = value;
        const Error error = ParseInt(text, read, radix);
        if (error == ERR_INVALID || !text.IsEmpty()) {
            return ERR_INVALID;
        }
        value = read;
        return error;
    }
    /// Takes the longest number off the front of `rest`, with the results of ToInt(). What follows it may be anything.
    /// After ERR_INVALID, `rest` stays as it was, too; after ERR_OVERFLOW, the number was taken off.
    template <Private::PlainInteger T>
    [[nodiscard]] static Error ParseInt(StrView& rest, T& value, unsigned radix = 10) {
        using Bits = std::conditional_t<sizeof(T) <= 4, std::uint32_t, std::uint64_t>;
        constexpr auto LARGEST = static_cast<Bits>((std::numeric_limits<T>::max)());
        Bits bits = 0;
        const Error error = Private::ReadNumber(
            rest, Private::NumberRange<Bits>{LARGEST, std::is_signed_v<T> ? LARGEST + 1 : 0}, radix, bits);
        if (error != ERR_INVALID) {
            value = static_cast<T>(bits);
        }
        return error;
    }
    /// Reads a decimal number. The text consists of a sign, which may be missing, and of digits, which may have a point
    /// among them and an exponent behind them (`-1.5e3`), or of `inf`, `infinity` or `nan` in either case. The result
    /// is the number of the type that is nearest to the text, however long that is; of two that are equally near, the
    /// one that is even (Lemire, "Number Parsing at a Gigabyte per Second", 2021). Nearest to a very small number can
    /// be 0, which is ERR_OK.
    /// @return ERR_OK; ERR_INVALID when the text is no number, and then `value` stays as it was; ERR_OVERFLOW when the
    /// number is too large for the type, and then `value` is infinite, with the number's sign.
    [[nodiscard]] Z4_API static Error ToDouble(StrView text, double& value);
    [[nodiscard]] Z4_API static Error ToFloat(StrView text, float& value);

    /// Writes a whole number without leading zeros, with lower-case letters as digits above 9. No text has more than 65
    /// characters. For floating-point numbers take StrFormat.
    /// @param radix 2 to 36; any other counts as 10.
    /// @return the length of the whole text.
    template <Private::PlainInteger T>
    static std::size_t FromInt(char* to, std::size_t size, T value, unsigned radix = 10) {
        const bool isNegative = value < T{};
        const auto bits = static_cast<std::uint64_t>(value);
        return Private::WriteNumber(to, size, isNegative ? 0 - bits : bits, isNegative, radix);
    }
};

} // namespace Z4
