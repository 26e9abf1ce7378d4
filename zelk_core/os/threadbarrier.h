/// @file
/// A barrier at which a party of threads gathers, round after round.
#pragma once

#include <zelk_core/base/api.h>
#include <zelk_core/base/layout.h>
#include <zelk_core/os/adaptivelock.h>
#include <zelk_core/os/condvariable.h>

namespace Z4 {

class WindowsOldVersionMismatchDetector;

/// A meeting point for a party of threads, any of which may call Wait(). A round ends when as many threads are in
/// Wait() as the party counts. All of them then go on, and the next round begins at once. What a thread wrote before
/// Wait(), the others see after it.
///
/// No thread may be in Wait() when the barrier is destroyed. Mind that the others may still be on their way out of it
/// when the last to arrive has returned already: so wait for each of them before you destroy the barrier.
class ThreadBarrier {
public:
    /// @param partyCount how many threads make a round. With 0 or 1 nobody waits: each call is a round of its own.
    /// @param name tells the reader of your code what gathers. It is not kept and may be null. The last argument is
    /// ignored: leave it out.
    Z4_API explicit ThreadBarrier(unsigned long partyCount, const char* name = nullptr,
                                  WindowsOldVersionMismatchDetector* = nullptr);
    Z4_API ~ThreadBarrier();
    ThreadBarrier(const ThreadBarrier&) = delete;
    ThreadBarrier& operator=(const ThreadBarrier&) = delete;

    /// Waits without limit until the round is complete: `barrier.Wait();`. The argument is ignored.
    /// @return true for one thread of each round, the last to arrive, and false for the others.
    Z4_API bool Wait(bool = false);

private:
    friend Private::Layout<ThreadBarrier>;

    CondVariable m_roundEnded;
    AdaptiveLock m_lock;
    unsigned long m_partyCount;
    unsigned long m_arrivedCount = 0;
    unsigned long m_generation = 0;
};

} // namespace Z4
