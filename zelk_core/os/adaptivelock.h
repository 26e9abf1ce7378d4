/// @file
/// Locks that try for a while before they block: for sections so short that the holder is usually out again before a
/// waiter could have been put to sleep and woken.
///
/// Any number of threads may use a lock. It must be destroyed only when no thread holds it or waits for it, and only
/// the thread that holds it may unlock it. A lock that another thread unlocks, or that is unlocked while free, is
/// broken from then on; a library that was built with ZELK_CHECKS reports it.
#pragma once

#include <zelk_core/base/api.h>
#include <zelk_core/base/layout.h>

namespace Z4 {

/// A recursive lock: the thread that holds it may lock it again, and must unlock it as often as it locked it. The lock
/// is free for others after the last of these. Any number of threads may use it, by the rules of adaptivelock.h.
class AdaptiveLock {
public:
    /// A free lock with 100 further attempts.
    Z4_API AdaptiveLock();
    /// A free lock.
    /// @param spinCount how many further attempts Lock() makes after a first one that failed, before it blocks. With 0
    /// it blocks after the first attempt. With 0xFFFFFFFF it never blocks, but spins until it gets the lock.
    /// @param name tells the reader of your code what is guarded. It is not kept and may be null.
    Z4_API AdaptiveLock(unsigned long spinCount, const char* name);
    Z4_API ~AdaptiveLock();
    AdaptiveLock(const AdaptiveLock&) = delete;
    AdaptiveLock& operator=(const AdaptiveLock&) = delete;

    /// Waits until the calling thread holds the lock. It tries, pauses the processor 1000 times, tries again, and goes
    /// to sleep in the system only when the last attempt has failed.
    Z4_API void Lock();
    /// Never waits.
    /// @return true when the calling thread now holds the lock, once more if it held it before.
    [[nodiscard]] Z4_API bool TryLock();
    /// Undoes one Lock() or successful TryLock() of the calling thread, which must hold the lock.
    Z4_API void Unlock();

    /// The system's lock inside, a `CRITICAL_SECTION`, for functions that wait with one, as CondVariable does. It lies
    /// at the object's own address and lives as long as the object.
    Z4_API void* GetInternalLockImpl();

private:
    friend Private::Layout<AdaptiveLock>;

    Z4_API void InternalLock();

    alignas(void*) unsigned char m_criticalSection[24];
    unsigned long m_spinCount;
};

/// An AdaptiveLock, with the same operations and for as many threads, whose name says that no thread locks it while
/// holding it. Nothing checks that: it is as recursive as the other.
class AdaptiveLockNonRecursive {
public:
    /// A free lock with 100 further attempts. The argument is a name for the reader of your code; it is not kept and
    /// may be null.
    AdaptiveLockNonRecursive(const char* = nullptr) {}
    /// A free lock; the arguments are those of AdaptiveLock's constructor.
    AdaptiveLockNonRecursive(unsigned long spinCount, const char* name) : m_lock(spinCount, name) {}

    void Lock() { m_lock.Lock(); }
    [[nodiscard]] bool TryLock() { return m_lock.TryLock(); }
    void Unlock() { m_lock.Unlock(); }
    void* GetInternalLockImpl() { return m_lock.GetInternalLockImpl(); }

private:
    void InternalLock() { m_lock.Lock(); }

    AdaptiveLock m_lock;
};

} // namespace Z4
