/// @file
/// `new` and `delete` through the host's memory: for classes of the library that users may put on the heap, because
/// all its memory comes from there, and for those that hold SIMD vectors, because the language's own `new` promises
/// them no more than 8 bytes of alignment on some compilers.
#pragma once

#include <zelk_core/base/api.h>
#include <zelk_core/base/assert.h>
#include <zelk_core/base/ealid.h>

#include <cstddef>
#include <new>

namespace Z4 {

namespace Private {

/// The host's `alloc` with its flag 0, and the host's `free`. Any thread, as far as the host allows.
[[nodiscard]] Z4_API void* AllocateFromHost(std::size_t size, std::size_t alignment, int contextId);
Z4_API void FreeToHost(void* pointer);

} // namespace Private

/// Mix-in, `class Box : public HostNew<Box>`: objects and arrays of `Derived`, and of classes derived from it, live in
/// the host's memory, aligned as their own class asks, and any module may delete what another made. Where the host
/// refuses, `new` gives null and constructs nothing; its `std::nothrow` forms do the same. Construction in given
/// storage (placement) stays available, in storage that is aligned for the class. The host's tables must be installed
/// before the first `new`.
template <class Derived>
class HostNew {
public:
    // Compilers call the plain form for every class that asks for no more than __STDCPP_DEFAULT_NEW_ALIGNMENT__, which
    // is an option of theirs. Compiled into its callers it goes by their value, never by another source file's.
    Z4_ALWAYS_INLINE static void* operator new(std::size_t size) noexcept {
        constexpr std::size_t PLAIN = __STDCPP_DEFAULT_NEW_ALIGNMENT__;
        return Allocate(size, alignof(Derived) > PLAIN ? alignof(Derived) : PLAIN);
    }
    Z4_ALWAYS_INLINE static void* operator new[](std::size_t size) noexcept { return operator new(size); }
    Z4_ALWAYS_INLINE static void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
        return operator new(size);
    }
    Z4_ALWAYS_INLINE static void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
        return operator new(size);
    }

    static void* operator new(std::size_t size, std::align_val_t alignment) noexcept {
        return Allocate(size, static_cast<std::size_t>(alignment));
    }
    static void* operator new[](std::size_t size, std::align_val_t alignment) noexcept {
        return operator new(size, alignment);
    }
    static void* operator new(std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
        return operator new(size, alignment);
    }
    static void* operator new[](std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
        return operator new(size, alignment);
    }

    static void* operator new(std::size_t, void* storage) noexcept { return Place(storage, alignof(Derived)); }
    static void* operator new[](std::size_t, void* storage) noexcept { return Place(storage, alignof(Derived)); }
    static void* operator new(std::size_t, std::align_val_t alignment, void* storage) noexcept {
        return Place(storage, static_cast<std::size_t>(alignment));
    }
    static void* operator new[](std::size_t, std::align_val_t alignment, void* storage) noexcept {
        return Place(storage, static_cast<std::size_t>(alignment));
    }

    static void operator delete(void* object) noexcept {
        if (object != nullptr) {
            Private::FreeToHost(object);
        }
    }
    static void operator delete[](void* objects) noexcept { operator delete(objects); }
    static void operator delete(void* object, std::align_val_t) noexcept { operator delete(object); }
    static void operator delete[](void* objects, std::align_val_t) noexcept { operator delete(objects); }

    // For constructors that throw, each the counterpart of an operator new above.
    static void operator delete(void* object, const std::nothrow_t&) noexcept { operator delete(object); }
    static void operator delete[](void* objects, const std::nothrow_t&) noexcept { operator delete(objects); }
    static void operator delete(void* object, std::align_val_t, const std::nothrow_t&) noexcept {
        operator delete(object);
    }
    static void operator delete[](void* objects, std::align_val_t, const std::nothrow_t&) noexcept {
        operator delete(objects);
    }
    static void operator delete(void*, void*) noexcept {}
    static void operator delete[](void*, void*) noexcept {}
    static void operator delete(void*, std::align_val_t, void*) noexcept {}
    static void operator delete[](void*, std::align_val_t, void*) noexcept {}

private:
    static void* Allocate(std::size_t size, std::size_t alignment) noexcept {
        void* const memory = Private::AllocateFromHost(size, alignment, EAL_ID_ZELK_CORE);
        Z4_ASSERT(Private::IsAligned(memory, alignment), "The host's memory is aligned as the host was asked.");
        return memory;
    }
    static void* Place(void* storage, std::size_t alignment) noexcept {
        static_cast<void>(alignment);
        Z4_ASSERT(Private::IsAligned(storage, alignment), "An object's storage is aligned for its class.");
        return storage;
    }
};

} // namespace Z4
