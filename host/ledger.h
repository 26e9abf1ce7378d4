// Who holds how much of the memory table's blocks, and which allocations it is to refuse.
#pragma once

#include <host/internal.h>
#include <map>

namespace ZelkHost {

/// Any thread; each function is one step.
class Ledger {
public:
    /// Opens the context `id`; everything else asks for contexts that are open.
    /// @return whether an allocation may go on.
    bool Permit(int id);

    void Add(int id, std::size_t size);
    void Remove(int id, std::size_t size);
    void Name(int id, const char* name);

    /// Writes a line for each context that holds blocks. Takes no memory.
    /// @return how many blocks all hold.
    std::size_t ReportBlocks();

    MemoryStatistics Statistics(int id);
    std::vector<MemoryContext> Contexts();

    /// See FailAllocations().
    std::size_t Refuse(std::size_t first, std::size_t count);

private:
    MemoryContext& Open(int id) { return m_contexts.try_emplace(id, MemoryContext{id, {}, {}}).first->second; }

    SlimLock m_lock;
    std::map<int, MemoryContext> m_contexts;
    std::size_t m_untilRefusal = 0; ///< the next allocation is 1
    std::size_t m_refusalsLeft = 0;
    std::size_t m_refused = 0;
};

} // namespace ZelkHost
