#include <cstddef>
#include <zelk_core/base/assert.h>
#include <zelk_core/os/autolock.h>
#include <zelk_core/os/threadbarrier.h>

namespace Z4 {

ThreadBarrier::ThreadBarrier(unsigned long partyCount, const char*, WindowsOldVersionMismatchDetector*)
    : m_partyCount(partyCount) {
    static_assert(offsetof(ThreadBarrier, m_roundEnded) == 0 &&
                  offsetof(ThreadBarrier, m_lock) == sizeof(CondVariable) &&
                  offsetof(ThreadBarrier, m_partyCount) == sizeof(CondVariable) + sizeof(AdaptiveLock) &&
                  offsetof(ThreadBarrier, m_arrivedCount) == offsetof(ThreadBarrier, m_partyCount) + 4 &&
                  offsetof(ThreadBarrier, m_generation) == offsetof(ThreadBarrier, m_partyCount) + 8 &&
                  sizeof(ThreadBarrier) == offsetof(ThreadBarrier, m_partyCount) + 12);
}

ThreadBarrier::~ThreadBarrier() {
    Z4_ASSERT(m_arrivedCount == 0, "No thread waits at a barrier that is destroyed.");
}

bool ThreadBarrier::Wait(bool) {
    m_lock.Lock();
    if (++m_arrivedCount >= m_partyCount) {
        ++m_generation;
        m_arrivedCount = 0;
        // Woken under the lock: nobody can leave, and destroy the barrier, before the wake-up is done with it.
        m_roundEnded.Broadcast();
        m_lock.Unlock();
        return true;
    }
    // The generation tells the end of this round from a spurious wake-up, also to a thread that sleeps into the next.
    const unsigned long generation = m_generation;
    while (m_generation == generation) {
        m_roundEnded.Wait(m_lock);
    }
    m_lock.Unlock();
    return false;
}

} // namespace Z4
