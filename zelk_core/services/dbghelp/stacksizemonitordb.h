/// @file
/// How much of their stacks the threads have used, as far as they measured it.
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

/// The deepest use of its stack that each thread has measured. Nothing is measured by itself: a thread calls Sample()
/// where its stack is deep, at the cost of a lock, which all threads share, and a search among the threads seen so far.
/// InitializeDbgHelpService() makes the object.
///
/// Every function may be called by any thread at any time, except SingletonShutdown(). This holds inside the system's
/// loader, too, provided that the host's memory table may be called there.
class StackSizeMonitorDb {
public:
    /// What is known of one thread.
    struct Entry {
        unsigned long threadId;   ///< the system's
        unsigned long largestUse; ///< in bytes, the largest of the thread's samples
        unsigned long size;       ///< bytes reserved for the stack; 0 when the system did not tell
    };

    /// Makes the object, if there is none.
    Z4_API static void SingletonInit();
    /// Destroys the object, if there is one, and with it all entries. No other thread may be in a call of this class or
    /// make one meanwhile.
    Z4_API static void SingletonShutdown();
    /// The object, made if there is none.
    Z4_API static StackSizeMonitorDb& Instance();

    StackSizeMonitorDb(const StackSizeMonitorDb&) = delete;
    StackSizeMonitorDb& operator=(const StackSizeMonitorDb&) = delete;

    /// Measures how much of its stack the calling thread uses at this moment, and notes it in the thread's entry if it
    /// is the largest so far. The first sample of a thread makes the entry. If the host refuses memory for it, nothing
    /// is noted, the other entries stay, and the thread's next sample tries again.
    /// @return the bytes from the stack's beginning to this call.
    Z4_API unsigned long Sample();

    /// How many entries there are: one for each thread that sampled and was not forgotten, also when it has ended.
    Z4_API unsigned long GetCount();
    /// Copies the entry of number `index`, from 0. Forget() changes the numbers.
    /// @return false, with `entry` as it was, when `index` is GetCount() or more.
    [[nodiscard]] Z4_API bool GetEntry(unsigned long index, Entry& entry);
    /// Copies the entry of a thread.
    /// @return false, with `entry` as it was, when the thread has none.
    [[nodiscard]] Z4_API bool FindThread(unsigned long threadId, Entry& entry);
    /// Removes the entry of a thread; does nothing when it has none. Call it when the thread has ended: the system may
    /// give its id to a new thread, whose samples would go into the same entry.
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
