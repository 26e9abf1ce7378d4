/// @file
/// A condition variable: threads that hold a lock wait here for what the lock guards to change.
///
///     const Z4::AutoLock guard(lock);
///     while (!isReady) { // set by others, who hold the lock while they set it
///         changed.Wait(lock);
///     }
#pragma once

#include <zelk_core/base/api.h>

namespace Z4 {

/// The condition variable. Any thread may call any operation. It needs no teardown and may be a static object that is
/// ready before any code runs. No thread may wait on it when it is destroyed.
///
/// A wait can end without a signal, so wait in a loop that looks at the condition. A signal that comes while nobody
/// waits is lost; that does no harm where the condition is changed only under the lock.
class CondVariable {
public:
    constexpr CondVariable() = default;
    CondVariable(const CondVariable&) = delete;
    CondVariable& operator=(const CondVariable&) = delete;

    /// Wakes one of those who wait, if there are any. The caller may hold the lock, but need not.
    Z4_API void Signal();
    /// Wakes all who wait. The caller may hold the lock, but need not.
    Z4_API void Broadcast();

    /// Gives up the lock and sleeps, both in one step, and returns when the calling thread holds the lock again. All
    /// who wait here at one time must use the same lock.
    /// @param lock an AdaptiveLock, a BlockingLock or one of their non-recursive twins. The calling thread must hold it
    /// exactly once; a second level would stay locked during the sleep.
    template <class LockClass>
    void Wait(LockClass& lock) {
        WaitInternal(lock.GetInternalLockImpl(), NO_LIMIT);
    }

    /// Wait() for at most `ms` milliseconds. 0 gives up the lock for an instant, 0xFFFFFFFF waits without limit.
    /// @return false when the time ran out, true after every other wake-up, with a signal or without one. The calling
    /// thread holds the lock in both cases, so look at the condition in both: it may have come true as the time ran
    /// out.
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
