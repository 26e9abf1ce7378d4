#include <algorithm>
#include <bit>
#include <cstring>
#include <host/heap.h>
#include <map>
#include <new>
#include <utility>
#include <zelk_core/base/ealid.h>

namespace ZelkHost {

namespace {

/// Who holds how much, and which allocations are to be refused.
class Ledger {
public:
    /// Opens the context and answers whether an allocation may go on.
    bool Permit(int id) {
        const std::lock_guard guard(m_lock);
        Open(id);
        if (m_untilRefusal > 1) {
            --m_untilRefusal;
        } else if (m_refusalsLeft != 0) {
            --m_refusalsLeft;
            ++m_refused;
            return false;
        }
        return true;
    }

    void Add(const Block& block) {
        const std::lock_guard guard(m_lock);
        MemoryStatistics& statistics = m_contexts.find(block.id)->second.statistics;
        ++statistics.blocks;
        ++statistics.allocations;
        statistics.bytes += block.size;
        statistics.peakBytes = std::max(statistics.peakBytes, statistics.bytes);
    }

    void Remove(const Block& block) {
        const std::lock_guard guard(m_lock);
        MemoryStatistics& statistics = m_contexts.find(block.id)->second.statistics;
        --statistics.blocks;
        statistics.bytes -= block.size;
    }

    void Name(int id, const char* name) {
        const std::lock_guard guard(m_lock);
        Open(id).name = name;
    }

    /// Writes a line for each context that holds blocks; returns their number. Takes no memory.
    std::size_t ReportBlocks() {
        const std::lock_guard guard(m_lock);
        std::size_t blocks = 0;
        for (const auto& [id, context] : m_contexts) {
            if (context.statistics.blocks != 0) {
                Report("zelk_host: context 0x%08X (%s) holds %u blocks, %u bytes\n", static_cast<unsigned>(id),
                       context.name.c_str(), static_cast<unsigned>(context.statistics.blocks),
                       static_cast<unsigned>(context.statistics.bytes));
                blocks += context.statistics.blocks;
            }
        }
        return blocks;
    }

    MemoryStatistics Statistics(int id) {
        const std::lock_guard guard(m_lock);
        const auto context = m_contexts.find(id);
        return context != m_contexts.end() ? context->second.statistics : MemoryStatistics{};
    }

    std::vector<MemoryContext> Contexts() {
        const std::lock_guard guard(m_lock);
        std::vector<MemoryContext> contexts;
        for (const auto& [id, context] : m_contexts) {
            contexts.push_back(context);
        }
        return contexts;
    }

    std::size_t Refuse(std::size_t first, std::size_t count) {
        const std::lock_guard guard(m_lock);
        m_untilRefusal = first;
        m_refusalsLeft = first != 0 ? count : 0;
        return std::exchange(m_refused, 0);
    }

private:
    MemoryContext& Open(int id) { return m_contexts.try_emplace(id, MemoryContext{id, {}, {}}).first->second; }

    SlimLock m_lock;
    std::map<int, MemoryContext> m_contexts;
    std::size_t m_untilRefusal = 0;
    std::size_t m_refusalsLeft = 0;
    std::size_t m_refused = 0;
};

// Ledger and heaps are never destroyed: blocks may be freed after the end of main.
Ledger& GetLedger() {
    static Ledger& ledger = *new Ledger;
    return ledger;
}

Heap& HeapOf(MemoryMode mode) {
    static Heap& plain = *new PlainHeap;
    static Heap& guardedEnd = *new GuardedHeap(GuardedHeap::Side::END);
    static Heap& guardedStart = *new GuardedHeap(GuardedHeap::Side::START);
    switch (mode) {
    case MemoryMode::GUARD_END:
        return guardedEnd;
    case MemoryMode::GUARD_START:
        return guardedStart;
    case MemoryMode::PLAIN:
        break;
    }
    return plain;
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
    if (!std::has_single_bit(alignment) || !GetLedger().Permit(id)) {
        return nullptr;
    }
    const Block block{size, id};
    void* const pointer = HeapOf(g_mode).Allocate(block, alignment);
    if (pointer != nullptr) {
        GetLedger().Add(block);
    }
    return pointer;
} catch (const std::bad_alloc&) {
    return nullptr; // the records, too, need memory
}

void Z4_CDECL Free(void* pointer) {
    if (pointer != nullptr) {
        GetLedger().Remove(HeapOf(g_mode).Free(pointer));
    }
}

void* Z4_CDECL Reallocate(void* pointer, std::size_t size, std::size_t alignment) {
    if (pointer == nullptr) {
        return Allocate(size, alignment, 0, Z4::EAL_ID_VOID);
    }
    const Block block = HeapOf(g_mode).Find(pointer);
    void* const moved = Allocate(size, alignment, 0, block.id);
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
