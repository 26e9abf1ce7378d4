/// @file
/// UTF-8 and UTF-16: from one to the other, and one character at a time.
///
/// Well-formed is what the Unicode Standard says: no overlong form, no surrogate without its partner, nothing above
/// U+10FFFF. Nothing allocates memory, and any thread may call everything at any time.
#pragma once

#include <cstddef>
#include <zelk_core/base/api.h>
#include <zelk_core/base/error.h>
#include <zelk_core/base/strview.h>

namespace Z4 {

/// The operations, all static.
class Utf {
public:
    Utf() = delete;

    /// U+FFFD, which stands for what is ill-formed.
    static constexpr char32_t REPLACEMENT = 0xFFFD;

    /// Converts `text` into `to`, room for `size` units, always with a terminator; with a `size` of 0 nothing is
    /// written, and `to` may be null. No character is cut in two. `to` and `text` do not overlap. ASCII is converted 16
    /// characters at a time.
    /// @param length receives the length that the whole result has, without the terminator.
    /// @param badAt where given, receives the position in `text` at which the first ill-formed character begins, or the
    /// size of `text`.
    /// @return ERR_CORRUPTED_DATA for ill-formed text: what stands before it is the result; else ERR_OVERFLOW when
    /// `size` is not above `length`.
    [[nodiscard]] Z4_API static Error ToUtf16(wchar_t* to, std::size_t size, StrView text, std::size_t& length,
                                              std::size_t* badAt = nullptr);
    [[nodiscard]] Z4_API static Error ToUtf8(char* to, std::size_t size, WStrView text, std::size_t& length,
                                             std::size_t* badAt = nullptr);
    /// The same for text of any quality: what is ill-formed becomes U+FFFD, one for each longest part that could begin
    /// a character, and never is ERR_CORRUPTED_DATA.
    Z4_API static Error ToUtf16Lossy(wchar_t* to, std::size_t size, StrView text, std::size_t& length);
    Z4_API static Error ToUtf8Lossy(char* to, std::size_t size, WStrView text, std::size_t& length);

    [[nodiscard]] Z4_API static bool IsValidUtf8(StrView text);

    /// Takes the first character off the front of `rest`, which is not empty. U+FFFD stands for an ill-formed one, of
    /// which the longest part is taken that could begin a character.
    Z4_API static char32_t Decode(StrView& rest);
    /// Writes a character; U+FFFD for a surrogate and for what lies above U+10FFFF.
    /// @return how many bytes it takes, 1 to 4.
    Z4_API static std::size_t Encode(char (&bytes)[4], char32_t character);

    /// The longest front part of `text` of at most `maxBytes` bytes that splits no character. Ill-formed text is cut
    /// where `maxBytes` says.
    [[nodiscard]] Z4_API static StrView Cut(StrView text, std::size_t maxBytes);
};

} // namespace Z4
