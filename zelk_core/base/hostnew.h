/// @file
/// `new` and `delete` through the host's memory: for classes of the library that users may put on the heap, because
/// all its memory comes from there, and for those that hold SIMD vectors, because the language's own `new` promises
/// them no more than 8 bytes of alignment on some compilers.
#pragma once

#include <zelk_core/base/api.h>
#include <zelk_core/base/ealid.h>

#include <cstddef>

namespace Z4 {

namespace Private {

/// The host's `alloc` with its flag 0, and the host's `free`. Any thread, as far as the host allows.
[[nodiscard]] Z4_API void* AllocateFromHost(std::size_t size, std::size_t alignment, int contextId);
Z4_API void FreeToHost(void* pointer);

} // namespace Private

/// Mix-in, `class Box : public HostNew<Box>`: objects of `Derived` on the heap, and of classes derived from it, live in
/// the host's memory at the alignment of `Derived`, and any module may delete what another made. Where the host
/// refuses, `new` gives null and constructs nothing. Construction in given storage (placement) stays available. The
/// host's tables must be installed before the first `new`.
template <class Derived>
class HostNew {
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
