#include <cstddef>
#include <zelk_core/base/assert.h>
#include <zelk_core/os/autolock.h>
#include <zelk_core/os/threadbarrier.h>

namespace Z4 {

template <>
struct Private::Layout<ThreadBarrier> {
    static_assert(offsetof(ThreadBarrier, m_roundEnded) == 0);
    static_assert(offsetof(ThreadBarrier, m_lock) == 4);
    static_assert(offsetof(ThreadBarrier, m_partyCount) == 32);
    static_assert(offsetof(ThreadBarrier, m_arrivedCount) == 36);
    static_assert(offsetof(ThreadBarrier, m_generation) == 40);
    static_assert(sizeof(ThreadBarrier) == 44);
};

ThreadBarrier::ThreadBarrier(unsigned long partyCount, const char*, WindowsOldVersionMismatchDetector*)
    : m_partyCount(partyCount) {}

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
