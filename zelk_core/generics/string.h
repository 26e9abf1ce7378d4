/// @file
/// A string whose copies share one text until one of them is changed.
///
/// Copying takes one atomic increment and no memory. Strings that share a text may be used from different threads, each
/// string from one thread at a time. Sizes and positions count characters, without the terminator that always follows.
/// A text may contain zero characters.
///
/// When the host refuses memory, an operation has no effect and answers false where it has an answer; an assignment
/// keeps the former text, a constructor gives an empty string. Texts above MAX_SIZE are refused likewise.
#pragma once

#include <compare>
#include <cstdarg>
#include <cstddef>
#include <cstring>
#include <new>
#include <utility>
#include <zelk_core/base/assert.h>
#include <zelk_core/base/hash.h>
#include <zelk_core/base/strformat.h>
#include <zelk_core/generics/ealallocator.h>
#include <zelk_core/os/atomic.h>

namespace Z4 {

namespace Private {

template <class Char>
unsigned TextLength(const Char* text) {
    if constexpr (sizeof(Char) == 1) {
        return text == nullptr ? 0 : static_cast<unsigned>(std::strlen(text));
    } else {
        unsigned length = 0;
        while (text != nullptr && text[length] != 0) {
            ++length;
        }
        return length;
    }
}

/// Below, at or above 0, by the characters' unsigned values.
template <class Char>
int CompareText(const Char* left, const Char* right, unsigned size) {
    if constexpr (sizeof(Char) == 1) {
        return size == 0 ? 0 : std::memcmp(left, right, size);
    } else {
        unsigned i = 0;
        while (i < size && left[i] == right[i]) {
            ++i;
        }
        return i == size ? 0 : left[i] < right[i] ? -1 : 1;
    }
}

/// The texts may overlap.
template <class Char>
void MoveText(Char* to, const Char* from, unsigned size) {
    if (size != 0) {
        std::memmove(to, from, size * sizeof(Char));
    }
}

/// `end` when it is not there.
template <class Char>
const Char* FindCharacter(const Char* begin, const Char* end, Char character) {
    if constexpr (sizeof(Char) == 1) {
        const void* const found = std::memchr(begin, character, static_cast<std::size_t>(end - begin));
        return found != nullptr ? static_cast<const Char*>(found) : end;
    } else {
        const Char* at = begin;
        while (at != end && *at != character) {
            ++at;
        }
        return at;
    }
}

template <class Char>
void FillText(Char* to, unsigned count, Char character) {
    for (unsigned i = 0; i < count; ++i) {
        to[i] = character;
    }
}

} // namespace Private

/// @tparam Char `char` or `wchar_t`.
/// @tparam Allocator an EalAllocator.
template <class Char, class Allocator = ZelkAllocator>
class ZelkBasicString {
public:
    /// What operations take: a terminated text (null counts as empty), a string, or a pointer and a size. It may be a
    /// part of the very string that it is passed to. It owns nothing: do not keep one longer than its text.
    class View {
    public:
        constexpr View() = default;
        View(const Char* text) : m_text(text), m_size(Private::TextLength(text)) {}
        /// `text` may be null when `size` is 0.
        constexpr View(const Char* text, unsigned size) : m_text(text), m_size(size) {
            Z4_ASSERT(text != nullptr || size == 0, "A text that is not empty is not null.");
        }
        View(const ZelkBasicString& string) : m_text(string.CStr()), m_size(string.Size()) {}

        constexpr const Char* Data() const { return m_text; }
        constexpr unsigned Size() const { return m_size; }

    private:
        const Char* m_text = nullptr;
        unsigned m_size = 0;
    };

    /// "To the end", and the answer of searches without success.
    static constexpr unsigned NPOS = 0xFFFFFFFF;
    static constexpr unsigned MAX_SIZE = 0x7FFFFFE0 / sizeof(Char);

    /// An empty string has no memory.
    constexpr ZelkBasicString() = default;
    constexpr explicit ZelkBasicString(const typename Allocator::Context&) {}
    /// A copy of a terminated text; null counts as empty.
    ZelkBasicString(const Char* text) { Append(text); }
    ZelkBasicString(const Char* text, unsigned size) { Append(View(text, size)); }
    explicit ZelkBasicString(View text) { Append(text); }
    ZelkBasicString(unsigned count, Char character) { Append(count, character); }
    /// Shares the text.
    ZelkBasicString(const ZelkBasicString& other) : m_header(other.m_header) { AddReference(m_header); }
    /// Leaves `other` empty.
    ZelkBasicString(ZelkBasicString&& other) noexcept : m_header(std::exchange(other.m_header, nullptr)) {}
    ~ZelkBasicString() { Release(m_header); }

    ZelkBasicString& operator=(const ZelkBasicString& other) {
        if (this != &other) {
            AddReference(other.m_header);
            Release(std::exchange(m_header, other.m_header));
        }
        return *this;
    }
    ZelkBasicString& operator=(ZelkBasicString&& other) noexcept {
        if (this != &other) {
            Release(std::exchange(m_header, std::exchange(other.m_header, nullptr)));
        }
        return *this;
    }
    ZelkBasicString& operator=(View text) {
        Assign(text);
        return *this;
    }
    ZelkBasicString& operator=(const Char* text) { return *this = View(text); }

    /// The text with its terminator, never null. Valid until the string is changed or destroyed.
    const Char* CStr() const { return m_header != nullptr ? TextOf(m_header) : &TERMINATOR; }
    unsigned Size() const { return m_header != nullptr ? m_header->size : 0; }
    [[nodiscard]] bool IsEmpty() const { return Size() == 0; }
    /// The size to which the text can grow without moving, as long as it is not shared.
    unsigned Capacity() const { return m_header != nullptr ? m_header->capacity : 0; }

    const Char* begin() const { return CStr(); }
    const Char* end() const { return CStr() + Size(); }
    /// @param position at most Size(), where the terminator stands.
    const Char& operator[](unsigned position) const {
        Z4_ASSERT(position <= Size(), "The position is at most Size().");
        return CStr()[position];
    }
    /// Of a string that is not empty.
    const Char& Front() const {
        Z4_ASSERT(!IsEmpty(), "A string of which a character is asked is not empty.");
        return *begin();
    }
    const Char& Back() const {
        Z4_ASSERT(!IsEmpty(), "A string of which a character is asked is not empty.");
        return end()[-1];
    }

    bool Assign(View text) { return Replace(0, NPOS, text); }
    bool Append(View text) { return Replace(NPOS, 0, text); }
    bool Append(unsigned count, Char character) { return Replace(NPOS, 0, count, character); }
    ZelkBasicString& operator+=(View text) {
        Append(text);
        return *this;
    }
    ZelkBasicString& operator+=(Char character) {
        Append(1, character);
        return *this;
    }
    /// Inserts before `position`; one past the end counts as the end.
    bool Insert(unsigned position, View text) { return Replace(position, 0, text); }
    bool Insert(unsigned position, unsigned count, Char character) { return Replace(position, 0, count, character); }
    /// Removes up to `count` characters from `position` on. Needs memory, and so can be refused, when the text is
    /// shared.
    bool Erase(unsigned position, unsigned count = NPOS) { return Replace(position, count, View()); }
    /// Puts `text` in the place of up to `count` characters from `position` on.
    bool Replace(unsigned position, unsigned count, View text) {
        Gap gap;
        if (!OpenGap(position, count, text.Size(), text.Data(), gap)) {
            return false;
        }
        Private::MoveText(gap.start, text.Data(), text.Size());
        Release(gap.former);
        return true;
    }
    bool Replace(unsigned position, unsigned count, unsigned newCount, Char character) {
        Gap gap;
        if (!OpenGap(position, count, newCount, nullptr, gap)) {
            return false;
        }
        Private::FillText(gap.start, newCount, character);
        Release(gap.former);
        return true;
    }
    /// Cuts the text to `size` characters, or fills it up to them.
    bool Resize(unsigned size, Char character = Char()) {
        return size < Size() ? Erase(size) : Append(size - Size(), character);
    }
    /// Makes the string empty and gives its memory back; never refused.
    void Clear() { Release(std::exchange(m_header, nullptr)); }

    /// Formats anew by the rules of StrFormat. The arguments may be parts of this string.
    bool Format(const Char* format, ...) {
        va_list arguments;
        va_start(arguments, format);
        const bool done = FormatV(format, arguments);
        va_end(arguments);
        return done;
    }
    /// @param arguments unspecified afterwards.
    bool FormatV(const Char* format, va_list arguments) {
        va_list again;
        va_copy(again, arguments);
        const int size = StrFormat::vsnprintf(static_cast<Char*>(nullptr), 0, format, again);
        va_end(again);
        ZelkBasicString formatted;
        Gap gap;
        if (!formatted.OpenGap(0, 0, static_cast<unsigned>(size), nullptr, gap)) {
            return false;
        }
        StrFormat::vsnprintf(gap.start, static_cast<unsigned>(size) + 1, format, arguments);
        Swap(formatted);
        return true;
    }

    /// Makes the text this string's own, with room for `capacity` characters at least and no more than it needs.
    [[nodiscard]] bool Reserve(unsigned capacity) {
        if (capacity < Size()) {
            capacity = Size();
        }
        if (capacity <= Capacity() && IsUnique()) {
            return true;
        }
        return capacity == 0 || Reallocate(capacity);
    }
    /// Gives memory back that the text does not need. A shared text stays as it is.
    bool ShrinkToFit() {
        if (IsEmpty()) {
            Clear();
        }
        return !IsUnique() || RoundUp(Size()) == Capacity() || Reallocate(Size());
    }
    /// The text for writing up to Size() characters, made this string's own. Valid until the string is copied, changed
    /// or destroyed.
    /// @return null when the string is empty and when memory is refused.
    [[nodiscard]] Char* Edit() { return !IsEmpty() && Reserve(0) ? TextOf(m_header) : nullptr; }

    /// @return the first position from `from` on at which `text` stands, or NPOS. An empty text stands everywhere up to
    /// Size().
    [[nodiscard]] unsigned Find(View text, unsigned from = 0) const {
        const unsigned size = Size();
        if (text.Size() > size || from > size - text.Size()) {
            return NPOS;
        }
        if (text.Size() == 0) {
            return from;
        }
        const Char* const behind = end() - text.Size() + 1;
        const Char* at = Private::FindCharacter(begin() + from, behind, *text.Data());
        while (at != behind && Private::CompareText(at, text.Data(), text.Size()) != 0) {
            at = Private::FindCharacter(at + 1, behind, *text.Data());
        }
        return at != behind ? static_cast<unsigned>(at - begin()) : NPOS;
    }
    [[nodiscard]] unsigned Find(Char character, unsigned from = 0) const { return Find(View(&character, 1), from); }
    /// The same from `from` backwards.
    [[nodiscard]] unsigned FindLast(View text, unsigned from = NPOS) const {
        const unsigned size = Size();
        if (text.Size() > size) {
            return NPOS;
        }
        const unsigned last = size - text.Size();
        for (unsigned i = (from < last ? from : last) + 1; i-- > 0;) {
            if (Private::CompareText(CStr() + i, text.Data(), text.Size()) == 0) {
                return i;
            }
        }
        return NPOS;
    }
    [[nodiscard]] unsigned FindLast(Char character, unsigned from = NPOS) const {
        return FindLast(View(&character, 1), from);
    }
    [[nodiscard]] bool Contains(View text) const { return Find(text) != NPOS; }
    [[nodiscard]] bool StartsWith(View text) const { return IsAt(0, text); }
    [[nodiscard]] bool EndsWith(View text) const { return IsAt(Size() - text.Size(), text); }

    /// Up to `count` characters from `position` on; the whole text is shared, not copied.
    [[nodiscard]] ZelkBasicString Substring(unsigned position, unsigned count = NPOS) const {
        const unsigned start = position < Size() ? position : Size();
        const unsigned rest = Size() - start;
        return rest == Size() && count >= rest ? *this : ZelkBasicString(CStr() + start, count < rest ? count : rest);
    }

    /// @return below, at or above 0, by the characters' unsigned values; of two texts that begin alike the shorter is
    /// the lesser.
    [[nodiscard]] int Compare(View other) const { return Compare(*this, other); }
    friend bool operator==(View left, View right) {
        return left.Size() == right.Size() &&
               (left.Data() == right.Data() || Private::CompareText(left.Data(), right.Data(), left.Size()) == 0);
    }
    friend std::strong_ordering operator<=>(View left, View right) { return Compare(left, right) <=> 0; }
    /// Empty when memory is refused.
    friend ZelkBasicString operator+(View left, View right) {
        ZelkBasicString sum;
        if (left.Size() <= MAX_SIZE && right.Size() <= MAX_SIZE && sum.Reserve(left.Size() + right.Size())) {
            sum.Append(left);
            sum.Append(right);
        }
        return sum;
    }

    /// Hash::XXH32 of the text.
    unsigned GetHash(unsigned seed = 0) const {
        return Hash::XXH32(reinterpret_cast<const unsigned char*>(CStr()), Size() * sizeof(Char), seed);
    }

    void Swap(ZelkBasicString& other) noexcept { std::swap(m_header, other.m_header); }

private:
    /// Stands before the text.
    struct Header {
        volatile unsigned references;
        unsigned size;
        unsigned capacity;
    };
    /// Where new characters go. `former` must be released once they are there, as they may come from it.
    struct Gap {
        Char* start = nullptr;
        Header* former = nullptr;
    };

    static constexpr Char TERMINATOR = 0;

    static Char* TextOf(Header* header) { return reinterpret_cast<Char*>(header + 1); }

    static void AddReference(Header* header) {
        if (header != nullptr) {
            Atomic::Increment(header->references);
        }
    }
    static void Release(Header* header) {
        // Nobody can add a reference to a text that only this string refers to.
        if (header != nullptr && (Atomic::Get(header->references) == 1 || Atomic::Decrement(header->references) == 0)) {
            Allocator::Free(header);
        }
    }
    bool IsUnique() const { return m_header != nullptr && Atomic::Get(m_header->references) == 1; }

    /// The capacity that fills up the last word of a text's memory.
    static constexpr unsigned RoundUp(unsigned capacity) {
        constexpr unsigned PER_WORD = sizeof(unsigned) / sizeof(Char);
        return (capacity + PER_WORD) / PER_WORD * PER_WORD - 1;
    }

    static Header* Create(unsigned size, unsigned capacity) {
        if (capacity > MAX_SIZE) {
            return nullptr;
        }
        const unsigned rounded = RoundUp(capacity);
        void* const memory =
            Allocator::template Allocate<unsigned>((sizeof(Header) + (rounded + 1) * sizeof(Char)) / sizeof(unsigned));
        return memory == nullptr ? nullptr : new (memory) Header{1, size, rounded};
    }

    bool Reallocate(unsigned capacity) {
        const unsigned size = Size();
        Header* const header = Create(size, capacity);
        if (header == nullptr) {
            return false;
        }
        Private::MoveText(TextOf(header), CStr(), size + 1);
        Release(std::exchange(m_header, header));
        return true;
    }

    /// Replaces up to `erased` characters from `position` on by `count` ones that are not written yet. They will come
    /// from `source`, if it is not null: then the characters there stay until the caller releases `gap.former`.
    bool OpenGap(unsigned position, unsigned erased, unsigned count, const Char* source, Gap& gap) {
        const unsigned oldSize = Size();
        position = position < oldSize ? position : oldSize;
        erased = erased < oldSize - position ? erased : oldSize - position;
        const unsigned kept = oldSize - erased;
        if (count > MAX_SIZE - kept) {
            return false;
        }
        if (count == 0 && erased == 0) {
            return true;
        }
        const unsigned size = kept + count;
        const unsigned tail = kept - position;
        if (IsUnique() && size <= m_header->capacity && (position == oldSize || !Holds(source))) {
            Char* const text = TextOf(m_header);
            gap.start = text + position;
            Private::MoveText(gap.start + count, gap.start + erased, tail);
            text[size] = 0;
            m_header->size = size;
            return true;
        }
        Header* header = nullptr;
        if (size != 0) {
            const unsigned grown = Capacity() + Capacity() / 2;
            header = Create(size, size <= Capacity() || size > grown || grown > MAX_SIZE ? size : grown);
            if (header == nullptr) {
                return false;
            }
            Char* const text = TextOf(header);
            gap.start = text + position;
            Private::MoveText(text, CStr(), position);
            Private::MoveText(gap.start + count, CStr() + position + erased, tail);
            text[size] = 0;
        }
        gap.former = std::exchange(m_header, header);
        return true;
    }

    bool Holds(const Char* source) const { return source >= begin() && source <= end(); }

    bool IsAt(unsigned position, View text) const {
        return text.Size() <= Size() && Private::CompareText(CStr() + position, text.Data(), text.Size()) == 0;
    }

    static int Compare(View left, View right) {
        const bool leftIsShorter = left.Size() < right.Size();
        const int order = Private::CompareText(left.Data(), right.Data(), leftIsShorter ? left.Size() : right.Size());
        return order != 0 ? order : leftIsShorter ? -1 : left.Size() > right.Size() ? 1 : 0;
    }

    Header* m_header = nullptr;
};

using ZelkString = ZelkBasicString<char>;
using ZelkWString = ZelkBasicString<wchar_t>;

} // namespace Z4
