/// @file
/// What the thread classes guard their state with; no use to anybody else.
#pragma once

#include <zelk_core/os/blockinglock.h>
#include <zelk_core/os/condvariable.h>

namespace Z4::Private {

/// A recursive lock with one condition.
class Monitor {
public:
    void Lock() { m_lock.Lock(); }
    void Unlock() { m_lock.Unlock(); }

    /// Gives up the lock, which the calling thread must hold exactly once, and sleeps until WakeAll(), but at most `ms`
    /// milliseconds (0xFFFFFFFF: without limit). It can also return without a reason. The lock is held again then.
    /// @return false when the time has passed.
    bool Wait(unsigned long ms) { return m_changed.WaitWithTimeout(m_lock, ms); }
    void WakeAll() { m_changed.Broadcast(); }

private:
    CondVariable m_changed;
    BlockingLock m_lock;
};

} // namespace Z4::Private
