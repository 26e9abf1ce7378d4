/// @file
/// A condition variable: threads that hold a lock wait here for what the lock guards to change.
#pragma once

#include <zelk_core/base/api.h>

namespace Z4 {

/// Needs no teardown, and may be a static object that is ready before any code runs; nobody may wait on it when it is
/// destroyed.
///
/// A wake-up is a hint, and there are spurious ones: wait in a loop around the condition. A signal that comes while
/// nobody waits is lost, which does no harm where the condition changes only under the lock.
class CondVariable {
public:
    constexpr CondVariable() = default;
    CondVariable(const CondVariable&) = delete;
    CondVariable& operator=(const CondVariable&) = delete;

    /// Wakes one waiter. Any thread, holding the lock or not.
    Z4_API void Signal();
    /// Wakes all waiters. Any thread, holding the lock or not.
    Z4_API void Broadcast();

    /// Gives up the lock and sleeps, as one step, and holds the lock again on return. All who wait here at one time use
    /// the same lock.
    /// @param lock any lock over the system's critical section, thus with `GetInternalLockImpl()`, held exactly once
    /// by the calling thread: a further level would stay locked during the sleep.
    template <class LockClass>
    void Wait(LockClass& lock) {
        WaitInternal(lock.GetInternalLockImpl(), NO_LIMIT);
    }

    /// Wait() for at most `ms` milliseconds; 0 gives up the lock for an instant, 0xFFFFFFFF has no limit.
    /// @return false when the time ran out; the lock is held then too. The condition may have come true meanwhile.
    template <class LockClass>
    bool WaitWithTimeout(LockClass& lock, unsigned long ms) {
        return WaitInternal(lock.GetInternalLockImpl(), ms);
    }

private:
    static constexpr unsigned long NO_LIMIT = 0xFFFFFFFF;

    Z4_API bool WaitInternal(void* lockImpl, unsigned long ms);

    void* m_condition = nullptr;
};

} // namespace Z4
