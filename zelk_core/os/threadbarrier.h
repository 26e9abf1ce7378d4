/// @file
/// A barrier at which a party of threads gathers, round after round.
#pragma once

#include <zelk_core/base/api.h>
#include <zelk_core/base/layout.h>
#include <zelk_core/os/adaptivelock.h>
#include <zelk_core/os/condvariable.h>

namespace Z4 {

class WindowsOldVersionMismatchDetector;

/// A round ends when as many threads have arrived as the party counts; the next one begins at once, also while threads
/// of the last are still on their way out. What a thread wrote before Wait() the others see after it.
///
/// No thread may be in Wait() when the barrier is destroyed; that one has returned true to the last of a round does not
/// mean that the others have left.
class ThreadBarrier {
public:
    /// @param partyCount with 0 or 1, nobody waits: each caller is a round of its own.
    /// @param name says at the place of construction what gathers; not kept, may be null. The last argument is ignored.
    Z4_API explicit ThreadBarrier(unsigned long partyCount, const char* name = nullptr,
                                  WindowsOldVersionMismatchDetector* = nullptr);
    Z4_API ~ThreadBarrier();
    ThreadBarrier(const ThreadBarrier&) = delete;
    ThreadBarrier& operator=(const ThreadBarrier&) = delete;

    /// Returns when the round is complete. The argument is ignored.
    /// @return true to one thread of each round, the last to arrive.
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
