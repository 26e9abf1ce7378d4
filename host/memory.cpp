#include <algorithm>
#include <bit>
#include <cstring>
#include <host/heap.h>
#include <host/ledger.h>
#include <new>
#include <zelk_core/base/ealid.h>

namespace ZelkHost {

namespace {

// Ledger and heaps are never destroyed: blocks may be freed after the end of main.
Ledger& GetLedger() {
    static Ledger& ledger = *new Ledger;
    return ledger;
}

Heap& HeapOf(MemoryMode mode) {
    if (mode == MemoryMode::PLAIN) {
        static Heap& plain = *new PlainHeap;
        return plain;
    }
    static Heap& guardedEnd = *new GuardedHeap(GuardedHeap::Side::END);
    static Heap& guardedStart = *new GuardedHeap(GuardedHeap::Side::START);
    return mode == MemoryMode::GUARD_END ? guardedEnd : guardedStart;
}

constinit InitCount g_uses;
constinit MemoryMode g_mode = MemoryMode::PLAIN;

int Z4_CDECL Init(unsigned version) {
    g_uses.Enter([] {});
    return CheckVersion("memory", version, Z4::EAL_MEM_VERSION);
}

int Z4_CDECL Shutdown() try {
    g_uses.Leave([] { ReportLeaks(); });
    return 0;
} catch (const std::bad_alloc&) {
    return -1; // no ledger could be made, so no block was handed out
}

void* Z4_CDECL Allocate(std::size_t size, std::size_t alignment, unsigned, int id) try {
    if (!std::has_single_bit(alignment)) {
        return nullptr;
    }
    Account* const account = GetLedger().Permit(id);
    void* const pointer = account != nullptr ? HeapOf(g_mode).Allocate({size, account}, alignment) : nullptr;
    if (pointer != nullptr) {
        account->Add(size);
    }
    return pointer;
} catch (const std::bad_alloc&) {
    return nullptr; // the records, too, need memory
}

void Z4_CDECL Free(void* pointer) {
    if (pointer != nullptr) {
        const Block block = HeapOf(g_mode).Free(pointer);
        block.account->Remove(block.size);
    }
}

void* Z4_CDECL Reallocate(void* pointer, std::size_t size, std::size_t alignment) {
    if (pointer == nullptr) {
        return Allocate(size, alignment, 0, Z4::EAL_ID_VOID);
    }
    const Block block = HeapOf(g_mode).Find(pointer);
    void* const moved = Allocate(size, alignment, 0, block.account->id);
    if (moved != nullptr) {
        std::memcpy(moved, pointer, std::min(size, block.size));
        Free(pointer);
    }
    return moved;
}

void Z4_CDECL NameId(int id, const char* name) try {
    GetLedger().Name(id, name != nullptr ? name : "");
} catch (const std::bad_alloc&) {
    // Without memory for it the name is dropped: it only serves reports.
}

} // namespace

const Z4::eal_mem_dll_interface& MemoryTable() {
    static constexpr Z4::eal_mem_dll_interface TABLE{.init = Init,
                                                     .shutdown = Shutdown,
                                                     .alloc = Allocate,
                                                     .reserved3 = nullptr,
                                                     .realloc = Reallocate,
                                                     .reserved5 = nullptr,
                                                     .free = Free,
                                                     .reserved7to16 = {},
                                                     .name_id = NameId,
                                                     .reserved18 = nullptr};
    return TABLE;
}

void SetMemoryOptions(const Options& options) {
    g_mode = options.memoryMode;
}

MemoryStatistics GetMemoryStatistics(int id) {
    return GetLedger().Statistics(id);
}

std::vector<MemoryContext> GetMemoryContexts() {
    return GetLedger().Contexts();
}

std::size_t ReportLeaks() {
    return GetLedger().ReportBlocks();
}

std::size_t FailAllocations(std::size_t first, std::size_t count) {
    return GetLedger().Refuse(first, count);
}

} // namespace ZelkHost
