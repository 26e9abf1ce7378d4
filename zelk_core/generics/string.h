/// @file
/// A string whose copies share one text until one of them is changed.
///
/// Copying takes no memory and the time of one atomic increment. Strings that share a text may be used by different
/// threads, each string by one thread at a time. Texts may contain zero characters; a terminator follows always, which
/// no size counts. Sizes and positions are numbers of characters; a position above Size() counts as Size(), and a count
/// that reaches beyond the end as one to the end.
///
/// When the host refuses memory, an operation changes nothing and returns false where it returns anything: an
/// assignment keeps the former text, a constructor gives an empty string. Texts longer than MAX_SIZE are refused
/// likewise.
#pragma once

#include <compare>
#include <cstdarg>
#include <type_traits>
#include <utility>
#include <zelk_core/base/assert.h>
#include <zelk_core/base/hash.h>
#include <zelk_core/base/str.h>
#include <zelk_core/base/strformat.h>
#include <zelk_core/generics/ealallocator.h>
#include <zelk_core/generics/sharedtext.h>
#include <zelk_core/generics/textalgorithms.h>

namespace Z4 {

namespace Private {

template <class T, class Char>
concept Viewable = std::is_convertible_v<const T&, BasicStrView<Char>>;

} // namespace Private

/// A string, used by one thread at a time, also where it shares its text with strings of other threads. string.h tells
/// what positions and counts mean and what happens when memory is refused.
///
/// @tparam Char `char` or `wchar_t`.
/// @tparam Allocator an EalAllocator.
template <class Char, class Allocator = ZelkAllocator>
class ZelkBasicString {
    using Text = Private::SharedText<Char, Allocator>;

public:
    /// What operations take as a text: a terminated one (null counts as empty), a string, or a pointer and a size. It
    /// may be a part of the very string that it is passed to. A view owns nothing: do not keep one longer than its
    /// text, which no thread may change meanwhile.
    using View = BasicStrView<Char>;

    /// "To the end" as a count, "nowhere" as the answer of a search.
    static constexpr unsigned NPOS = 0xFFFFFFFF;
    static constexpr unsigned MAX_SIZE = Text::MAX_SIZE;

    /// An empty string has no memory.
    constexpr ZelkBasicString() = default;
    constexpr explicit ZelkBasicString(const typename Allocator::Context&) {}
    /// A copy of a terminated text; null counts as empty.
    ZelkBasicString(const Char* text) { Append(text); }
    /// @param text may be null when `size` is 0.
    ZelkBasicString(const Char* text, unsigned size) { Append(View(text, size)); }
    explicit ZelkBasicString(View text) { Append(text); }
    ZelkBasicString(unsigned count, Char character) { Append(count, character); }
    /// A copy shares the text. What is moved from is empty afterwards.
    ZelkBasicString(const ZelkBasicString& other) = default;
    ZelkBasicString(ZelkBasicString&& other) noexcept = default;
    ~ZelkBasicString() = default;

    ZelkBasicString& operator=(const ZelkBasicString& other) = default;
    ZelkBasicString& operator=(ZelkBasicString&& other) noexcept = default;
    ZelkBasicString& operator=(View text) {
        Assign(text);
        return *this;
    }
    ZelkBasicString& operator=(const Char* text) { return *this = View(text); }

    /// Good until this string is changed or destroyed.
    operator View() const { return {CStr(), Size()}; }
    /// The text with its terminator, never null. Good until this string is changed or destroyed.
    const Char* CStr() const { return m_text.Begin(); }
    unsigned Size() const { return m_text.Size(); }
    [[nodiscard]] bool IsEmpty() const { return Size() == 0; }
    /// The size up to which the text grows without other memory, as long as no other string shares it.
    unsigned Capacity() const { return m_text.Capacity(); }

    const Char* begin() const { return m_text.Begin(); }
    const Char* end() const { return m_text.End(); }
    /// @param position at most Size(), where the terminator stands.
    const Char& operator[](unsigned position) const {
        Z4_ASSERT(position <= Size(), "The position is at most Size().");
        return CStr()[position];
    }
    /// The first and the last character of a string that is not empty.
    const Char& Front() const {
        Z4_ASSERT(!IsEmpty(), "A string of which a character is asked is not empty.");
        return *begin();
    }
    const Char& Back() const {
        Z4_ASSERT(!IsEmpty(), "A string of which a character is asked is not empty.");
        return end()[-1];
    }

    /// Assign() replaces the whole text, Append() adds at the end, Insert() before `position`.
    /// @return false when memory is refused or the text would be too long.
    bool Assign(View text) { return Replace(0, NPOS, text); }
    bool Append(View text) { return Replace(NPOS, 0, text); }
    bool Append(unsigned count, Char character) { return Replace(NPOS, 0, count, character); }
    bool Insert(unsigned position, View text) { return Replace(position, 0, text); }
    bool Insert(unsigned position, unsigned count, Char character) { return Replace(position, 0, count, character); }
    ZelkBasicString& operator+=(View text) {
        Append(text);
        return *this;
    }
    ZelkBasicString& operator+=(Char character) {
        Append(1, character);
        return *this;
    }
    /// Removes `count` characters from `position` on. A text that other strings share is copied for that, which can be
    /// refused memory.
    bool Erase(unsigned position, unsigned count = NPOS) { return Replace(position, count, View()); }
    /// Puts `text`, or `newCount` times `character`, in the place of `count` characters from `position` on.
    bool Replace(unsigned position, unsigned count, View text) {
        const typename Text::Gap gap = m_text.OpenGap(position, count, CountOf(text), text.Data());
        if (gap.isOpen) {
            Private::MoveText(gap.place, text.Data(), CountOf(text));
            m_text.CloseGap(gap);
        }
        return gap.isOpen;
    }
    bool Replace(unsigned position, unsigned count, unsigned newCount, Char character) {
        const typename Text::Gap gap = m_text.OpenGap(position, count, newCount, nullptr);
        if (gap.isOpen) {
            Private::FillText(gap.place, newCount, character);
            m_text.CloseGap(gap);
        }
        return gap.isOpen;
    }
    /// Cuts the text to `size` characters, or adds `character` at its end until it has as many.
    bool Resize(unsigned size, Char character = Char()) {
        return size < Size() ? Erase(size) : Append(size - Size(), character);
    }
    /// Makes the string empty and gives its memory back. Never refused.
    void Clear() { m_text = Text(); }

    /// Replaces the text by what StrFormat makes of `format`, which is checked when it is compiled (formatcheck.h). The
    /// arguments may be parts of this string.
    template <class... Arguments>
    bool Print(BasicFormatString<Char, std::type_identity_t<Arguments>...> format, Arguments... arguments) {
        bool (ZelkBasicString::*const print)(const Char*, ...) = &ZelkBasicString::Format;
        return (this->*print)(format.Get(), arguments...);
    }
    /// The same with a format that is made at run time. Compilers check a narrow literal as StrFormat::snprintf() says.
    Z4_PRINTF(2, 3)
    bool Format(const char* format, ...) requires(sizeof(Char) == 1) {
        va_list arguments;
        va_start(arguments, format);
        const bool done = FormatV(format, arguments);
        va_end(arguments);
        return done;
    }
    bool Format(const wchar_t* format, ...) requires(sizeof(Char) != 1) {
        va_list arguments;
        va_start(arguments, format);
        const bool done = FormatV(format, arguments);
        va_end(arguments);
        return done;
    }
    /// @param arguments unspecified afterwards, as after the C library's vprintf().
    bool FormatV(const Char* format, va_list arguments) {
        va_list again;
        va_copy(again, arguments);
        const int size = StrFormat::vsnprintf(static_cast<Char*>(nullptr), 0, format, again);
        va_end(again);
        Text formatted;
        const typename Text::Gap gap = formatted.OpenGap(0, 0, static_cast<unsigned>(size), nullptr);
        if (gap.isOpen) {
            StrFormat::vsnprintf(gap.place, static_cast<unsigned>(size) + 1, format, arguments);
            m_text.Swap(formatted);
        }
        return gap.isOpen;
    }

    /// Makes room for `capacity` characters or a few more, and gives this string a text of its own if others share it.
    [[nodiscard]] bool Reserve(unsigned capacity) {
        if (capacity < Size()) {
            capacity = Size();
        }
        if (capacity <= Capacity() && m_text.IsUnique()) {
            return true;
        }
        return capacity == 0 || m_text.Reallocate(capacity);
    }
    /// Gives back memory that the text does not need. A text that other strings share stays as it is.
    bool ShrinkToFit() {
        if (IsEmpty()) {
            Clear();
        }
        return !m_text.IsUnique() || Text::RoundUp(Size()) == Capacity() || m_text.Reallocate(Size());
    }
    /// The characters for writing, Size() of them, in a text that no other string shares. Good until this string is
    /// copied, changed or destroyed.
    /// @return null when the string is empty and when memory is refused.
    [[nodiscard]] Char* Edit() { return !IsEmpty() && Reserve(0) ? m_text.Edit() : nullptr; }

    /// The first position at which `text` stands, of those from `from` on; NPOS when there is none. An empty text
    /// stands at each position up to Size(); with a `from` above that, nothing is found.
    [[nodiscard]] unsigned Find(View text, unsigned from = 0) const {
        return static_cast<unsigned>(Str::Find(View(*this), text, from));
    }
    [[nodiscard]] unsigned Find(Char character, unsigned from = 0) const { return Find(View(&character, 1), from); }
    /// The last position at which `text` stands, of those up to `from`; NPOS when there is none.
    [[nodiscard]] unsigned FindLast(View text, unsigned from = NPOS) const {
        return static_cast<unsigned>(Str::FindLast(View(*this), text, from));
    }
    [[nodiscard]] unsigned FindLast(Char character, unsigned from = NPOS) const {
        return FindLast(View(&character, 1), from);
    }
    [[nodiscard]] bool Contains(View text) const { return Find(text) != NPOS; }
    [[nodiscard]] bool StartsWith(View text) const { return Str::StartsWith(View(*this), text); }
    [[nodiscard]] bool EndsWith(View text) const { return Str::EndsWith(View(*this), text); }

    /// The part of `count` characters from `position` on. The whole text is shared, a part of it is copied.
    [[nodiscard]] ZelkBasicString Substring(unsigned position, unsigned count = NPOS) const {
        const unsigned start = position < Size() ? position : Size();
        const unsigned rest = Size() - start;
        return rest == Size() && count >= rest ? *this : ZelkBasicString(CStr() + start, count < rest ? count : rest);
    }

    /// Compares by the unsigned values of the first characters that differ; of two texts that begin alike the shorter
    /// comes first.
    /// @return below, at or above 0 as this text comes before `other`, equals it, or comes after it.
    [[nodiscard]] int Compare(View other) const { return Str::Compare(View(*this), other); }
    template <class Other>
    requires Private::Viewable<Other, Char>
    friend bool operator==(const ZelkBasicString& left, const Other& right) { return View(left) == View(right); }
    template <class Other>
    requires Private::Viewable<Other, Char>
    friend std::strong_ordering operator<=>(const ZelkBasicString& left, const Other& right) {
        return View(left) <=> View(right);
    }
    /// One text behind the other; empty when memory is refused.
    template <class Other>
    requires Private::Viewable<Other, Char>
    friend ZelkBasicString operator+(const ZelkBasicString& left, const Other& right) { return Join(left, right); }
    template <class Other>
    requires(Private::Viewable<Other, Char> && !std::is_same_v<Other, ZelkBasicString>) friend ZelkBasicString
    operator+(const Other& left, const ZelkBasicString& right) {
        return Join(left, right);
    }

    /// Hash::XXH32() over the bytes of the text.
    unsigned GetHash(unsigned seed = 0) const {
        return Hash::XXH32(reinterpret_cast<const unsigned char*>(CStr()), Size() * sizeof(Char), seed);
    }

    void Swap(ZelkBasicString& other) noexcept { m_text.Swap(other.m_text); }

private:
    /// What is too long for every string stays so in 32 bits.
    static unsigned CountOf(View text) { return text.Size() < NPOS ? static_cast<unsigned>(text.Size()) : NPOS; }
    static ZelkBasicString Join(View left, View right) {
        ZelkBasicString sum;
        if (left.Size() <= MAX_SIZE && right.Size() <= MAX_SIZE && sum.Reserve(CountOf(left) + CountOf(right))) {
            sum.Append(left);
            sum.Append(right);
        }
        return sum;
    }

    Text m_text;
};

/// Strings in the memory of the library's own context.
/// @{
using ZelkString = ZelkBasicString<char>;
using ZelkWString = ZelkBasicString<wchar_t>;
/// @}

} // namespace Z4
