/// @file
/// Locks that put a waiter to sleep at once: for sections that may be held for long.
///
/// Any number of threads may use a lock. It must be destroyed only when no thread holds it or waits for it, and only
/// the thread that holds it may unlock it. A lock that another thread unlocks, or that is unlocked while free, is
/// broken from then on; a library that was built with ZELK_CHECKS reports it.
#pragma once

#include <zelk_core/base/api.h>

namespace Z4 {

/// A recursive lock: the thread that holds it may lock it again, and must unlock it as often as it locked it. The lock
/// is free for others after the last of these. Any number of threads may use it, by the rules of blockinglock.h.
class BlockingLock {
public:
    /// A free lock.
    /// @param name tells the reader of your code what is guarded. It is not kept and may be null.
    Z4_API BlockingLock(const char* name = nullptr);
    Z4_API ~BlockingLock();
    BlockingLock(const BlockingLock&) = delete;
    /// Do not use; it exists because the DLL exports it. It copies the bare bytes of the system's lock, which is no
    /// lock of its own then: to use or to destroy both objects afterwards breaks `other`.
    Z4_API BlockingLock& operator=(const BlockingLock& other);

    /// Waits, asleep in the system, until the calling thread holds the lock.
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
    Z4_API void InternalLock();

    alignas(void*) unsigned char m_criticalSection[24];
};

/// A BlockingLock, with the same operations and for as many threads, whose name says that no thread locks it while
/// holding it. Nothing checks that: it is as recursive as the other.
class BlockingLockNonRecursive {
public:
    /// A free lock; the argument is that of BlockingLock's constructor.
    BlockingLockNonRecursive(const char* name = nullptr) : m_lock(name) {}

    void Lock() { m_lock.Lock(); }
    [[nodiscard]] bool TryLock() { return m_lock.TryLock(); }
    void Unlock() { m_lock.Unlock(); }
    void* GetInternalLockImpl() { return m_lock.GetInternalLockImpl(); }

private:
    void InternalLock() { m_lock.Lock(); }

    BlockingLock m_lock;
};

} // namespace Z4
