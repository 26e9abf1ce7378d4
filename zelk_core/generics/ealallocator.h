/// @file
/// The allocator of every container here. It takes memory from the host's table, on behalf of one context that is fixed
/// when it is compiled, so that the host can tell whose memory it is.
#pragma once

#include <zelk_core/base/api.h>
#include <zelk_core/base/assert.h>
#include <zelk_core/base/ealid.h>
#include <zelk_core/base/hostnew.h>

#include <cstddef>

namespace Z4 {

/// Memory for arrays of any type. It has no state: all allocators of one type are equal, and each frees what another
/// allocated. The host's tables must be installed before the first call, see ealinterface.h. Any thread, as far as the
/// host allows.
/// @tparam CONTEXT_ID the number of an EALId, on behalf of which the host is asked.
/// @tparam RESERVED always 0; it makes no difference.
template <int CONTEXT_ID, int RESERVED>
class EalAllocator {
public:
    /// What containers accept where they are constructed; it has no state and changes nothing, on any thread.
    class Context {};

    constexpr EalAllocator() = default;
    constexpr explicit EalAllocator(const Context&) {}

    static constexpr EALId GetId() { return EALId(CONTEXT_ID); }

    /// Memory for `count` objects of type `T`, aligned for them; none of them is constructed.
    /// @return null when the host refuses. Also when `count` is 0, or so large that the number of bytes does not fit
    /// `std::size_t`; the host is not asked then.
    template <class T>
    [[nodiscard]] static T* Allocate(std::size_t count) {
        if (count == 0 || count > static_cast<std::size_t>(-1) / sizeof(T)) {
            return nullptr;
        }
        void* const memory = Private::AllocateFromHost(count * sizeof(T), alignof(T), CONTEXT_ID);
        Z4_ASSERT(Private::IsAligned(memory, alignof(T)), "The host aligns memory as it was asked to.");
        return static_cast<T*>(memory);
    }

    /// Gives back what Allocate() returned, and destroys no object in it. Does nothing when `pointer` is null.
    static void Free(void* pointer) { Private::FreeToHost(pointer); }

    friend constexpr bool operator==(const EalAllocator&, const EalAllocator&) { return true; }
};

/// The allocator of the library's own containers.
using ZelkAllocator = EalAllocator<EAL_ID_ZELK_CORE, 0>;

} // namespace Z4
