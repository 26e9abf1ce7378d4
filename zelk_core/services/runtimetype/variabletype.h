/// @file
/// The type of a primitive variable, for code that reads, shows or converts variables it knows by tag only: script
/// bindings, property editors, file formats.
#pragma once

#include <cstdint>
#include <type_traits>
#include <zelk_core/base/api.h>
#include <zelk_core/base/layout.h>

namespace Z4 {

/// The tags' numbers never change, so they may be stored in files.
enum VariableTag : unsigned int {
    VARIABLE_NONE = 0,
    VARIABLE_BOOL = 1,  ///< `bool`, one byte
    VARIABLE_CHAR = 2,  ///< `char`, a character of 8 bits
    VARIABLE_WCHAR = 3, ///< `wchar_t`, a character of 16 bits
    VARIABLE_INT8 = 4,
    VARIABLE_UINT8 = 5,
    VARIABLE_INT16 = 6,
    VARIABLE_UINT16 = 7,
    VARIABLE_INT32 = 8,
    VARIABLE_UINT32 = 9,
    VARIABLE_INT64 = 10,
    VARIABLE_UINT64 = 11,
    VARIABLE_FLOAT = 12,
    VARIABLE_DOUBLE = 13,
    VARIABLE_POINTER = 14, ///< `void*`
    VARIABLE_STRING = 15,  ///< `const char*` to a terminated text, or null
    VARIABLE_WSTRING = 16, ///< `const wchar_t*` likewise
};

/// A tag and what it tells about the variables that have it. A plain value: any thread may use a copy of its own, and
/// the operations touch nothing but the variable and the buffer that they are given.
///
///     float speed = 0.5F;
///     char text[32];
///     VariableType::Of<float>().Print(text, sizeof text, &speed); // "0.5"
///
/// A tag that is not listed above counts as VARIABLE_NONE, whose size is 0 and which answers every question by false.
/// `value` is always the variable's address, for strings that of the pointer, and needs no alignment.
class VariableType {
public:
    constexpr explicit VariableType(unsigned int tag) : m_tag(tag <= VARIABLE_WSTRING ? tag : VARIABLE_NONE) {}

    /// The type of a `T` variable; VARIABLE_NONE when there is no tag for it. Integers count by size and sign, so that
    /// `long` is VARIABLE_INT32.
    template <class T>
    static constexpr VariableType Of() {
        using Plain = std::remove_cv_t<T>;
        if constexpr (std::is_same_v<Plain, bool>) {
            return VariableType(VARIABLE_BOOL);
        } else if constexpr (std::is_same_v<Plain, char>) {
            return VariableType(VARIABLE_CHAR);
        } else if constexpr (std::is_same_v<Plain, wchar_t>) {
            return VariableType(VARIABLE_WCHAR);
        } else if constexpr (std::is_same_v<Plain, float>) {
            return VariableType(VARIABLE_FLOAT);
        } else if constexpr (std::is_same_v<Plain, double>) {
            return VariableType(VARIABLE_DOUBLE);
        } else if constexpr (std::is_integral_v<Plain>) {
            constexpr unsigned LOG_SIZE = sizeof(T) == 1 ? 0 : sizeof(T) == 2 ? 1 : sizeof(T) == 4 ? 2 : 3;
            return VariableType(VARIABLE_INT8 + 2 * LOG_SIZE + (std::is_signed_v<Plain> ? 0 : 1));
        } else if constexpr (std::is_pointer_v<Plain> && !std::is_function_v<std::remove_pointer_t<Plain>>) {
            using Pointee = std::remove_cv_t<std::remove_pointer_t<Plain>>;
            return VariableType(std::is_same_v<Pointee, char>      ? VARIABLE_STRING
                                : std::is_same_v<Pointee, wchar_t> ? VARIABLE_WSTRING
                                                                   : VARIABLE_POINTER);
        } else {
            return VariableType(VARIABLE_NONE);
        }
    }

    constexpr unsigned int GetTag() const { return m_tag; }
    friend constexpr bool operator==(const VariableType&, const VariableType&) = default;

    /// The size of the variable itself in bytes; for strings that is the size of a pointer.
    constexpr unsigned int Size() const { return SIZES[m_tag]; }
    /// The size in bytes of what the variable holds: for a string that of its text with the terminator, and 0 where the
    /// string is null; for everything else, and where `value` is null, Size().
    Z4_API unsigned int Size(void* value) const;

    /// True for pointers, strings among them.
    constexpr bool IsPointer() const { return m_tag >= VARIABLE_POINTER; }
    /// True for signed integers and for floating-point numbers.
    constexpr bool IsSigned() const { return IsFloat() || (IsInteger() && m_tag % 2 == 0); }
    /// True for the eight integers; `bool` and characters are none.
    constexpr bool IsInteger() const { return m_tag >= VARIABLE_INT8 && m_tag <= VARIABLE_UINT64; }
    constexpr bool IsFloat() const { return m_tag == VARIABLE_FLOAT || m_tag == VARIABLE_DOUBLE; }
    constexpr bool IsString() const { return m_tag >= VARIABLE_STRING; }

    /// Reverses the bytes of a number or character, in its place. Pointers and strings stay as they are, since an
    /// address means nothing to another machine. Does nothing when `value` is null.
    Z4_API void SwapByte(void* value) const;

    /// Writes the variable as text for people. The text is cut to fit `size` bytes with its terminator; with a `size`
    /// of 0, or a null `buffer`, nothing is written.
    ///
    /// - `true` or `false`; a character as itself; integers in decimal
    /// - floating-point numbers by StrFormat's conversion `g`: without an exponent, with at most 6 fractional digits
    ///   for a float and 9 for a double, one at least
    /// - pointers as `0x0012ABCD`
    /// - strings as their text, null as `(null)`; wide ones, and wide characters, in UTF-8, with U+FFFD for surrogates
    ///   that have no partner, and cut between its characters
    /// - VARIABLE_NONE, and any variable whose address is null, as the empty text
    ///
    /// @return the length of the complete text without its terminator, whether it fitted or not.
    Z4_API int Print(char* buffer, unsigned int size, void* value) const;

private:
    static constexpr unsigned char SIZES[] = {0, 1, 1, 2, 1, 1, 2, 2, 4, 4, 8, 8, 4, 8, 4, 4, 4};

    friend struct Private::Layout<VariableType>;

    std::uint32_t m_tag;
};

} // namespace Z4
