/// @file
/// A vector that begins in a buffer of its own object, so that a few elements take no memory from the host.
#pragma once

#include <initializer_list>
#include <utility>
#include <zelk_core/generics/vector.h>

namespace Z4 {

/// A Vector with FixedStorage for `CAPACITY` elements inside. With more it goes on in memory from the host, and stays
/// there until Reset(). To be passed on as `Vector<T>&`.
template <class T, unsigned CAPACITY, class Allocator = ZelkAllocator>
class FixedVector : public Vector<T, Allocator> {
    using Base = Vector<T, Allocator>;
    static_assert(CAPACITY != 0 && CAPACITY <= Base::MAX_CAPACITY);

public:
    FixedVector() : Base(Buffer()) {}
    FixedVector(const T* elements, unsigned count) : FixedVector() { Base::Assign(elements, count); }
    FixedVector(std::initializer_list<T> elements) : FixedVector() { Base::operator=(elements); }
    explicit FixedVector(const Base& other) : FixedVector() { Base::operator=(other); }
    /// As the assignment: elements that fit into the buffer are moved one by one.
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

    /// Clear(), and back into the buffer.
    void Reset() {
        Base::Clear();
        Base::Use(Buffer());
    }

private:
    typename Base::FixedStorage Buffer() { return {m_buffer, CAPACITY}; }

    alignas(T) unsigned char m_buffer[CAPACITY * sizeof(T)];
};

} // namespace Z4
