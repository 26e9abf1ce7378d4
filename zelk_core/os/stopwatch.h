/// @file
/// Measures time by the high-resolution counter and adds up the measured intervals. Times in counts turn into
/// microseconds as Time::GetMicroSecFromCycles says; Ms means microseconds / 1000, rounded down.
#pragma once

#include <cstdint>
#include <zelk_core/base/api.h>
#include <zelk_core/base/layout.h>

namespace Z4 {

/// Not synchronised: one thread at a time.
class StopWatch {
public:
    /// A cleared watch, running when `start` is true.
    Z4_API explicit StopWatch(bool start);

    /// Begins an interval, from anew if one is running; the total stays.
    Z4_API void Start();
    /// Clears the total and the last interval, and begins one.
    Z4_API void Restart();
    /// Ends the interval and adds it to the total. Without a Start() since the last Stop() it adds the last interval
    /// once more.
    Z4_API void Stop();
    /// Stops without adding anything and clears the total; keeps the last interval.
    /// @param start stored as the begin of an interval, which the next Start() replaces.
    Z4_API void Reset(std::uint64_t start);

    Z4_API bool IsStarted() const;

    /// The running interval, up to `now` or up to this moment if `now` is 0; the last interval when stopped. In counts.
    Z4_API std::uint64_t GetElapsed(std::uint64_t now) const;
    /// The running interval up to this moment, or the last one.
    Z4_API std::uint64_t GetElapsedUSec() const;
    Z4_API std::uint64_t GetElapsedMs() const;

    /// The total, with the running interval up to this moment. In counts.
    Z4_API std::uint64_t GetCumul() const;
    Z4_API std::uint64_t GetCumulUSec() const;
    Z4_API std::uint64_t GetCumulMs() const;

private:
    friend Private::Layout<StopWatch>;

    std::uint64_t m_start;
    std::uint64_t m_cumulated;
    std::uint64_t m_lastInterval;
    bool m_started;
};

} // namespace Z4
