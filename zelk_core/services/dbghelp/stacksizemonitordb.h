/// @file
/// How deep the stacks of threads have been seen.
#pragma once

#include <zelk_core/base/api.h>
#include <zelk_core/generics/ealallocator.h>
#include <zelk_core/generics/vector.h>
#include <zelk_core/os/adaptivelock.h>

namespace Z4 {

namespace Private {
template <class T>
class Singleton;
} // namespace Private

/// Threads measure themselves, where they are deep: Sample() costs a lock and a search. Any thread may call anything,
/// also inside the system's loader as far as the host's memory table allows; but for SingletonShutdown().
class StackSizeMonitorDb {
public:
    struct Entry {
        unsigned long threadId;
        unsigned long largestUse; ///< bytes from the stack's beginning, the largest of all samples
        unsigned long size;       ///< bytes reserved for the stack
    };

    Z4_API static void SingletonInit();
    /// Forgets all. No other thread may be in a call or make one meanwhile.
    Z4_API static void SingletonShutdown();
    Z4_API static StackSizeMonitorDb& Instance();

    StackSizeMonitorDb(const StackSizeMonitorDb&) = delete;
    StackSizeMonitorDb& operator=(const StackSizeMonitorDb&) = delete;

    /// Notes how much of its stack the calling thread uses at this moment. A thread that is new is not noted when the
    /// host refuses memory; what is known of the others stays, and the next sample tries again.
    /// @return the bytes in use.
    Z4_API unsigned long Sample();

    /// Threads that have been seen, also those that have ended since.
    Z4_API unsigned long GetCount();
    /// @return false beyond the last.
    [[nodiscard]] Z4_API bool GetEntry(unsigned long index, Entry& entry);
    /// @return false for a thread that never sampled.
    [[nodiscard]] Z4_API bool FindThread(unsigned long threadId, Entry& entry);
    /// Forgets a thread that has ended, whose id the system may give to another.
    Z4_API void Forget(unsigned long threadId);

private:
    friend class Private::Singleton<StackSizeMonitorDb>;

    StackSizeMonitorDb() = default;
    ~StackSizeMonitorDb() = default;
    Entry* Find(unsigned long threadId);

    AdaptiveLock m_lock;
    Vector<Entry, ZelkAllocator> m_entries;
};

} // namespace Z4
