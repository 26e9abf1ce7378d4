#include <algorithm>
#include <host/ledger.h>
#include <utility>

namespace ZelkHost {

bool Ledger::Permit(int id) {
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

void Ledger::Add(int id, std::size_t size) {
    const std::lock_guard guard(m_lock);
    MemoryStatistics& statistics = m_contexts.find(id)->second.statistics;
    ++statistics.blocks;
    ++statistics.allocations;
    statistics.bytes += size;
    statistics.peakBytes = std::max(statistics.peakBytes, statistics.bytes);
}

void Ledger::Remove(int id, std::size_t size) {
    const std::lock_guard guard(m_lock);
    MemoryStatistics& statistics = m_contexts.find(id)->second.statistics;
    --statistics.blocks;
    statistics.bytes -= size;
}

void Ledger::Name(int id, const char* name) {
    const std::lock_guard guard(m_lock);
    Open(id).name = name;
}

std::size_t Ledger::ReportBlocks() {
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

MemoryStatistics Ledger::Statistics(int id) {
    const std::lock_guard guard(m_lock);
    const auto context = m_contexts.find(id);
    return context != m_contexts.end() ? context->second.statistics : MemoryStatistics{};
}

std::vector<MemoryContext> Ledger::Contexts() {
    const std::lock_guard guard(m_lock);
    std::vector<MemoryContext> contexts;
    for (const auto& [id, context] : m_contexts) {
        contexts.push_back(context);
    }
    return contexts;
}

std::size_t Ledger::Refuse(std::size_t first, std::size_t count) {
    const std::lock_guard guard(m_lock);
    m_untilRefusal = first;
    m_refusalsLeft = first != 0 ? count : 0;
    return std::exchange(m_refused, 0);
}

} // namespace ZelkHost
