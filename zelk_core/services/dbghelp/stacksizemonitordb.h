/// @file
/// How much of their stacks the threads have used, as far as they measured it.
#pragma once

#include <zelk_core/base/api.h>
#include <zelk_core/base/error.h>
#include <zelk_core/base/log.h>
#include <zelk_core/os/adaptivelock.h>

namespace Z4 {

namespace Private {
template <class T>
class Singleton;
} // namespace Private

/// The deepest use of its stack that each thread has measured. Nothing is measured by itself. A thread calls Sample()
/// where its stack is deep, at the cost of a lock, which all threads share, and a search among the threads seen so far.
/// Or it calls Paint() where its stack is flat: a later Sample() then also sees how deep the stack was in between.
/// InitializeDbgHelpService() makes the object.
///
/// Every function may be called by any thread at any time, except SingletonShutdown(). This holds inside the system's
/// loader, too. No memory is taken.
class StackSizeMonitorDb {
public:
    /// Threads that there is room for. When all entries are taken, a new thread gets that of the thread which ended
    /// and whose entry is the oldest; while all run, it gets none.
    static constexpr unsigned long MAX_THREADS = 256;

    /// What is known of one thread.
    struct Entry {
        unsigned long threadId;   ///< the system's
        unsigned long largestUse; ///< in bytes, the largest of the thread's samples and of what was painted over
        unsigned long size;       ///< bytes reserved for the stack; 0 when the system did not tell
        unsigned long committed;  ///< bytes of them that the system had given memory to at the last sample
        unsigned long painted;    ///< bytes that the last Paint() has painted
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

    /// Measures how much of its stack the calling thread uses at this moment, and how much it has used since its last
    /// Paint(), and notes the larger of both in the thread's entry if it is the largest so far. The first sample of a
    /// thread makes the entry. After a Paint() it reads what is still painted, some 70 ns a KiB.
    /// @return the bytes from the stack's beginning to this call.
    Z4_API unsigned long Sample();

    /// Writes a pattern into the unused part of the calling thread's stack, from this call on downward: `bytes`, or as
    /// many as there are above the pages with which the system notices an overflow, in multiples of 4. The system must
    /// give memory to all of it, which the thread keeps. Calls that reach into it later change it, for the next
    /// Sample() to see; a function whose frame is larger than what it writes can leave its end unseen. Makes the
    /// thread's entry.
    /// @return how many bytes were painted; 0 when the thread has no room for an entry.
    Z4_API unsigned long Paint(unsigned long bytes);

    /// From now on, a sample that finds more than `percent` of the stack used is told to the host's log as a warning,
    /// once for each entry. 0, as at first, ends that.
    /// @return ERR_INVALID, with nothing changed, above 100.
    Z4_API Error SetWarning(unsigned long percent);
    /// Tells all entries to the host's log, as one message each.
    Z4_API void LogEntries(EalLogLevel level);

    /// How many entries there are: one for each thread that sampled and was not forgotten, also when it has ended.
    Z4_API unsigned long GetCount();
    /// Copies the entry of number `index`, from 0, the oldest. Forget() changes the numbers, and so can the first
    /// sample of a thread.
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

    /// An entry, and where its paint begins.
    struct Record {
        Entry entry;
        const unsigned long* paint;
        bool isWarned;
    };

    StackSizeMonitorDb() = default;
    ~StackSizeMonitorDb() = default;
    Record* Find(unsigned long threadId);
    Record* FindOrAdd(const void* stack);
    static unsigned long DepthInPaint(const Record& record);
    void Erase(unsigned long index);

    AdaptiveLock m_lock;
    Record m_records[MAX_THREADS];
    unsigned long m_count = 0;
    unsigned long m_warning = 0; ///< in percent
};

} // namespace Z4
