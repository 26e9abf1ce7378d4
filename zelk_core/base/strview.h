/// @file
/// A view of a text that somebody else owns: how the library's functions take texts.
///
/// A view is a pointer and a size, to be passed by value; it owns nothing, so do not keep one longer than its text.
/// Texts may contain zero characters, and no terminator need follow. Sizes and positions are numbers of characters.
/// str.h holds what can be done with one.
#pragma once

#include <compare>
#include <cstddef>
#include <cstring>
#include <type_traits>
#include <zelk_core/base/api.h>
#include <zelk_core/base/assert.h>

namespace Z4 {

namespace Private {

/// The number of characters before the terminator, of which at most `limit` are looked at; 0 for null.
[[nodiscard]] Z4_API std::size_t TextLength(const char* text, std::size_t limit);
[[nodiscard]] Z4_API std::size_t TextLength(const wchar_t* text, std::size_t limit);

/// The same without a limit. Compilers know the length of a literal.
template <class Char>
[[nodiscard]] constexpr std::size_t TextLength(const Char* text) {
    if (std::is_constant_evaluated()) {
        std::size_t length = 0;
        while (text != nullptr && text[length] != 0) {
            ++length;
        }
        return length;
    }
    if constexpr (sizeof(Char) == 1) {
        if (text != nullptr && Z4_IS_CONSTANT(std::strlen(text))) {
            return std::strlen(text);
        }
    }
    return TextLength(text, static_cast<std::size_t>(-1));
}

/// Below, at or above 0 as the first text comes before, equals or comes after the second, by the characters' unsigned
/// values. A text of size 0 may be null.
template <class Char>
[[nodiscard]] constexpr int CompareText(const Char* left, const Char* right, std::size_t size) {
    if (sizeof(Char) == 1 && !std::is_constant_evaluated()) {
        return size == 0 ? 0 : std::memcmp(left, right, size);
    }
    using Value = std::make_unsigned_t<Char>;
    for (std::size_t i = 0; i < size; ++i) {
        if (left[i] != right[i]) {
            return static_cast<Value>(left[i]) < static_cast<Value>(right[i]) ? -1 : 1;
        }
    }
    return 0;
}

} // namespace Private

/// A view of a text; strview.h tells what that is. A plain value: different threads may read one at a time, and who
/// writes must be alone; the text beneath must not change meanwhile.
///
/// @tparam Char `char` or `wchar_t`.
template <class Char>
class BasicStrView {
public:
    /// "To the end" as a count, "nowhere" as the answer of a search.
    static constexpr std::size_t NPOS = static_cast<std::size_t>(-1);

    /// An empty text, whose Data() is null.
    constexpr BasicStrView() = default;
    /// Views a terminated text without its terminator; null is an empty text.
    constexpr BasicStrView(const Char* text) : m_text(text), m_size(Private::TextLength(text)) {}
    /// Views `size` characters from `text` on, which may be null when `size` is 0.
    constexpr BasicStrView(const Char* text, std::size_t size) : m_text(text), m_size(size) {
        Z4_ASSERT(text != nullptr || size == 0, "A text that is not empty is not null.");
    }

    /// The first character; may be null when the text is empty. No terminator need follow the last one.
    constexpr const Char* Data() const { return m_text; }
    /// The number of characters.
    constexpr std::size_t Size() const { return m_size; }
    [[nodiscard]] constexpr bool IsEmpty() const { return m_size == 0; }
    constexpr const Char* begin() const { return m_text; }
    constexpr const Char* end() const { return m_text + m_size; }
    /// @param position below Size().
    constexpr const Char& operator[](std::size_t position) const {
        Z4_ASSERT(position < m_size, "The position is below Size().");
        return m_text[position];
    }

    /// The part of `count` characters from `position` on. A position above Size() counts as Size(), and a count that
    /// reaches beyond the end as one to the end.
    [[nodiscard]] constexpr BasicStrView Substring(std::size_t position, std::size_t count = NPOS) const {
        const std::size_t start = position < m_size ? position : m_size;
        return {m_text + start, count < m_size - start ? count : m_size - start};
    }

    friend constexpr bool operator==(BasicStrView left, BasicStrView right) {
        return left.m_size == right.m_size && Private::CompareText(left.m_text, right.m_text, left.m_size) == 0;
    }
    /// By the unsigned values of the first characters that differ; of two texts that begin alike the shorter is less.
    friend constexpr std::strong_ordering operator<=>(BasicStrView left, BasicStrView right) {
        const std::size_t common = left.m_size < right.m_size ? left.m_size : right.m_size;
        const int order = Private::CompareText(left.m_text, right.m_text, common);
        return order != 0 ? order <=> 0 : left.m_size <=> right.m_size;
    }

private:
    const Char* m_text = nullptr;
    std::size_t m_size = 0;
};

using StrView = BasicStrView<char>;
using WStrView = BasicStrView<wchar_t>;

} // namespace Z4
