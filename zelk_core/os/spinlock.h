/// @file
/// A lock of one word that never blocks and needs no teardown, so that it can be a static object that is ready before
/// any code runs. Guard only a few instructions with it: a thread that waits keeps its processor busy all the time,
/// even while the system has put the holder aside.
#pragma once

#include <atomic>
#include <zelk_core/base/api.h>
#include <zelk_core/base/assert.h>

namespace Z4 {

/// A test-and-test-and-set spin lock, for any number of threads. It does not know who holds it: a thread that locks it
/// a second time waits for ever, and Unlock() frees it whoever calls.
class NonRecursiveSpinLock {
public:
    constexpr NonRecursiveSpinLock() : m_state(FREE) {}
    /// A copy is a lock of its own that begins in the state in which `other` is: the copy of a held lock is held, and
    /// somebody must unlock it.
    NonRecursiveSpinLock(const NonRecursiveSpinLock& other) : m_state(other.Load()) {}
    /// Puts this lock into the state in which `other` is. Whoever held this one before has lost it.
    NonRecursiveSpinLock& operator=(const NonRecursiveSpinLock& other) {
        State().store(other.Load(), std::memory_order_relaxed);
        return *this;
    }
    ~NonRecursiveSpinLock() = default;

    /// Waits until the calling thread holds the lock, with 70 pauses of the processor between attempts.
    void Lock() { InternalLock(); }

    /// Never waits.
    /// @return true when this call has taken the lock.
    [[nodiscard]] bool TryLock() {
        // Reading first keeps the word's cache line shared among those who wait.
        if (Load() != FREE) {
            return false;
        }
        unsigned long expected = FREE;
        return State().compare_exchange_strong(expected, HELD);
    }

    /// Frees the lock, which must be held. A free one stays free; with ZELK_CHECKS that is reported.
    void Unlock() {
        Z4_ASSERT(Load() != FREE, "A lock that is unlocked is held.");
        State().store(FREE, std::memory_order_release);
    }

private:
    static constexpr unsigned long FREE = 0;
    static constexpr unsigned long HELD = 1;

    void InternalLock() {
        while (!TryLock()) {
            RelaxCPU();
        }
    }

    Z4_API static void RelaxCPU();

    std::atomic_ref<unsigned long> State() const { return std::atomic_ref<unsigned long>(m_state); }
    unsigned long Load() const { return State().load(std::memory_order_relaxed); }

    mutable unsigned long m_state;
};

} // namespace Z4
