/// @file
/// The type of a primitive variable, for code that reads, shows or converts variables it knows by tag only: script
/// bindings, property editors, file formats.
#pragma once

#include <cstdint>
#include <type_traits>
#include <zelk_core/base/api.h>

namespace Z4 {

/// Numbers may be stored: they stay what they are.
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

/// A plain value. A tag that is not listed counts as VARIABLE_NONE: no size, every question answered by false.
///
/// Where an operation takes a variable's address, the variable needs no alignment.
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

    /// Of the variable itself, in bytes; that of a pointer for strings.
    constexpr unsigned int Size() const { return SIZES[m_tag]; }
    /// Of all that the variable holds, in bytes: for strings the text with its terminator (0 for a null string), else
    /// Size().
    Z4_API unsigned int Size(void* value) const;

    /// Strings are pointers, too.
    constexpr bool IsPointer() const { return m_tag >= VARIABLE_POINTER; }
    /// Signed integers and floating-point numbers.
    constexpr bool IsSigned() const { return IsFloat() || (IsInteger() && m_tag % 2 == 0); }
    /// Neither `bool` nor characters.
    constexpr bool IsInteger() const { return m_tag >= VARIABLE_INT8 && m_tag <= VARIABLE_UINT64; }
    constexpr bool IsFloat() const { return m_tag == VARIABLE_FLOAT || m_tag == VARIABLE_DOUBLE; }
    constexpr bool IsString() const { return m_tag >= VARIABLE_STRING; }

    /// Turns a number or character to the other byte order, in its place. Pointers and strings stay as they are, for an
    /// address means nothing to another machine, and so does null.
    Z4_API void SwapByte(void* value) const;

    /// Writes the variable as text for people, cut to `size` bytes and terminated as StrFormat::snprintf() does.
    ///
    /// - `true` or `false`; a character as itself; integers in decimal
    /// - floating-point numbers as StrFormat's `%g`: without an exponent, with at most 6 fractional digits for a float
    ///   and 9 for a double, one at least
    /// - pointers as `0x0012ABCD`
    /// - strings as their text, null as `(null)`; wide ones, and wide characters, in UTF-8, with U+FFFD for surrogates
    ///   that have no partner
    /// - VARIABLE_NONE, and any variable whose address is null, as the empty text
    ///
    /// @return the length of the complete text without terminator, stored or not.
    Z4_API int Print(char* buffer, unsigned int size, void* value) const;

private:
    static constexpr unsigned char SIZES[] = {0, 1, 1, 2, 1, 1, 2, 2, 4, 4, 8, 8, 4, 8, 4, 4, 4};

    std::uint32_t m_tag;
};

} // namespace Z4
