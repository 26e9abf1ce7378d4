// The way to the host's tables for every room: the tables as installed, called without a test for null.
#pragma once

#include <zelk_core/base/ealid.h>
#include <zelk_core/base/ealinterface.h>

namespace Z4::Private {

extern constinit eal_mem_dll_interface g_mem;
extern constinit eal_log_dll_interface g_log;
extern constinit eal_file_dll_interface g_file;
extern constinit eal_thread_dll_interface g_thread;
extern constinit eal_net_dll_interface g_net;

inline void* MemAlloc(std::size_t size, std::size_t alignment) {
    return g_mem.alloc(size, alignment, 0, EAL_ID_ZELK_CORE);
}
inline void* MemRealloc(void* pointer, std::size_t size, std::size_t alignment) {
    return g_mem.realloc(pointer, size, alignment);
}
inline void MemFree(void* pointer) {
    g_mem.free(pointer);
}

} // namespace Z4::Private
