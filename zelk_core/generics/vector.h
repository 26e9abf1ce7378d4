/// @file
/// The library's dynamic array, in memory of its own or in a buffer of the caller's.
///
/// It grows by half its capacity, never by less than is needed: 1, 2, 3, 4, 6, 9, ... A vector that outgrows a fixed
/// buffer goes on in memory of its own. Pointers to elements hold until elements are moved or removed. Arguments may
/// refer to elements of the very vector that they are passed to. Elements must not throw. One thread at a time.
///
/// When the host refuses memory for growth, the vector loses its elements: they are destroyed, it is empty,
/// WasRefused() is true, Capacity() tells what was asked for, and whatever is inserted later is dropped. Assignment and
/// Clear() make it usable again, and so does a Reserve() beyond Capacity() that is granted.
#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <new>
#include <type_traits>
#include <utility>
#include <zelk_core/base/api.h>
#include <zelk_core/base/assert.h>
#include <zelk_core/generics/ealallocator.h>

namespace Z4 {

namespace Private {

/// Warns, once in the life of the library, that a move assignment moved elements one by one.
Z4_API void WarnOfExpensiveMove();

template <class Iterator, class T>
concept IteratorOver = requires(Iterator i, Iterator end) {
    ++i;
    i != end;
    requires std::is_constructible_v<T, decltype(*i)>;
};

} // namespace Private

/// @tparam T elements that can be moved; copying is needed only by the operations that copy. Trivially copyable ones
/// are relocated in bulk, others one by one, by their move constructor and their destructor.
/// @tparam Allocator an EalAllocator.
template <class T, class Allocator = ZelkAllocator>
class Vector {
public:
    using value_type = T;
    using size_type = unsigned;
    using difference_type = std::ptrdiff_t;
    using reference = T&;
    using const_reference = const T&;
    using iterator = T*;
    using const_iterator = const T*;

    /// Memory of the caller's for `capacity` elements, at most MAX_CAPACITY, aligned for them. It must outlive the
    /// vector, which never frees it.
    struct FixedStorage {
        void* memory;
        unsigned capacity;
    };

    static constexpr unsigned MAX_CAPACITY = 0x7FFFFFFF;

    /// Takes no memory.
    Vector() : m_data(Sentinel()) {}
    explicit Vector(const typename Allocator::Context&) : Vector() {}
    explicit Vector(FixedStorage storage) { Use(storage); }
    /// `count` elements that are value-initialised.
    explicit Vector(unsigned count) : Vector() { Resize(count); }
    Vector(unsigned count, const T& value) : Vector() { Resize(count, value); }
    Vector(const T* elements, unsigned count) : Vector() { Assign(elements, count); }
    Vector(std::initializer_list<T> elements) : Vector(elements.begin(), static_cast<unsigned>(elements.size())) {}
    template <Private::IteratorOver<T> Iterator>
    Vector(Iterator first, Iterator last) : Vector() {
        Append(first, last);
    }
    /// The copy has as much room as it needs.
    Vector(const Vector& other) : Vector(other.m_data, other.m_size) {}
    /// Takes over memory that `other` owns, or else moves the elements one by one. Leaves `other` empty.
    Vector(Vector&& other) noexcept : Vector() {
        if (other.IsDynamic()) {
            TakeOver(other);
        } else {
            MoveElements(other);
        }
    }
    ~Vector() {
        Destroy(m_data, m_size);
        FreeStorage();
    }

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
    /// Takes over memory that `other` owns, if this vector owned some or has too little room for the elements.
    /// Otherwise moves the elements one by one, and warns once, unless there are none. Leaves `other` empty.
    Vector& operator=(Vector&& other) noexcept {
        if (this == &other) {
            return *this;
        }
        const bool wasDynamic = IsDynamic();
        Clear();
        if (other.IsDynamic() && (wasDynamic || other.m_size > Capacity())) {
            TakeOver(other);
        } else if (other.m_size != 0) {
            Private::WarnOfExpensiveMove();
            MoveElements(other);
        }
        return *this;
    }

    unsigned Size() const { return m_size; }
    unsigned Capacity() const { return m_storage >> 1; }
    [[nodiscard]] bool IsEmpty() const { return m_size == 0; }
    /// Whether the vector owns its memory.
    bool IsDynamic() const { return (m_storage & DYNAMIC) != 0; }
    /// Whether memory was refused and elements were lost since the vector was last usable.
    [[nodiscard]] bool WasRefused() const { return m_data == Sentinel() && m_storage != 0; }

    /// Never null; to be read and written only below Size().
    T* Data() { return m_data; }
    const T* Data() const { return m_data; }
    T* begin() { return m_data; }
    const T* begin() const { return m_data; }
    T* end() { return m_data + m_size; }
    const T* end() const { return m_data + m_size; }
    /// Element `index`, which must be below Size().
    T& operator[](unsigned index) {
        Z4_ASSERT(index < m_size, "The index is below Size().");
        return m_data[index];
    }
    const T& operator[](unsigned index) const { return const_cast<Vector&>(*this)[index]; }
    /// Of a vector that is not empty.
    T& Front() { return (*this)[0]; }
    const T& Front() const { return (*this)[0]; }
    T& Back() { return (*this)[m_size - 1]; }
    const T& Back() const { return (*this)[m_size - 1]; }

    /// @return false when memory is refused.
    bool PushBack(const T& value) { return EmplaceBack(value) != nullptr; }
    bool PushBack(T&& value) { return EmplaceBack(std::move(value)) != nullptr; }
    /// Constructs an element at the end.
    /// @return the element; null when memory is refused.
    template <class... Arguments>
    T* EmplaceBack(Arguments&&... arguments) {
        if constexpr (IS_SMALL) {
            return AppendSmall(Make(std::forward<Arguments>(arguments)...));
        } else {
            if (HasRoom(1)) [[likely]] {
                Construct(m_data + m_size, std::forward<Arguments>(arguments)...);
                return m_data + m_size++;
            }
            return EmplaceBackGrowing(std::forward<Arguments>(arguments)...);
        }
    }
    /// Removes the last element of a vector that is not empty.
    void PopBack() {
        Z4_ASSERT(m_size != 0, "A vector from which an element is removed is not empty.");
        Destroy(m_data + --m_size, 1);
    }

    /// @return false when memory is refused, as from all the following.
    bool Append(const T* elements, unsigned count) {
        Insert(end(), elements, count);
        return !WasRefused();
    }
    /// `first` and `last` must not be iterators of this vector, unless they are pointers.
    template <Private::IteratorOver<T> Iterator>
    bool Append(Iterator first, Iterator last) {
        if constexpr (std::is_same_v<Iterator, T*> || std::is_same_v<Iterator, const T*>) {
            return Append(first, static_cast<unsigned>(last - first));
        } else {
            if constexpr (requires { static_cast<unsigned>(last - first); }) {
                if (!WasRefused()) {
                    ReserveGrowing(SizeWith(static_cast<unsigned>(last - first)));
                }
            }
            for (; first != last; ++first) {
                EmplaceBack(*first);
            }
            return !WasRefused();
        }
    }

    /// Constructs an element before `position`, which is one of this vector's or end().
    /// @return the element; end() when memory is refused, as from all insertions.
    template <class... Arguments>
    T* Emplace(const T* position, Arguments&&... arguments) {
        // The arguments may refer to elements that are about to move.
        T element = Make(std::forward<Arguments>(arguments)...);
        return InsertWith(position, 1, [&element](T* gap, bool) { Construct(gap, std::move(element)); });
    }
    T* Insert(const T* position, const T& value) { return Emplace(position, value); }
    T* Insert(const T* position, T&& value) { return Emplace(position, std::move(value)); }
    T* Insert(const T* position, unsigned count, const T& value) {
        const T copy(value);
        return InsertWith(position, count, [&copy, count](T* gap, bool) { Fill(gap, count, copy); });
    }
    /// Inserts copies of `count` elements, which may be null when there are none.
    /// @return the first of them, or `position` if there are none.
    T* Insert(const T* position, const T* elements, unsigned count) {
        Z4_ASSERT(elements != nullptr || count == 0, "Elements that are inserted are not null.");
        return InsertWith(position, count, [this, elements, count](T* gap, bool hasMoved) {
            if (hasMoved && elements < end() && elements + count > gap) {
                // Those of them that stood behind the gap now stand beyond it.
                const unsigned before = elements < gap ? static_cast<unsigned>(gap - elements) : 0;
                Copy(gap, elements, before);
                Copy(gap + before, elements + before + count, count - before);
            } else {
                Copy(gap, elements, count);
            }
        });
    }
    T* Insert(const T* position, std::initializer_list<T> elements) {
        return Insert(position, elements.begin(), static_cast<unsigned>(elements.size()));
    }

    /// Removes an element of this vector, or those from `first` to before `last`, and closes the gap. Their memory
    /// stays reserved.
    /// @return what now stands in the place of the first that was removed.
    T* Erase(const T* position) { return Erase(position, position + 1); }
    T* Erase(const T* first, const T* last) {
        Z4_ASSERT(m_data <= first && first <= last && last <= end(), "Elements that are removed are the vector's.");
        T* const gap = m_data + (first - m_data);
        const auto count = static_cast<unsigned>(last - first);
        Destroy(gap, count);
        Relocate(gap, gap + count, static_cast<unsigned>(end() - last));
        m_size -= count;
        return gap;
    }
    /// Puts the last element into the place of the one that is removed: quick, and changes the order.
    T* EraseUnordered(const T* position) {
        Z4_ASSERT(m_data <= position && position < end(), "Elements that are removed are the vector's.");
        T* const gap = m_data + (position - m_data);
        Destroy(gap, 1);
        --m_size;
        Relocate(gap, m_data + m_size, 1);
        return gap;
    }
    /// Removes the elements for which `predicate` is true, and keeps the order of the others.
    /// @return how many were removed.
    template <class Predicate>
    unsigned EraseIf(Predicate predicate) {
        const unsigned oldSize = m_size;
        unsigned kept = 0;
        for (unsigned i = 0; i < oldSize; ++i) {
            if (predicate(std::as_const(m_data[i]))) {
                Destroy(m_data + i, 1);
            } else {
                Relocate(m_data + kept++, m_data + i, 1);
            }
        }
        m_size = kept;
        return oldSize - kept;
    }

    /// Removes elements from the end, or adds some that are value-initialised or copies of `value`.
    bool Resize(unsigned size) {
        return ResizeWith(size, [](T* gap, unsigned count) {
            for (unsigned i = 0; i < count; ++i) {
                Construct(gap + i);
            }
        });
    }
    bool Resize(unsigned size, const T& value) {
        return ResizeWith(size, [&value](T* gap, unsigned count) { Fill(gap, count, value); });
    }
    /// Removes elements from the end until `size` are left, if there are more. Truncate(0) empties the vector and keeps
    /// its memory.
    void Truncate(unsigned size) {
        if (size < m_size) {
            Destroy(m_data + size, m_size - size);
            m_size = size;
        }
    }
    /// Empties the vector and gives back the memory that it owns. A fixed buffer stays in use.
    void Clear() {
        Truncate(0);
        if (IsDynamic() && Capacity() > 0) {
            FreeStorage();
            Forget();
        }
    }

    /// Replaces all elements by copies.
    bool Assign(const T* elements, unsigned count) {
        if (elements >= m_data && elements < end()) {
            Truncate(static_cast<unsigned>(elements - m_data) + count);
            Erase(begin(), elements);
            return true;
        }
        if (WasRefused()) {
            Clear();
        }
        if (!Reserve(count, 0, true)) {
            return false;
        }
        Copy(m_data, elements, count);
        m_size = count;
        return true;
    }

    /// Makes room for `capacity` elements, and for no more where there is too little.
    [[nodiscard]] bool Reserve(unsigned capacity) { return Reserve(capacity, m_size, true); }
    /// The same, but grows by half at least, so that it may be called again and again.
    [[nodiscard]] bool ReserveGrowing(unsigned capacity) { return Reserve(capacity, m_size, false); }
    /// Gives back the memory that the vector owns and does not need. Nothing is lost when memory is refused.
    bool ShrinkToFit() {
        if (!IsDynamic() || m_size == Capacity() || WasRefused()) {
            return !WasRefused();
        }
        if (m_size == 0) {
            Clear();
            return true;
        }
        T* const data = Allocator::template Allocate<T>(m_size);
        if (data == nullptr) {
            return false;
        }
        Relocate(data, m_data, m_size);
        ReplaceStorage(data, m_size);
        return true;
    }

    /// Exchanges what both vectors own. If one is on a fixed buffer, its elements are moved as by assignment.
    void Swap(Vector& other) noexcept {
        Vector held(std::move(other));
        other = std::move(*this);
        *this = std::move(held);
    }

    friend bool operator==(const Vector& left, const Vector& right) {
        bool equal = left.m_size == right.m_size;
        for (unsigned i = 0; equal && i < left.m_size; ++i) {
            equal = left.m_data[i] == right.m_data[i];
        }
        return equal;
    }
    /// By the first elements that differ, else by size. Needs `<` of the elements only.
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

protected:
    /// Puts a vector without storage onto a buffer.
    void Use(FixedStorage storage) {
        Z4_ASSERT(storage.capacity <= MAX_CAPACITY, "The capacity is at most MAX_CAPACITY.");
        Z4_ASSERT(storage.memory != nullptr || storage.capacity == 0, "A buffer for elements is not null.");
        Z4_ASSERT(Private::IsAligned(storage.memory, alignof(T)), "A buffer for elements is aligned for them.");
        m_storage = storage.capacity * 2;
        m_data = storage.capacity != 0 ? static_cast<T*>(storage.memory) : Sentinel();
    }

private:
    friend struct VectorLayout;

    /// The bit of the storage word that says that the memory is to be freed; the capacity stands above it.
    static constexpr std::uint32_t DYNAMIC = 1;
    /// Elements that are best kept in registers. A reference to one that is handed to a function out of line would
    /// force it into memory, in the fast path too.
    static constexpr bool IS_SMALL = std::is_trivially_copyable_v<T> && std::is_move_constructible_v<T> &&
                                     sizeof(T) <= 8 && (std::is_scalar_v<T> || alignof(T) <= 4);

    /// A vector without memory points at itself.
    T* Sentinel() const { return reinterpret_cast<T*>(const_cast<Vector*>(this)); }

    bool HasRoom(unsigned count) const { return count <= Capacity() - m_size && m_data != Sentinel(); }
    /// The size with `count` elements more; what is too large for 32 bits is too large for any memory.
    unsigned SizeWith(unsigned count) const { return count <= MAX_CAPACITY ? m_size + count : count; }

    template <class... Arguments>
    static T Make(Arguments&&... arguments) {
        if constexpr (std::is_constructible_v<T, Arguments...>) {
            return T(std::forward<Arguments>(arguments)...);
        } else {
            return T{std::forward<Arguments>(arguments)...};
        }
    }
    template <class... Arguments>
    static void Construct(T* place, Arguments&&... arguments) {
        if constexpr (std::is_constructible_v<T, Arguments...>) {
            ::new (static_cast<void*>(place)) T(std::forward<Arguments>(arguments)...);
        } else {
            ::new (static_cast<void*>(place)) T{std::forward<Arguments>(arguments)...};
        }
    }
    static void Destroy(T* elements, unsigned count) {
        if constexpr (!std::is_trivially_destructible_v<T>) {
            for (unsigned i = 0; i < count; ++i) {
                elements[i].~T();
            }
        }
    }
    static void Fill(T* gap, unsigned count, const T& value) {
        for (unsigned i = 0; i < count; ++i) {
            Construct(gap + i, value);
        }
    }
    static void Copy(T* gap, const T* elements, unsigned count) {
        if constexpr (std::is_trivially_copyable_v<T>) {
            if (count != 0) {
                std::memcpy(static_cast<void*>(gap), elements, count * sizeof(T));
            }
        } else {
            for (unsigned i = 0; i < count; ++i) {
                Construct(gap + i, elements[i]);
            }
        }
    }
    /// Moves elements to where there are none. Both places may overlap.
    static void Relocate(T* to, T* from, unsigned count) {
        if constexpr (std::is_trivially_copyable_v<T>) {
            if (count != 0) {
                std::memmove(static_cast<void*>(to), from, count * sizeof(T));
            }
        } else if (to != from) {
            const bool upwards = to < from;
            for (unsigned i = 0; i < count; ++i) {
                const unsigned element = upwards ? i : count - 1 - i;
                Construct(to + element, std::move(from[element]));
                from[element].~T();
            }
        }
    }

    void FreeStorage() {
        if (IsDynamic() && m_data != Sentinel()) {
            Allocator::Free(m_data);
        }
    }
    /// Becomes a vector without storage.
    void Forget() {
        m_storage = 0;
        m_size = 0;
        m_data = Sentinel();
    }
    void ReplaceStorage(T* data, unsigned capacity) {
        FreeStorage();
        m_storage = capacity * 2 + DYNAMIC;
        m_data = data;
    }

    /// Memory for more than the vector has room for. When it is refused, the elements are destroyed, and the storage
    /// word tells what was asked for.
    T* AllocateLarger(unsigned requested, bool exact, unsigned& capacity) {
        const unsigned grown = Capacity() + Capacity() / 2;
        capacity = exact || grown < requested ? requested : grown;
        capacity = capacity < MAX_CAPACITY ? capacity : MAX_CAPACITY;
        T* const data = requested <= MAX_CAPACITY ? Allocator::template Allocate<T>(capacity) : nullptr;
        if (data == nullptr) {
            Truncate(0);
            ReplaceStorage(Sentinel(), capacity);
        }
        return data;
    }

    /// Keeps the first `keep` elements, no more than there are, and makes room for `requested`.
    [[nodiscard]] bool Reserve(unsigned requested, unsigned keep, bool exact) {
        Truncate(keep);
        if (requested <= Capacity()) {
            return !WasRefused();
        }
        unsigned capacity;
        T* const data = AllocateLarger(requested, exact, capacity);
        if (data == nullptr) {
            return false;
        }
        Relocate(data, m_data, m_size);
        ReplaceStorage(data, capacity);
        return true;
    }

    /// Lets `construct(gap, hasMoved)` make `count` elements before `position`. They are made before the others leave
    /// the old memory, or, within the same memory, after they have moved out of the gap.
    template <class Constructor>
    T* InsertWith(const T* position, unsigned count, Constructor construct) {
        const auto index = static_cast<unsigned>(position - m_data);
        Z4_ASSERT(index <= m_size, "Elements are inserted before one of the vector's or at its end.");
        if (HasRoom(count)) {
            Relocate(m_data + index + count, m_data + index, m_size - index);
            construct(m_data + index, true);
        } else if (count != 0) {
            unsigned capacity;
            T* const data = WasRefused() ? nullptr : AllocateLarger(SizeWith(count), false, capacity);
            if (data == nullptr) {
                return end();
            }
            construct(data + index, false);
            Relocate(data, m_data, index);
            Relocate(data + index + count, m_data + index, m_size - index);
            ReplaceStorage(data, capacity);
        }
        m_size += count;
        return m_data + index;
    }

    template <class... Arguments>
    Z4_NOINLINE T* EmplaceBackGrowing(Arguments&&... arguments) {
        T* const end = InsertWith(m_data + m_size, 1,
                                  [&](T* gap, bool) { Construct(gap, std::forward<Arguments>(arguments)...); });
        return m_size != 0 ? end : nullptr;
    }

    T* AppendSmall(T value) {
        if (HasRoom(1)) [[likely]] {
            Construct(m_data + m_size, std::move(value));
            return m_data + m_size++;
        }
        return AppendSmallGrowing(std::move(value));
    }
    Z4_NOINLINE T* AppendSmallGrowing(T value) { return EmplaceBackGrowing(std::move(value)); }

    template <class Constructor>
    bool ResizeWith(unsigned size, Constructor construct) {
        if (size <= m_size) {
            Truncate(size);
        } else {
            const unsigned count = size - m_size;
            InsertWith(end(), count, [&construct, count](T* gap, bool) { construct(gap, count); });
        }
        return !WasRefused();
    }

    /// Of a vector that owns its memory. This one has none.
    void TakeOver(Vector& other) {
        m_size = other.m_size;
        m_data = other.m_data != other.Sentinel() ? other.m_data : Sentinel();
        m_storage = other.m_storage | DYNAMIC;
        other.Forget();
    }
    /// This vector is empty. What finds no room is lost.
    void MoveElements(Vector& other) {
        if (Reserve(other.m_size)) {
            Relocate(m_data, other.m_data, other.m_size);
            m_size = std::exchange(other.m_size, 0);
        }
        other.Clear();
    }

    std::uint32_t m_storage = 0; ///< the capacity twice, and DYNAMIC
    std::uint32_t m_size = 0;
    T* m_data;
};

} // namespace Z4
