/// @file
/// A vector that keeps its elements in a buffer within the object, so that a few of them take no memory from the host.
#pragma once

#include <initializer_list>
#include <utility>
#include <zelk_core/generics/vector.h>

namespace Z4 {

/// A Vector on a buffer of its own for `CAPACITY` elements; like any Vector it is used by one thread at a time. When it
/// needs more room, its elements move to memory from the host, and stay there until Reset(). Functions that work with
/// it take it as a `Vector<T>&`.
template <class T, unsigned CAPACITY, class Allocator = ZelkAllocator>
class FixedVector : public Vector<T, Allocator> {
    using Base = Vector<T, Allocator>;
    static_assert(CAPACITY != 0 && CAPACITY <= Base::MAX_CAPACITY);

public:
    FixedVector() : Base(Buffer()) {}
    FixedVector(const T* elements, unsigned count) : FixedVector() { Base::Assign(elements, count); }
    FixedVector(std::initializer_list<T> elements) : FixedVector() { Base::operator=(elements); }
    explicit FixedVector(const Base& other) : FixedVector() { Base::operator=(other); }
    /// Moves the elements of `other` here and leaves it empty. Those that fit into the buffer are moved one by one. If
    /// there are more, the vector takes over the memory that `other` owns; where they lie in a fixed buffer, they are
    /// moved one by one into memory from the host, which can be refused. Moves one by one are logged as the move
    /// assignment of Vector tells.
    explicit FixedVector(Base&& other) noexcept : FixedVector() { Base::operator=(std::move(other)); }
    FixedVector(const FixedVector& other) : FixedVector(static_cast<const Base&>(other)) {}
    FixedVector(FixedVector&& other) noexcept : FixedVector(static_cast<Base&&>(other)) {}
    ~FixedVector() = default;

    using Base::operator=;
    FixedVector& operator=(const FixedVector& other) {
        if (this != &other) {
            Base::operator=(other);
        }
        return *this;
    }
    FixedVector& operator=(FixedVector&& other) noexcept {
        Base::operator=(std::move(other));
        return *this;
    }

    /// Removes all elements, gives memory from the host back, and returns to the buffer.
    void Reset() {
        Base::Clear();
        Base::Use(Buffer());
    }

private:
    typename Base::FixedStorage Buffer() { return {m_buffer, CAPACITY}; }

    alignas(T) unsigned char m_buffer[CAPACITY * sizeof(T)];
};

} // namespace Z4
