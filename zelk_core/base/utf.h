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

/// The operations, all static. Any thread may call them at any time, on texts that nobody changes meanwhile.
class Utf {
public:
    Utf() = delete;

    /// U+FFFD, which stands for what is ill-formed.
    static constexpr char32_t REPLACEMENT = 0xFFFD;

    /// Converts `text` and writes the result with a terminator to `to`, which has room for `size` units (`char` or
    /// `wchar_t`). A result that does not fit is cut, but never within a character. With a `size` of 0 nothing is
    /// written, and `to` may be null: so you learn the `length` before you take memory. `to` and `text` must not
    /// overlap. What `to` held behind the terminator may be overwritten, as ASCII is converted 16 characters at a time.
    /// @param length receives the length of the whole result, in units and without the terminator, whether it fitted or
    /// not.
    /// @param badAt may be null. Otherwise it receives the position in `text` at which the first ill-formed character
    /// begins; the size of `text` when there is none.
    /// @return ERR_CORRUPTED_DATA for ill-formed text, where the result, and `length`, are those of what stands before
    /// the first ill-formed character; otherwise ERR_OVERFLOW when the result was cut, which it is when `length` is
    /// `size` or more; otherwise ERR_OK.
    [[nodiscard]] Z4_API static Error ToUtf16(wchar_t* to, std::size_t size, StrView text, std::size_t& length,
                                              std::size_t* badAt = nullptr);
    [[nodiscard]] Z4_API static Error ToUtf8(char* to, std::size_t size, WStrView text, std::size_t& length,
                                             std::size_t* badAt = nullptr);
    /// The same for text that may be ill-formed: each maximal ill-formed part of it (the Unicode Standard, section 3.9:
    /// the longest piece that could begin a character, or else one unit) becomes one U+FFFD.
    /// @return ERR_OVERFLOW when the result was cut, as above; otherwise ERR_OK.
    Z4_API static Error ToUtf16Lossy(wchar_t* to, std::size_t size, StrView text, std::size_t& length);
    Z4_API static Error ToUtf8Lossy(char* to, std::size_t size, WStrView text, std::size_t& length);

    /// Whether the whole text is well-formed UTF-8; an empty one is.
    [[nodiscard]] Z4_API static bool IsValidUtf8(StrView text);

    /// Takes the first character off the front of `rest`, which must not be empty, and returns it. Where `rest` begins
    /// ill-formed, the maximal ill-formed part is taken off, and the result is U+FFFD.
    Z4_API static char32_t Decode(StrView& rest);
    /// Writes a character as UTF-8, without a terminator; U+FFFD in the place of a surrogate and of what lies above
    /// U+10FFFF.
    /// @return how many bytes were written, 1 to 4.
    Z4_API static std::size_t Encode(char (&bytes)[4], char32_t character);

    /// The longest beginning of `text` that has at most `maxBytes` bytes and splits no character. Where the text is
    /// ill-formed at the cut, it has `maxBytes` bytes.
    [[nodiscard]] Z4_API static StrView Cut(StrView text, std::size_t maxBytes);
};

} // namespace Z4
