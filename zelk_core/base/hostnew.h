/// @file
/// `new` and `delete` through the host's memory table.
///
/// All memory of the library comes from that table, so each of its classes that users may put on the heap derives from
/// HostNew. Classes of yours that hold SIMD vectors can do so, too: the language's own `new` aligns memory to no more
/// than 8 bytes on some compilers, and those vectors need 16. For arrays of elements see generics/ealallocator.h.
#pragma once

#include <zelk_core/base/api.h>
#include <zelk_core/base/assert.h>
#include <zelk_core/base/ealid.h>

#include <cstddef>
#include <new>

namespace Z4 {

namespace Private {

/// `size` bytes from the host's `alloc`, with its flags 0, for the context with the number `contextId` (see EALId).
/// Any thread, as far as the host allows.
/// @param alignment a power of two.
/// @return null when the host refuses.
[[nodiscard]] Z4_API void* AllocateFromHost(std::size_t size, std::size_t alignment, int contextId = EAL_ID_ZELK_CORE);
/// Moves a block to `size` bytes by the host's `realloc`. It keeps what it held, as far as that fits. For the library
/// itself; not exported.
/// @param pointer what AllocateFromHost() returned, not null.
/// @return the moved block; null when the host refuses, and then the old block stays as it is.
[[nodiscard]] void* ReallocateFromHost(void* pointer, std::size_t size, std::size_t alignment);
/// Gives a block back by the host's `free`; does nothing when `pointer` is null.
Z4_API void FreeToHost(void* pointer);

} // namespace Private

/// Base class that brings `new` and `delete` along: `class Box : public HostNew<Box>`. Objects and arrays of `Derived`,
/// and of classes derived from it, then live in the host's memory, aligned as their own class asks. One module may
/// delete what another one made.
///
/// When the host refuses memory, every form of `new` gives null and constructs nothing, so test its result. Placement
/// `new` works as usual; its storage must be aligned for the class. The host's tables must be installed before the
/// first `new`, see ealinterface.h. Any thread, as far as the host allows.
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

    static void operator delete(void* object) noexcept { Private::FreeToHost(object); }
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
