// What is known of ranges of addresses, for readers that never wait.
#pragma once

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <zelk_core/base/error.h>
#include <zelk_core/base/hostnew.h>
#include <zelk_core/os/autolock.h>
#include <zelk_core/os/spinlock.h>
#include <zelk_core/services/dbghelp/private/retiredblocks.h>

namespace Z4::Private {

/// A table of `T`, each for a range of addresses. Any thread may call any function at any time, but Clear() must be
/// alone; it comes last, as there is no destructor, which a static object would have run after the host's end.
///
/// Readers take no lock. What is taken out of the table is given up when RetiredBlocks knows of no reader. If one never
/// leaves, because its thread was killed, all waits for Clear().
template <class T, unsigned MOST>
class RangeTable {
public:
    struct Entry : RetiredBlocks::Block, HostNew<Entry> {
        std::uintptr_t base;
        std::uintptr_t size;
        T value;
    };

    constexpr RangeTable() = default;
    RangeTable(const RangeTable&) = delete;
    RangeTable& operator=(const RangeTable&) = delete;

    /// Takes over `entry`, in the place of what is there for its base.
    /// @return ERR_OUT_OF_RESOURCES when the table is full; the entry stays the caller's.
    Error Set(Entry* entry) {
        {
            const AutoLock guard(m_lock);
            std::atomic<Entry*>* free = Find(entry->base);
            for (unsigned i = 0; free == nullptr && i < MOST; ++i) {
                free = m_entries[i].load() == nullptr ? &m_entries[i] : nullptr;
                m_end.store((std::max)(m_end.load(), i + 1));
            }
            if (free == nullptr) {
                return ERR_OUT_OF_RESOURCES;
            }
            Retire(free->exchange(entry));
        }
        Collect();
        return ERR_OK;
    }

    /// Takes out what is there for `base`, and frees nothing, so that it can be called where the host must not be.
    /// @return false when there is nothing.
    bool Drop(std::uintptr_t base) {
        const AutoLock guard(m_lock);
        std::atomic<Entry*>* const found = Find(base);
        if (found != nullptr) {
            Retire(found->exchange(nullptr));
        }
        return found != nullptr;
    }

    /// Gives up what was taken out, unless somebody reads.
    void Collect() {
        RetiredBlocks::Block* retired = nullptr;
        {
            const AutoLock guard(m_lock);
            retired = m_retired.TakeUnused();
        }
        Delete(retired);
    }

    /// Calls `read(entry)` for the entry that `address` lies in.
    /// @return what that returned; false when there is none.
    template <class Read>
    bool Visit(std::uintptr_t address, Read read) {
        const unsigned count = m_retired.Enter();
        bool result = false;
        const unsigned end = m_end.load();
        for (unsigned i = 0; i < end; ++i) {
            const Entry* const entry = m_entries[i].load();
            if (entry != nullptr && address - entry->base < entry->size) {
                result = read(*entry);
                break;
            }
        }
        m_retired.Leave(count);
        return result;
    }

    /// Gives up all.
    void Clear() {
        for (std::atomic<Entry*>& place : m_entries) {
            Retire(place.exchange(nullptr));
        }
        Delete(m_retired.TakeAll());
    }

private:
    std::atomic<Entry*>* Find(std::uintptr_t base) {
        for (std::atomic<Entry*>& place : m_entries) {
            const Entry* const entry = place.load();
            if (entry != nullptr && entry->base == base) {
                return &place;
            }
        }
        return nullptr;
    }
    void Retire(Entry* entry) {
        if (entry != nullptr) {
            m_retired.Retire(entry);
        }
    }
    static void Delete(RetiredBlocks::Block* block) {
        while (block != nullptr) {
            RetiredBlocks::Block* const next = block->next;
            delete static_cast<Entry*>(block);
            block = next;
        }
    }

    NonRecursiveSpinLock m_lock; ///< of those who change the table
    std::atomic<Entry*> m_entries[MOST] = {};
    std::atomic<unsigned> m_end{0}; ///< from here on no place was ever taken
    RetiredBlocks m_retired;
};

} // namespace Z4::Private
