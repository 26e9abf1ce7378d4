/// @file
/// Locks that try for a while before they block: for sections so short that the holder is usually out again before a
/// waiter could have been put to sleep and woken.
///
/// A lock may be used by any number of threads; it must be destroyed only when none holds it or waits for it. Only a
/// thread that holds it may unlock it: else the lock is corrupted, and only a library built with ZELK_CHECKS notices.
#pragma once

#include <zelk_core/base/api.h>
#include <zelk_core/base/layout.h>

namespace Z4 {

/// A recursive lock: its owner may lock it again, and unlocks it once for each time it was locked.
class AdaptiveLock {
public:
    /// A free lock with 100 further attempts.
    Z4_API AdaptiveLock();
    /// @param spinCount attempts that a contended Lock() adds to its first before it blocks. 0 blocks after the first
    /// attempt; 0xFFFFFFFF never blocks, the lock then spins until it gets through.
    /// @param name says at the place of construction what is guarded; not kept, may be null.
    Z4_API AdaptiveLock(unsigned long spinCount, const char* name);
    Z4_API ~AdaptiveLock();
    AdaptiveLock(const AdaptiveLock&) = delete;
    AdaptiveLock& operator=(const AdaptiveLock&) = delete;

    /// Returns when the calling thread holds the lock. Attempts lie 1000 processor pauses apart, and no system call
    /// is made before the last has failed.
    Z4_API void Lock();
    /// Never waits.
    /// @return true when the calling thread now holds the lock, once more if it held it before.
    [[nodiscard]] Z4_API bool TryLock();
    /// Gives back one level of ownership, which the calling thread has.
    Z4_API void Unlock();

    /// The platform's lock, a `CRITICAL_SECTION`, for calls that wait on one. It lies at the object's own address.
    Z4_API void* GetInternalLockImpl();

private:
    friend Private::Layout<AdaptiveLock>;

    Z4_API void InternalLock();

    alignas(void*) unsigned char m_criticalSection[24];
    unsigned long m_spinCount;
};

/// The same lock under a name by which the caller promises not to lock it twice. Nothing checks the promise.
class AdaptiveLockNonRecursive {
public:
    AdaptiveLockNonRecursive(const char* = nullptr) {}
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
