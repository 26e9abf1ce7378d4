// The one place that calls the host's memory table for memory.
#include <zelk_core/base/hostnew.h>

#include <bit>
#include <zelk_core/base/private/eal.h>

namespace Z4::Private {

void* AllocateFromHost(std::size_t size, std::size_t alignment, int contextId) {
    Z4_ASSERT(std::has_single_bit(alignment), "An alignment of memory is a power of two.");
    return Z4_SLOT(g_mem.alloc)(size, alignment, 0, contextId);
}

void* ReallocateFromHost(void* pointer, std::size_t size, std::size_t alignment) {
    Z4_ASSERT(pointer != nullptr, "A block that is moved is not null.");
    Z4_ASSERT(std::has_single_bit(alignment), "An alignment of memory is a power of two.");
    return Z4_SLOT(g_mem.realloc)(pointer, size, alignment);
}

void FreeToHost(void* pointer) {
    if (pointer != nullptr) {
        Z4_SLOT(g_mem.free)(pointer);
    }
}

} // namespace Z4::Private
