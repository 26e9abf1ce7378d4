/// @file
/// What the thread classes guard their state with; no use to anybody else.
#pragma once

#include <zelk_core/os/blockinglock.h>
#include <zelk_core/os/condvariable.h>

namespace Z4::Private {

/// A recursive lock with one condition: waiting gives up the lock and takes it again before it returns. Wait only with
/// the lock held once.
class Monitor {
public:
    void Lock() { m_lock.Lock(); }
    void Unlock() { m_lock.Unlock(); }

    /// Until WakeAll(), or at most `ms` milliseconds (0xFFFFFFFF: without limit); may also return without a reason.
    /// @return false when the time has passed.
    bool Wait(unsigned long ms) { return m_changed.WaitWithTimeout(m_lock, ms); }
    void WakeAll() { m_changed.Broadcast(); }

private:
    CondVariable m_changed;
    BlockingLock m_lock;
};

} // namespace Z4::Private
