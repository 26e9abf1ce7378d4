// A count of starts, kept together with the work that the first start and the last shut-down do.
#pragma once

#include <atomic>
#include <zelk_core/base/assert.h>
#include <zelk_core/base/private/core.h>
#include <zelk_core/base/private/singleton.h>

namespace Z4::Private {

/// One lock covers the count and the work, so that whoever comes back from Take() finds the first start complete, and
/// a shut-down never overlaps a start. Any thread; work that comes back to its own count waits for ever.
class StartCount {
public:
    /// Runs `start()` when the count goes from 0 to 1.
    template <class Start>
    void Take(Start start) {
        Lock();
        if (++m_count == 1) {
            start();
        }
        Unlock();
    }

    /// Runs `stop()` when the count goes from 1 to 0. One release too many wraps the count around.
    template <class Stop>
    void Release(Stop stop) {
        Lock();
        const unsigned before = m_count--;
        if (before == 1) {
            stop();
        }
        Unlock();
        // Out of the lock, as the report calls the host.
        Z4_ASSERT(before != 0, SHUTDOWN_DUTY);
    }

private:
    void Lock() {
        for (bool taken = false; !m_locked.compare_exchange_strong(taken, true); taken = false) {
            YieldThread();
        }
    }
    void Unlock() { m_locked.store(false, std::memory_order_release); }

    std::atomic<bool> m_locked{false};
    unsigned m_count = 0;
};

} // namespace Z4::Private
