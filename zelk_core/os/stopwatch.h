/// @file
/// Measures time by the high-resolution counter and adds up the measured intervals. Times in counts turn into
/// microseconds as Time::GetMicroSecFromCycles says; Ms means microseconds / 1000, rounded down.
#pragma once

#include <cstdint>
#include <zelk_core/base/api.h>

namespace Z4 {

/// Not synchronised: one thread at a time.
class Z4_API StopWatch {
public:
    /// A cleared watch, running when `start` is true.
    explicit StopWatch(bool start);

    /// Begins an interval, from anew if one is running; the total stays.
    void Start();
    /// Clears the total and the last interval, and begins one.
    void Restart();
    /// Ends the interval and adds it to the total. Without a Start() since the last Stop() it adds the last interval
    /// once more.
    void Stop();
    /// Stops without adding anything and clears the total; keeps the last interval.
    /// @param start stored as the begin of an interval, which the next Start() replaces.
    void Reset(std::uint64_t start);

    bool IsStarted() const;

    /// The running interval, up to `now` or up to this moment if `now` is 0; the last interval when stopped. In counts.
    std::uint64_t GetElapsed(std::uint64_t now) const;
    /// The running interval up to this moment, or the last one.
    std::uint64_t GetElapsedUSec() const;
    std::uint64_t GetElapsedMs() const;

    /// The total, with the running interval up to this moment. In counts.
    std::uint64_t GetCumul() const;
    std::uint64_t GetCumulUSec() const;
    std::uint64_t GetCumulMs() const;

private:
    std::uint64_t m_start;
    std::uint64_t m_cumulated;
    std::uint64_t m_lastInterval;
    bool m_started;
};

} // namespace Z4
