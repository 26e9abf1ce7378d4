// Who holds how much of the memory table's blocks, and which allocations it is to refuse.
#pragma once

#include <atomic>
#include <host/internal.h>
#include <map>

namespace ZelkHost {

/// A context, for as long as the process lives. Whoever has it counts without looking for it again.
class Account {
public:
    explicit Account(int contextId) : id(contextId) {}

    void Add(std::size_t size);
    void Remove(std::size_t size);
    MemoryStatistics Statistics() const;

    const int id;
    std::string name; ///< under the ledger's lock

private:
    mutable SpinLock m_lock;
    MemoryStatistics m_statistics{};
};

/// Any thread; each function is one step.
class Ledger {
public:
    /// Opens the account of context `id`.
    /// @return null when an allocation of it is to be refused.
    Account* Permit(int id);

    void Name(int id, const char* name);

    /// Writes a line for each context that holds blocks. Takes no memory.
    /// @return how many blocks all hold.
    std::size_t ReportBlocks();

    MemoryStatistics Statistics(int id);
    std::vector<MemoryContext> Contexts();

    /// See FailAllocations().
    std::size_t Refuse(std::size_t first, std::size_t count);

private:
    Account& Open(int id);
    Account& OpenLocked(int id) { return m_accounts.try_emplace(id, id).first->second; }
    bool IsRefused();

    SlimLock m_lock;
    std::map<int, Account> m_accounts;
    std::atomic<Account*> m_recent[64] = {}; ///< the one last found of those with the same hash: read without the lock
    std::atomic<bool> m_refuses = false;     ///< whether the counts below matter
    std::size_t m_untilRefusal = 0;          ///< the next allocation is 1
    std::size_t m_refusalsLeft = 0;
    std::size_t m_refused = 0;
};

} // namespace ZelkHost
