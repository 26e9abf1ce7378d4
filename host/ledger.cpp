#include <algorithm>
#include <host/ledger.h>
#include <utility>

namespace ZelkHost {

void Account::Add(std::size_t size) {
    const std::lock_guard guard(m_lock);
    ++m_statistics.blocks;
    ++m_statistics.allocations;
    m_statistics.bytes += size;
    m_statistics.peakBytes = std::max(m_statistics.peakBytes, m_statistics.bytes);
}

void Account::Remove(std::size_t size) {
    const std::lock_guard guard(m_lock);
    --m_statistics.blocks;
    m_statistics.bytes -= size;
}

MemoryStatistics Account::Statistics() const {
    const std::lock_guard guard(m_lock);
    return m_statistics;
}

// Contexts differ in the high half, which tells the room, and in the lowest bits.
Account& Ledger::Open(int id) {
    std::atomic<Account*>& recent = m_recent[static_cast<unsigned>(id ^ id >> 16) % std::size(m_recent)];
    Account* account = recent.load(std::memory_order_acquire);
    if (account == nullptr || account->id != id) {
        const std::lock_guard guard(m_lock);
        account = &OpenLocked(id);
        recent.store(account, std::memory_order_release);
    }
    return *account;
}

bool Ledger::IsRefused() {
    const std::lock_guard guard(m_lock);
    if (m_untilRefusal > 1) {
        --m_untilRefusal;
    } else if (m_refusalsLeft != 0) {
        --m_refusalsLeft;
        ++m_refused;
        return true;
    }
    return false;
}

Account* Ledger::Permit(int id) {
    Account& account = Open(id);
    return m_refuses.load(std::memory_order_relaxed) && IsRefused() ? nullptr : &account;
}

void Ledger::Name(int id, const char* name) {
    const std::lock_guard guard(m_lock);
    OpenLocked(id).name = name;
}

std::size_t Ledger::ReportBlocks() {
    const std::lock_guard guard(m_lock);
    std::size_t blocks = 0;
    for (const auto& [id, account] : m_accounts) {
        const MemoryStatistics statistics = account.Statistics();
        if (statistics.blocks != 0) {
            Report("zelk_host: context 0x%08X (%s) holds %u blocks, %u bytes\n", static_cast<unsigned>(id),
                   account.name.c_str(), static_cast<unsigned>(statistics.blocks),
                   static_cast<unsigned>(statistics.bytes));
            blocks += statistics.blocks;
        }
    }
    return blocks;
}

MemoryStatistics Ledger::Statistics(int id) {
    const std::lock_guard guard(m_lock);
    const auto account = m_accounts.find(id);
    return account != m_accounts.end() ? account->second.Statistics() : MemoryStatistics{};
}

std::vector<MemoryContext> Ledger::Contexts() {
    const std::lock_guard guard(m_lock);
    std::vector<MemoryContext> contexts;
    for (const auto& [id, account] : m_accounts) {
        contexts.push_back({id, account.name, account.Statistics()});
    }
    return contexts;
}

std::size_t Ledger::Refuse(std::size_t first, std::size_t count) {
    const std::lock_guard guard(m_lock);
    m_untilRefusal = first;
    m_refusalsLeft = first != 0 ? count : 0;
    m_refuses.store(m_refusalsLeft != 0, std::memory_order_relaxed);
    return std::exchange(m_refused, 0);
}

} // namespace ZelkHost
