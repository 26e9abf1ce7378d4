/// @file
/// A lock of one word that never blocks and needs no teardown, so that it can be a static object. It must guard only a
/// few instructions: a waiter burns its processor, also while the holder is not running.
#pragma once

#include <atomic>
#include <zelk_core/base/api.h>
#include <zelk_core/base/assert.h>

namespace Z4 {

/// A test-and-test-and-set spin lock. Any thread; no owner is recorded, so locking it twice on one thread never
/// returns, and Unlock() frees it whoever holds it.
class NonRecursiveSpinLock {
public:
    constexpr NonRecursiveSpinLock() : m_state(FREE) {}
    /// A copy takes the state as it stands: the copy of a held lock is held.
    NonRecursiveSpinLock(const NonRecursiveSpinLock& other) : m_state(other.Load()) {}
    NonRecursiveSpinLock& operator=(const NonRecursiveSpinLock& other) {
        State().store(other.Load(), std::memory_order_relaxed);
        return *this;
    }
    ~NonRecursiveSpinLock() = default;

    /// Returns when the lock is held; attempts lie 70 processor pauses apart.
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

    /// Frees the lock, which is held. One that is free stays so.
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
