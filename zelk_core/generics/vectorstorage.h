/// @file
/// The memory under a Vector: what states it has, how it grows, and how room is made within it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <zelk_core/base/assert.h>
#include <zelk_core/base/layout.h>
#include <zelk_core/generics/ealallocator.h>
#include <zelk_core/generics/elements.h>

namespace Z4::Private {

/// A Vector's three words, in one of four states:
///
/// | State   | Memory         | Capacity()         | IsDynamic() | WasRefused() | How a vector comes into it          |
/// |---------|----------------|--------------------|-------------|--------------|-------------------------------------|
/// | none    | none           | 0                  | false       | false        | construction, Clear(), being moved  |
/// | fixed   | the caller's   | of the buffer      | false       | false        | construction with a FixedStorage    |
/// | dynamic | the host's     | of that memory     | true        | false        | growth                              |
/// | refused | none           | what was asked for | true        | true         | growth that the host did not grant  |
template <class T, class Allocator>
class VectorStorage {
public:
    /// A caller's buffer.
    struct FixedStorage {
        void* memory;
        unsigned capacity;
    };

    static constexpr unsigned MAX_CAPACITY = 0x7FFFFFFF;

    VectorStorage(const VectorStorage&) = delete;
    VectorStorage& operator=(const VectorStorage&) = delete;

    unsigned Capacity() const { return m_storage >> 1; }
    bool IsDynamic() const { return (m_storage & DYNAMIC) != 0; }
    [[nodiscard]] bool WasRefused() const { return m_data == Nowhere() && m_storage != 0; }

protected:
    /// How far memory grows that is too small: to what is asked for, or by half at least.
    enum class Growth : unsigned char {
        EXACT,
        BY_HALF
    };

    /// Places for new elements among the others.
    struct Gap {
        T* place;          ///< the first of them; null when memory was refused
        T* memory;         ///< to which the others move when the gap is closed; null when they are where they belong
        unsigned capacity; ///< of `memory`
        unsigned index;
        unsigned count;
    };

    VectorStorage() : m_data(Nowhere()) {}
    ~VectorStorage() {
        Elements<T>::Destroy(m_data, m_size);
        FreeMemory();
    }

    /// What a vector without memory points to: itself, so that the pointer is never null.
    T* Nowhere() const { return reinterpret_cast<T*>(const_cast<VectorStorage*>(this)); }

    bool HasRoom(unsigned count) const { return count <= Capacity() - m_size && m_data != Nowhere(); }
    /// The size with `count` elements more; what is too large for 32 bits is too large for any memory.
    unsigned SizeWith(unsigned count) const { return count <= MAX_CAPACITY ? m_size + count : count; }

    /// Opens `count` places before the element `index`. Elements that must move to new memory stay in the old one until
    /// CloseGap(), so what the new elements are made from may refer to them; those that were in the way within their
    /// memory have moved up by `count`. Before CloseGap() every place must be given an element.
    Gap OpenGap(unsigned index, unsigned count) {
        if (count == 0 || HasRoom(count)) {
            T* const place = m_data + index;
            Elements<T>::Relocate(place + count, place, m_size - index);
            return {place, nullptr, 0, index, count};
        }
        unsigned capacity = 0;
        T* const memory = WasRefused() ? nullptr : AllocateLarger(SizeWith(count), Growth::BY_HALF, capacity);
        return {memory != nullptr ? memory + index : nullptr, memory, capacity, index, count};
    }
    /// @return the first element of the gap.
    T* CloseGap(const Gap& gap) {
        if (gap.memory != nullptr) {
            Elements<T>::Relocate(gap.memory, m_data, gap.index);
            Elements<T>::Relocate(gap.place + gap.count, m_data + gap.index, m_size - gap.index);
            ReplaceMemory(gap.memory, gap.capacity);
        }
        m_size += gap.count;
        return gap.place;
    }

    /// Makes room for `capacity` elements in all.
    /// @return false when the host refuses, or did so before and no more is asked for now.
    bool Grow(unsigned capacity, Growth growth) {
        if (capacity <= Capacity()) {
            return !WasRefused();
        }
        unsigned granted = 0;
        T* const memory = AllocateLarger(capacity, growth, granted);
        if (memory == nullptr) {
            return false;
        }
        MoveTo(memory, granted);
        return true;
    }

    /// Gives back memory that is not needed. There are elements, and their memory is dynamic.
    /// @return false, with nothing changed, when the host refuses.
    bool Shrink() {
        T* const memory = Allocator::template Allocate<T>(m_size);
        if (memory == nullptr) {
            return false;
        }
        MoveTo(memory, m_size);
        return true;
    }

    /// Goes from the state none to fixed.
    void Use(FixedStorage storage) {
        Z4_ASSERT(storage.capacity <= MAX_CAPACITY, "The capacity is at most MAX_CAPACITY.");
        Z4_ASSERT(storage.memory != nullptr || storage.capacity == 0, "A buffer for elements is not null.");
        Z4_ASSERT(IsAligned(storage.memory, alignof(T)), "A buffer for elements is aligned for them.");
        m_storage = storage.capacity * 2;
        m_data = storage.capacity != 0 ? static_cast<T*>(storage.memory) : Nowhere();
    }

    /// Goes from dynamic or refused to none; there are no elements.
    void Release() {
        FreeMemory();
        Forget();
    }

    /// Goes from none to the state of `other`, dynamic or refused, with all its elements; `other` is left with none.
    void TakeOver(VectorStorage& other) {
        m_size = other.m_size;
        m_data = other.m_data != other.Nowhere() ? other.m_data : Nowhere();
        m_storage = other.m_storage | DYNAMIC;
        other.Forget();
    }

    void DestroyFrom(unsigned index) {
        Elements<T>::Destroy(m_data + index, m_size - index);
        m_size = index;
    }

private:
    friend struct Layout<VectorStorage>;

    /// The bit of the storage word that says that the vector owns its memory; the capacity stands above it.
    static constexpr std::uint32_t DYNAMIC = 1;

    /// Memory for more than there is room for. When the host refuses, the elements are destroyed, and the state is
    /// refused.
    T* AllocateLarger(unsigned requested, Growth growth, unsigned& capacity) {
        const unsigned byHalf = Capacity() + Capacity() / 2;
        capacity = growth == Growth::EXACT || byHalf < requested ? requested : byHalf;
        capacity = capacity < MAX_CAPACITY ? capacity : MAX_CAPACITY;
        T* const memory = requested <= MAX_CAPACITY ? Allocator::template Allocate<T>(capacity) : nullptr;
        if (memory == nullptr) {
            DestroyFrom(0);
            ReplaceMemory(Nowhere(), capacity);
        }
        return memory;
    }

    void MoveTo(T* memory, unsigned capacity) {
        Elements<T>::Relocate(memory, m_data, m_size);
        ReplaceMemory(memory, capacity);
    }
    void ReplaceMemory(T* memory, unsigned capacity) {
        FreeMemory();
        m_storage = capacity * 2 + DYNAMIC;
        m_data = memory;
    }
    void FreeMemory() {
        if (IsDynamic() && m_data != Nowhere()) {
            Allocator::Free(m_data);
        }
    }
    void Forget() {
        m_storage = 0;
        m_size = 0;
        m_data = Nowhere();
    }

protected:
    std::uint32_t m_storage = 0; ///< the capacity twice, and DYNAMIC
    std::uint32_t m_size = 0;
    T* m_data;
};

} // namespace Z4::Private
