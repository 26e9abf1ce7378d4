/// @file
/// The allocator of every container here: the host's memory table under a context fixed at compile time.
#pragma once

#include <zelk_core/base/api.h>
#include <zelk_core/base/assert.h>
#include <zelk_core/base/ealid.h>
#include <zelk_core/base/hostnew.h>

#include <cstddef>

namespace Z4 {

/// Takes memory from the host's table under `CONTEXT_ID`, the number of an EALId. `RESERVED` is 0 in every use. It has
/// no state, so all allocators of one type are equal. The tables must be installed (see ealinterface.h).
template <int CONTEXT_ID, int RESERVED>
class EalAllocator {
public:
    /// What containers accept where they are constructed; it selects nothing.
    class Context {};

    constexpr EalAllocator() = default;
    constexpr explicit EalAllocator(const Context&) {}

    static constexpr EALId GetId() { return EALId(CONTEXT_ID); }

    /// Storage for `count` objects of type `T`, not constructed.
    /// @return null when the host refuses, when `count` is 0, and when the size does not fit `std::size_t`.
    template <class T>
    [[nodiscard]] static T* Allocate(std::size_t count) {
        if (count == 0 || count > static_cast<std::size_t>(-1) / sizeof(T)) {
            return nullptr;
        }
        void* const memory = Private::AllocateFromHost(count * sizeof(T), alignof(T), CONTEXT_ID);
        Z4_ASSERT(Private::IsAligned(memory, alignof(T)), "The host aligns memory as it was asked to.");
        return static_cast<T*>(memory);
    }

    /// Gives back what Allocate() returned; null is allowed. Destroys no object.
    static void Free(void* pointer) { Private::FreeToHost(pointer); }

    friend constexpr bool operator==(const EalAllocator&, const EalAllocator&) { return true; }
};

/// The allocator of the library's own containers.
using ZelkAllocator = EalAllocator<EAL_ID_ZELK_CORE, 0>;

} // namespace Z4
