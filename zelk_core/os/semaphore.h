/// @file
/// A counting semaphore with the operations of a lock, so that it can stand where a lock class is asked for.
#pragma once

#include <zelk_core/base/api.h>

namespace Z4 {

/// Any thread may take a count and any other give it back; nobody owns one. Only the destructor wants the semaphore to
/// itself.
class Semaphore {
public:
    /// @param initialCount counts that are free at first, at most `maximumCount`.
    /// @param maximumCount 1 to 0x7FFFFFFF.
    /// @param name null for a semaphore of this process alone; else semaphores of one name in one session are one, with
    /// the counts of the first. Counts out of range, a name that is taken by another kind of object, or a failure of
    /// the system give a semaphore that has no count: TryLock() fails, and Lock() returns at once with nothing taken.
    Z4_API Semaphore(unsigned long initialCount, unsigned long maximumCount, const char* name);
    Z4_API ~Semaphore();
    Semaphore(const Semaphore&) = delete;
    /// Both objects then stand for the other's semaphore and both close it, while this object's own stays open to the
    /// end of the process. Callers do not copy.
    Z4_API Semaphore& operator=(const Semaphore& other);

    /// Takes one count, waiting for it without limit.
    Z4_API void Lock();
    /// Never waits.
    /// @return true when a count was taken.
    [[nodiscard]] Z4_API bool TryLock();
    /// Gives one count back. At the maximum it changes nothing.
    Z4_API void Unlock();

private:
    void* m_handle;
};

} // namespace Z4
