// AddressSanitizer guards the blocks here; this table only counts them.
#include "testhost.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <malloc.h>

namespace ZelkTest {

namespace {

std::atomic<std::size_t> g_blocks;
std::atomic<std::size_t> g_allocations; ///< since the last FailAllocations(), whose arguments the others are
std::atomic<std::size_t> g_first;
std::atomic<std::size_t> g_count;

void* Alloc(std::size_t size, std::size_t alignment, unsigned, int) {
    const std::size_t number = ++g_allocations;
    if (g_first != 0 && number >= g_first && number - g_first < g_count) {
        return nullptr;
    }
    void* const block = memalign(alignment, size);
    g_blocks += block != nullptr ? 1U : 0U;
    return block;
}

void Free(void* block) {
    ASSERT_NE(block, nullptr) << "The host's free() never gets null.";
    --g_blocks;
    std::free(block);
}

void* Realloc(void* block, std::size_t size, std::size_t alignment) {
    void* const grown = Alloc(size, alignment, 0, 0);
    if (grown != nullptr) {
        std::memcpy(grown, block, std::min(size, malloc_usable_size(block)));
        Free(block);
    }
    return grown;
}

} // namespace

void InstallMemory(ZelkHost::MemoryMode) {
    Z4::eal_mem_dll_interface memory{};
    memory.init = [](unsigned) { return 0; };
    memory.shutdown = [] { return 0; };
    memory.alloc = Alloc;
    memory.realloc = Realloc;
    memory.free = Free;
    memory.name_id = [](int, const char*) {};
    Z4::SetEalInterface(memory);
}

Balance OutstandingMemory() {
    return {g_blocks};
}

void FailAllocations(std::size_t first, std::size_t count) {
    g_allocations = 0;
    g_first = first;
    g_count = count;
}

} // namespace ZelkTest
