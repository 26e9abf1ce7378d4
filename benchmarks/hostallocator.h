// The reference host's memory table as an allocator of the standard containers: what a container costs beside its peer
// shows where both have the same memory.
#pragma once

#include <cstddef>
#include <host/zelkhost.h>
#include <new>
#include <zelk_core/base/ealid.h>

namespace Bench {

inline const Z4::eal_mem_dll_interface& MEMORY = ZelkHost::MemoryTable();

template <class T>
struct HostAllocator {
    using value_type = T;

    HostAllocator() = default;
    template <class U>
    HostAllocator(const HostAllocator<U>&) {}

    T* allocate(std::size_t count) {
        void* const memory = MEMORY.alloc(count * sizeof(T), alignof(T), 0, Z4::EAL_ID_ZELK_CORE);
        return memory != nullptr ? static_cast<T*>(memory) : throw std::bad_alloc();
    }
    void deallocate(T* memory, std::size_t) { MEMORY.free(memory); }

    friend bool operator==(const HostAllocator&, const HostAllocator&) { return true; }
};

} // namespace Bench
