/// @file
/// `new` and `delete` for classes that hold SIMD vectors: the language's own `new` promises them 8 bytes of alignment
/// on some compilers, and the library takes all its memory from the host.
#pragma once

#include <zelk_core/base/api.h>
#include <zelk_core/base/ealid.h>
#include <zelk_core/generics/ealallocator.h>

#include <cstddef>

namespace Z4 {

/// Mix-in, `class Box : public AlignedNew<Box>`: objects of `Derived` on the heap live in the host's memory at the
/// alignment of `Derived`. Where the host refuses, `new` gives null and constructs nothing. Construction in given
/// storage (placement) stays available. The host's tables must be installed before the first `new`.
template <class Derived>
class AlignedNew {
public:
    static void* operator new(std::size_t size) noexcept {
        return Private::AllocateFromHost(size, alignof(Derived), EAL_ID_ZELK_CORE);
    }
    static void* operator new[](std::size_t size) noexcept { return operator new(size); }
    static void* operator new(std::size_t, void* storage) noexcept { return storage; }
    static void* operator new[](std::size_t, void* storage) noexcept { return storage; }

    static void operator delete(void* object) noexcept {
        if (object != nullptr) {
            Private::FreeToHost(object);
        }
    }
    static void operator delete[](void* objects) noexcept { operator delete(objects); }
    static void operator delete(void*, void*) noexcept {}
    static void operator delete[](void*, void*) noexcept {}
};

} // namespace Z4
