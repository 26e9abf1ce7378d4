/// @file
/// Holds a lock from here to the end of the scope: `AutoLock guard(lock);`.
#pragma once

namespace Z4 {

/// Locks at construction and unlocks at destruction. `LockClass` is any class with `Lock()` and `Unlock()`. The lock
/// must outlive the guard, and the thread that made the guard must destroy it.
template <class LockClass>
class [[nodiscard]] AutoLock {
public:
    explicit AutoLock(LockClass& lock) : m_lock(lock) { m_lock.Lock(); }
    ~AutoLock() { m_lock.Unlock(); }
    AutoLock(const AutoLock&) = delete;
    AutoLock& operator=(const AutoLock&) = delete;

private:
    LockClass& m_lock;
};

} // namespace Z4
