/// @file
/// Locks that put a waiter to sleep at once: for sections that may be held for long.
///
/// A lock may be used by any number of threads; it must be destroyed only when none holds it or waits for it. Only a
/// thread that holds it may unlock it: else the lock is corrupted, and only a library built with ZELK_CHECKS notices.
#pragma once

#include <zelk_core/base/api.h>

namespace Z4 {

/// A recursive lock: its owner may lock it again, and unlocks it once for each time it was locked.
class BlockingLock {
public:
    /// @param name says at the place of construction what is guarded; not kept, may be null.
    Z4_API BlockingLock(const char* name = nullptr);
    Z4_API ~BlockingLock();
    BlockingLock(const BlockingLock&) = delete;
    /// Overwrites this lock with the bare bytes of the other and makes nothing sound of them: whoever uses or destroys
    /// both afterwards releases the platform's part of `other` twice. Neither may be in use.
    Z4_API BlockingLock& operator=(const BlockingLock& other);

    /// Returns when the calling thread holds the lock.
    Z4_API void Lock();
    /// Never waits.
    /// @return true when the calling thread now holds the lock, once more if it held it before.
    [[nodiscard]] Z4_API bool TryLock();
    /// Gives back one level of ownership, which the calling thread has.
    Z4_API void Unlock();

    /// The platform's lock, a `CRITICAL_SECTION`, for calls that wait on one. It lies at the object's own address.
    Z4_API void* GetInternalLockImpl();

private:
    Z4_API void InternalLock();

    alignas(void*) unsigned char m_criticalSection[24];
};

/// The same lock under a name by which the caller promises not to lock it twice. Nothing checks the promise.
class BlockingLockNonRecursive {
public:
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
