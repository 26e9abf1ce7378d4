/// @file
/// The memory under ZelkBasicString: texts that are counted, and how room is made within one.
#pragma once

#include <new>
#include <utility>
#include <zelk_core/generics/ealallocator.h>
#include <zelk_core/generics/textalgorithms.h>
#include <zelk_core/os/atomic.h>

namespace Z4::Private {

/// A reference to a text in the host's memory, or to none, which counts as the empty text. Copies refer to the same
/// text; with the last one it is freed. Only a text with one reference is ever written to. References to one text may
/// be used by different threads, each by one at a time.
template <class Char, class Allocator>
class SharedText {
    /// Stands before the characters.
    struct Header {
        volatile unsigned references;
        unsigned size;
        unsigned capacity;
    };

public:
    static constexpr unsigned MAX_SIZE = 0x7FFFFFE0 / sizeof(Char);

    /// Places for new characters among the others.
    struct Gap {
        bool isOpen;    ///< false when memory was refused
        Char* place;    ///< the first of them
        Header* former; ///< the text before, when the new one is in other memory
    };

    constexpr SharedText() = default;
    SharedText(const SharedText& other) : m_header(other.m_header) {
        if (m_header != nullptr) {
            Atomic::Increment(m_header->references);
        }
    }
    SharedText(SharedText&& other) noexcept : m_header(std::exchange(other.m_header, nullptr)) {}
    ~SharedText() { Release(m_header); }

    // It copies before it lets go of its own: NOLINTNEXTLINE(bugprone-unhandled-self-assignment)
    SharedText& operator=(const SharedText& other) {
        SharedText(other).Swap(*this);
        return *this;
    }
    SharedText& operator=(SharedText&& other) noexcept {
        SharedText(std::move(other)).Swap(*this);
        return *this;
    }
    void Swap(SharedText& other) noexcept { std::swap(m_header, other.m_header); }

    /// With a terminator behind; never null.
    const Char* Begin() const { return m_header != nullptr ? CharactersOf(m_header) : &TERMINATOR; }
    const Char* End() const { return Begin() + Size(); }
    unsigned Size() const { return m_header != nullptr ? m_header->size : 0; }
    unsigned Capacity() const { return m_header != nullptr ? m_header->capacity : 0; }

    /// Whether there is a text, and nobody else refers to it.
    bool IsUnique() const { return m_header != nullptr && Atomic::Get(m_header->references) == 1; }
    /// For writing; the text is unique.
    Char* Edit() { return CharactersOf(m_header); }

    /// The capacity that a text gets that needs this one: it fills up the last word of its memory.
    static constexpr unsigned RoundUp(unsigned capacity) {
        constexpr unsigned PER_WORD = sizeof(unsigned) / sizeof(Char);
        return (capacity + PER_WORD) / PER_WORD * PER_WORD - 1;
    }

    /// Copies the text into memory of its own with room for `capacity` characters, Size() at least.
    /// @return false, with nothing changed, when memory is refused.
    bool Reallocate(unsigned capacity) {
        const unsigned size = Size();
        Header* const header = Create(size, capacity);
        if (header == nullptr) {
            return false;
        }
        MoveText(CharactersOf(header), Begin(), size + 1);
        Release(std::exchange(m_header, header));
        return true;
    }

    /// Replaces up to `erased` characters from `position` on by `count` places; a position beyond Size() counts as
    /// Size(). Their characters will come from `source`, if it is not null: should they be a part of this text, they
    /// stay where they are until CloseGap().
    [[nodiscard]] Gap OpenGap(unsigned position, unsigned erased, unsigned count, const Char* source) {
        const unsigned oldSize = Size();
        position = position < oldSize ? position : oldSize;
        erased = erased < oldSize - position ? erased : oldSize - position;
        const unsigned kept = oldSize - erased;
        if (count > MAX_SIZE - kept) {
            return {false, nullptr, nullptr};
        }
        if (count == 0 && erased == 0) {
            return {true, nullptr, nullptr};
        }
        const unsigned size = kept + count;
        if (size == 0) {
            return {true, nullptr, std::exchange(m_header, nullptr)};
        }
        const unsigned tail = kept - position;
        if (IsUnique() && size <= m_header->capacity && (position == oldSize || !Holds(source))) {
            Char* const place = CharactersOf(m_header) + position;
            MoveText(place + count, place + erased, tail);
            place[count + tail] = 0;
            m_header->size = size;
            return {true, place, nullptr};
        }
        Header* const header = CreateGrown(size);
        if (header == nullptr) {
            return {false, nullptr, nullptr};
        }
        Char* const place = CharactersOf(header) + position;
        MoveText(CharactersOf(header), Begin(), position);
        MoveText(place + count, Begin() + position + erased, tail);
        place[count + tail] = 0;
        return {true, place, std::exchange(m_header, header)};
    }
    /// When the places of a gap that is open have their characters.
    static void CloseGap(const Gap& gap) { Release(gap.former); }

private:
    static constexpr Char TERMINATOR = 0;

    static Char* CharactersOf(Header* header) { return reinterpret_cast<Char*>(header + 1); }

    static void Release(Header* header) {
        // Nobody can add a reference to a text that only this one refers to.
        if (header != nullptr && (Atomic::Get(header->references) == 1 || Atomic::Decrement(header->references) == 0)) {
            Allocator::Free(header);
        }
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
    /// Where the text outgrows its capacity, this grows by half at least.
    Header* CreateGrown(unsigned size) const {
        const unsigned byHalf = Capacity() + Capacity() / 2;
        return Create(size, size <= Capacity() || size > byHalf || byHalf > MAX_SIZE ? size : byHalf);
    }

    bool Holds(const Char* source) const { return source >= Begin() && source <= End(); }

    Header* m_header = nullptr;
};

} // namespace Z4::Private
