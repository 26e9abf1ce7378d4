/// @file
/// The library's dynamic array, in memory of its own or in a buffer of the caller's.
///
/// A vector that needs more room grows by half its capacity, but at least to what is needed: 1, 2, 3, 4, 6, 9, ...
/// One that outgrows a fixed buffer goes on in memory of its own. Elements must not throw. A vector is used by one
/// thread at a time; several threads may read one that nobody changes.
///
/// When the host refuses memory for growth, the vector loses its elements: they are destroyed, the vector is empty,
/// WasRefused() is true, and whatever is inserted from then on is dropped. Clear(), an assignment, and a Reserve() of
/// more than Capacity() that is granted make it usable again.
///
/// Pointers to elements stay good as long as no element is inserted or removed before or at them and the vector does
/// not grow beyond Capacity(). What is passed to a vector may be one of its own elements. Between a `first` and a
/// `last` lie the elements from `first` up to the one before `last`.
#pragma once

#include <compare>
#include <cstddef>
#include <initializer_list>
#include <type_traits>
#include <utility>
#include <zelk_core/base/api.h>
#include <zelk_core/base/assert.h>
#include <zelk_core/generics/ealallocator.h>
#include <zelk_core/generics/elements.h>
#include <zelk_core/generics/vectorstorage.h>

namespace Z4 {

namespace Private {

/// Warns, once in the life of the library, that a move assignment moved elements one by one.
Z4_API void WarnOfExpensiveMove();

} // namespace Private

/// A dynamic array, used by one thread at a time; several threads may read one that nobody changes. vector.h tells how
/// it grows, when its elements are lost, and how long pointers stay good.
///
/// @tparam T elements that can be moved; those operations that copy need elements that can be copied. Elements that can
/// be copied byte by byte move that way, others by their move constructor and destructor.
/// @tparam Allocator an EalAllocator.
template <class T, class Allocator = ZelkAllocator>
class Vector : public Private::VectorStorage<T, Allocator> {
    using Storage = Private::VectorStorage<T, Allocator>;
    using Elements = Private::Elements<T>;
    using Storage::m_data;
    using Storage::m_size;
    using typename Storage::Gap;
    using typename Storage::Growth;

public:
    using value_type = T;
    using size_type = unsigned;
    using difference_type = std::ptrdiff_t;
    using reference = T&;
    using const_reference = const T&;
    using iterator = T*;
    using const_iterator = const T*;
    /// Memory of the caller's: `memory`, aligned for the elements, and the `capacity` it has room for, at most
    /// MAX_CAPACITY. It must outlive the vector, which never frees it.
    using FixedStorage = typename Storage::FixedStorage;
    static constexpr unsigned MAX_CAPACITY = Storage::MAX_CAPACITY;

    /// An empty vector takes no memory. Constructors that are refused memory give an empty one with WasRefused().
    Vector() = default;
    explicit Vector(const typename Allocator::Context&) {}
    explicit Vector(FixedStorage storage) { this->Use(storage); }
    /// `count` elements that are value-initialised: numbers are 0, pointers null.
    explicit Vector(unsigned count) { Resize(count); }
    Vector(unsigned count, const T& value) { Resize(count, value); }
    Vector(const T* elements, unsigned count) { Assign(elements, count); }
    Vector(std::initializer_list<T> elements) : Vector(elements.begin(), static_cast<unsigned>(elements.size())) {}
    template <Private::IteratorOver<T> Iterator>
    Vector(Iterator first, Iterator last) {
        Append(first, last);
    }
    /// The copy has room for its elements and no more.
    Vector(const Vector& other) : Vector(other.m_data, other.m_size) {}
    /// Takes over memory that `other` owns; from a fixed buffer the elements are moved one by one. Leaves `other`
    /// empty.
    Vector(Vector&& other) noexcept {
        if (other.IsDynamic()) {
            this->TakeOver(other);
        } else {
            MoveElements(other);
        }
    }
    ~Vector() = default;

    Vector& operator=(const Vector& other) {
        if (this != &other) {
            Assign(other.m_data, other.m_size);
        }
        return *this;
    }
    Vector& operator=(std::initializer_list<T> elements) {
        Assign(elements.begin(), static_cast<unsigned>(elements.size()));
        return *this;
    }
    /// Takes over memory that `other` owns, if this vector owns memory, too, or has too little room. Otherwise moves
    /// the elements one by one; the first time that a vector does so with any, it logs a warning. Leaves `other` empty.
    Vector& operator=(Vector&& other) noexcept {
        if (this == &other) {
            return *this;
        }
        const bool wasDynamic = IsDynamic();
        Clear();
        if (other.IsDynamic() && (wasDynamic || other.m_size > Capacity())) {
            this->TakeOver(other);
        } else if (other.m_size != 0) {
            Private::WarnOfExpensiveMove();
            MoveElements(other);
        }
        return *this;
    }

    unsigned Size() const { return m_size; }
    [[nodiscard]] bool IsEmpty() const { return m_size == 0; }
    /// How many elements there is room for, those that are there included. After a refusal it tells for how many memory
    /// was asked.
    unsigned Capacity() const { return Storage::Capacity(); }
    /// Whether the vector is on memory of its own or lost such memory by a refusal; false without memory and on a fixed
    /// buffer.
    bool IsDynamic() const { return Storage::IsDynamic(); }
    /// Whether the host refused memory, so that the elements were lost and no others are taken.
    [[nodiscard]] bool WasRefused() const { return Storage::WasRefused(); }

    /// The first element, with the others behind it. Never null; not to be followed when the vector is empty.
    T* Data() { return m_data; }
    const T* Data() const { return m_data; }
    T* begin() { return m_data; }
    const T* begin() const { return m_data; }
    T* end() { return m_data + m_size; }
    const T* end() const { return m_data + m_size; }
    /// @param index below Size().
    T& operator[](unsigned index) {
        Z4_ASSERT(index < m_size, "The index is below Size().");
        return m_data[index];
    }
    const T& operator[](unsigned index) const { return const_cast<Vector&>(*this)[index]; }
    /// The first and the last element of a vector that is not empty.
    T& Front() { return (*this)[0]; }
    const T& Front() const { return (*this)[0]; }
    T& Back() { return (*this)[m_size - 1]; }
    const T& Back() const { return (*this)[m_size - 1]; }

    /// Adds an element at the end.
    /// @return false when memory is refused.
    bool PushBack(const T& value) { return EmplaceBack(value) != nullptr; }
    bool PushBack(T&& value) { return EmplaceBack(std::move(value)) != nullptr; }
    /// Adds an element at the end that is made from `arguments`.
    /// @return the element; null when memory is refused.
    template <class... Arguments>
    T* EmplaceBack(Arguments&&... arguments) {
        if constexpr (Elements::PASS_BY_VALUE) {
            return AppendSmall(Elements::Make(std::forward<Arguments>(arguments)...));
        } else {
            if (this->HasRoom(1)) [[likely]] {
                Elements::Construct(m_data + m_size, std::forward<Arguments>(arguments)...);
                return m_data + m_size++;
            }
            return EmplaceBackGrowing(std::forward<Arguments>(arguments)...);
        }
    }
    /// Removes the last element of a vector that is not empty.
    void PopBack() {
        Z4_ASSERT(m_size != 0, "A vector from which an element is removed is not empty.");
        this->DestroyFrom(m_size - 1);
    }

    /// Adds copies of `count` elements at the end; `elements` may be null when `count` is 0.
    /// @return false when memory is refused.
    bool Append(const T* elements, unsigned count) {
        Insert(end(), elements, count);
        return !WasRefused();
    }
    /// The same with elements made from what lies between `first` and `last`. They may be pointers into this vector,
    /// but not other iterators over it.
    template <Private::IteratorOver<T> Iterator>
    bool Append(Iterator first, Iterator last) {
        if constexpr (std::is_same_v<Iterator, T*> || std::is_same_v<Iterator, const T*>) {
            return Append(first, static_cast<unsigned>(last - first));
        } else {
            if constexpr (requires { static_cast<unsigned>(last - first); }) {
                if (!WasRefused()) {
                    this->Grow(this->SizeWith(static_cast<unsigned>(last - first)), Growth::BY_HALF);
                }
            }
            for (; first != last; ++first) {
                EmplaceBack(*first);
            }
            return !WasRefused();
        }
    }

    /// Inserts before `position`, a pointer to one of the elements or end(): an element made from `arguments`, a value,
    /// `count` copies of a value, or copies of `count` elements. `elements` may be null when `count` is 0.
    /// @return the first of the new elements, or `position` when there are none; end() when memory is refused.
    template <class... Arguments>
    T* Emplace(const T* position, Arguments&&... arguments) {
        // The arguments may refer to elements that are about to move.
        T element = Elements::Make(std::forward<Arguments>(arguments)...);
        return FillGap(position, 1, [&](const Gap& gap) { Elements::Construct(gap.place, std::move(element)); });
    }
    T* Insert(const T* position, const T& value) { return Emplace(position, value); }
    T* Insert(const T* position, T&& value) { return Emplace(position, std::move(value)); }
    T* Insert(const T* position, unsigned count, const T& value) {
        const T copy(value);
        return FillGap(position, count, [&](const Gap& gap) { Elements::Fill(gap.place, gap.count, copy); });
    }
    T* Insert(const T* position, const T* elements, unsigned count) {
        Z4_ASSERT(elements != nullptr || count == 0, "Elements that are inserted are not null.");
        return FillGap(position, count, [&](const Gap& gap) {
            unsigned before = count;
            if (gap.memory == nullptr && elements < end() && elements + count > gap.place) {
                // Those of them that stood behind the gap have moved up by its size.
                before = elements < gap.place ? static_cast<unsigned>(gap.place - elements) : 0;
            }
            Elements::Copy(gap.place, elements, before);
            Elements::Copy(gap.place + before, elements + before + count, count - before);
        });
    }
    T* Insert(const T* position, std::initializer_list<T> elements) {
        return Insert(position, elements.begin(), static_cast<unsigned>(elements.size()));
    }

    /// Removes the element at `position`, or those between `first` and `last`, and moves the ones behind up. Capacity()
    /// stays.
    /// @return where the first removed element was: what followed stands there now, or that is end().
    T* Erase(const T* position) { return Erase(position, position + 1); }
    T* Erase(const T* first, const T* last) {
        Z4_ASSERT(m_data <= first && first <= last && last <= end(), "Elements that are removed are the vector's.");
        T* const gap = m_data + (first - m_data);
        const auto count = static_cast<unsigned>(last - first);
        Elements::Destroy(gap, count);
        Elements::Relocate(gap, gap + count, static_cast<unsigned>(end() - last));
        m_size -= count;
        return gap;
    }
    /// Removes the element at `position` and puts the last one there: as quick in a long vector as in a short one, but
    /// it changes the order.
    /// @return `position`, where the former last element stands, or that is end().
    T* EraseUnordered(const T* position) {
        Z4_ASSERT(m_data <= position && position < end(), "Elements that are removed are the vector's.");
        T* const gap = m_data + (position - m_data);
        Elements::Destroy(gap, 1);
        --m_size;
        Elements::Relocate(gap, m_data + m_size, 1);
        return gap;
    }
    /// Removes the elements for which `predicate(const T&)` is true, and keeps the order of the others.
    /// @return how many were removed.
    template <class Predicate>
    unsigned EraseIf(Predicate predicate) {
        const unsigned oldSize = m_size;
        unsigned kept = 0;
        for (unsigned i = 0; i < oldSize; ++i) {
            if (predicate(std::as_const(m_data[i]))) {
                Elements::Destroy(m_data + i, 1);
            } else {
                Elements::Relocate(m_data + kept++, m_data + i, 1);
            }
        }
        m_size = kept;
        return oldSize - kept;
    }

    /// Removes elements from the end, or adds there some that are value-initialised or copies of `value`, until there
    /// are `size` of them.
    /// @return false when memory is refused.
    bool Resize(unsigned size) {
        return ResizeWith(size, [](const Gap& gap) {
            for (unsigned i = 0; i < gap.count; ++i) {
                Elements::Construct(gap.place + i);
            }
        });
    }
    bool Resize(unsigned size, const T& value) {
        return ResizeWith(size, [&](const Gap& gap) { Elements::Fill(gap.place, gap.count, value); });
    }
    /// Removes elements from the end until `size` are left; does nothing when there are no more than that. Capacity()
    /// stays.
    void Truncate(unsigned size) {
        if (size < m_size) {
            this->DestroyFrom(size);
        }
    }
    /// Removes all elements and gives back memory that the vector owns. A fixed buffer stays in use. After a refusal
    /// the vector is usable again.
    void Clear() {
        Truncate(0);
        if (IsDynamic()) {
            this->Release();
        }
    }

    /// Replaces all elements by copies of `count` others; `elements` may be null when `count` is 0. Where that needs
    /// more room, it takes no more than needed.
    /// @return false when memory is refused.
    bool Assign(const T* elements, unsigned count) {
        if (elements >= m_data && elements < end()) {
            Truncate(static_cast<unsigned>(elements - m_data) + count);
            Erase(begin(), elements);
            return true;
        }
        Truncate(0);
        if (WasRefused()) {
            Clear();
        }
        if (!this->Grow(count, Growth::EXACT)) {
            return false;
        }
        Elements::Copy(m_data, elements, count);
        m_size = count;
        return true;
    }

    /// Makes room for `capacity` elements in all, and for no more where there was less.
    /// @return false when memory is refused.
    [[nodiscard]] bool Reserve(unsigned capacity) { return this->Grow(capacity, Growth::EXACT); }
    /// The same, but where there was less it makes room by half more at least, so that many calls, each for a few
    /// elements more, seldom move all.
    [[nodiscard]] bool ReserveGrowing(unsigned capacity) { return this->Grow(capacity, Growth::BY_HALF); }
    /// Gives back what the vector owns of memory and does not need. A fixed buffer stays as it is.
    /// @return false, with nothing lost, when memory is refused; that is possible, as the elements move to less memory.
    bool ShrinkToFit() {
        if (!IsDynamic() || m_size == Capacity() || WasRefused()) {
            return !WasRefused();
        }
        if (m_size == 0) {
            Clear();
            return true;
        }
        return this->Shrink();
    }

    /// Exchanges what both vectors hold. A vector on a fixed buffer stays on it where the elements fit; then they are
    /// moved as by assignment, and are lost where that is refused memory.
    void Swap(Vector& other) noexcept {
        Vector held(std::move(other));
        other = std::move(*this);
        *this = std::move(held);
    }

    /// Whether both have equally many elements, all equal by `==`.
    friend bool operator==(const Vector& left, const Vector& right) {
        bool equal = left.m_size == right.m_size;
        for (unsigned i = 0; equal && i < left.m_size; ++i) {
            equal = left.m_data[i] == right.m_data[i];
        }
        return equal;
    }
    /// The first elements that differ decide; of two vectors that begin alike the shorter is the lesser. Needs nothing
    /// but `<` of the elements.
    friend std::weak_ordering operator<=>(const Vector& left, const Vector& right) {
        for (unsigned i = 0; i < left.m_size && i < right.m_size; ++i) {
            if (left.m_data[i] < right.m_data[i]) {
                return std::weak_ordering::less;
            }
            if (right.m_data[i] < left.m_data[i]) {
                return std::weak_ordering::greater;
            }
        }
        return left.m_size <=> right.m_size;
    }

private:
    /// Every insertion: `construct(const Gap&)` makes the elements.
    template <class Construct>
    T* FillGap(const T* position, unsigned count, Construct construct) {
        const auto index = static_cast<unsigned>(position - m_data);
        Z4_ASSERT(index <= m_size, "Elements are inserted before one of the vector's or at its end.");
        const Gap gap = this->OpenGap(index, count);
        if (gap.place == nullptr) {
            return end();
        }
        construct(gap);
        return this->CloseGap(gap);
    }

    template <class... Arguments>
    Z4_NOINLINE T* EmplaceBackGrowing(Arguments&&... arguments) {
        T* const element = FillGap(
            end(), 1, [&](const Gap& gap) { Elements::Construct(gap.place, std::forward<Arguments>(arguments)...); });
        return WasRefused() ? nullptr : element;
    }

    T* AppendSmall(T value) {
        if (this->HasRoom(1)) [[likely]] {
            // In this order, as an element could be this vector's size for all the compiler knows: it would read that
            // anew.
            const unsigned size = m_size;
            T* const place = m_data + size;
            m_size = size + 1;
            Elements::Construct(place, std::move(value));
            return place;
        }
        return AppendSmallGrowing(std::move(value));
    }
    Z4_NOINLINE T* AppendSmallGrowing(T value) { return EmplaceBackGrowing(std::move(value)); }

    template <class Construct>
    bool ResizeWith(unsigned size, Construct construct) {
        if (size <= m_size) {
            Truncate(size);
        } else {
            FillGap(end(), size - m_size, construct);
        }
        return !WasRefused();
    }

    /// Into this vector, which is empty. Elements that find no room are lost.
    void MoveElements(Vector& other) {
        if (Reserve(other.m_size)) {
            Elements::Relocate(m_data, other.m_data, other.m_size);
            m_size = std::exchange(other.m_size, 0);
        }
        other.Clear();
    }
};

} // namespace Z4
