#include <zelk_core/base/hostnew.h>

#include <zelk_core/base/private/eal.h>

namespace Z4::Private {

void* AllocateFromHost(std::size_t size, std::size_t alignment, int contextId) {
    return Z4_SLOT(g_mem.alloc)(size, alignment, 0, contextId);
}

void FreeToHost(void* pointer) {
    Z4_SLOT(g_mem.free)(pointer);
}

} // namespace Z4::Private
