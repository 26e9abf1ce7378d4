/// @file
/// A counting semaphore with the operations of a lock, so that it can stand where a template asks for a lock class.
#pragma once

#include <zelk_core/base/api.h>

namespace Z4 {

/// A number of free counts. Lock() takes one of them and waits while there is none; Unlock() gives one back. Nobody
/// owns a count: one thread may take it and another give it back. Any thread may call anything at any time, but nobody
/// may use a semaphore while it is being destroyed.
class Semaphore {
public:
    /// Where a count is out of range, the name belongs to another kind of object, or the system fails, there is no
    /// semaphore: TryLock() is then false, Unlock() does nothing, and Lock() returns at once although nothing is taken.
    /// @param initialCount how many counts are free at first, 0 to `maximumCount`.
    /// @param maximumCount how many can be free at most, 1 to 0x7FFFFFFF.
    /// @param name null for a semaphore of this process alone. Semaphores of the same name in one session are one
    /// semaphore, with the counts of the first.
    Z4_API Semaphore(unsigned long initialCount, unsigned long maximumCount, const char* name);
    Z4_API ~Semaphore();
    Semaphore(const Semaphore&) = delete;
    /// Do not use; it exists because the DLL exports it. It copies the handle only: both objects then close that of
    /// `other`, and nobody closes the one of this.
    Z4_API Semaphore& operator=(const Semaphore& other);

    /// Takes one count, waiting for it without limit.
    Z4_API void Lock();
    /// Never waits.
    /// @return true when a count was taken.
    [[nodiscard]] Z4_API bool TryLock();
    /// Gives one count back, and one who waits takes it. Where all counts are free it changes nothing.
    Z4_API void Unlock();

private:
    void* m_handle;
};

} // namespace Z4
