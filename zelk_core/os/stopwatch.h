/// @file
/// Measures time by the high-resolution counter (Time::GetCpuCycle()) and adds up the measured intervals.
///
///     Z4::StopWatch watch(true);
///     Work();
///     watch.Stop();
///     const std::uint64_t microSec = watch.GetCumulUSec();
#pragma once

#include <cstdint>
#include <zelk_core/base/api.h>
#include <zelk_core/base/layout.h>

namespace Z4 {

/// A watch measures one interval at a time and knows two lengths: that of the last interval that Stop() ended, and the
/// total. It is not synchronised, so only one thread at a time may use it.
///
/// Times are in counts of the counter. Functions in USec give microseconds, by Time::GetMicroSecFromCycles(); functions
/// in Ms give these microseconds / 1000, rounded down.
class StopWatch {
public:
    /// Both lengths are 0. With `start` the watch runs from now on.
    Z4_API explicit StopWatch(bool start);

    /// An interval begins now. One that is running is dropped, the total stays.
    Z4_API void Start();
    /// Both lengths become 0 and an interval begins now.
    Z4_API void Restart();
    /// The interval ends now and is added to the total. Where none is running, the last interval is added once more.
    Z4_API void Stop();
    /// Stops the watch without adding the running interval. The total becomes 0; the length of the last interval stays
    /// as it is.
    /// @param start has no effect: it is stored as the beginning of an interval, which the next Start() replaces. Pass
    /// 0.
    Z4_API void Reset(std::uint64_t start);

    /// Whether an interval is running.
    Z4_API bool IsStarted() const;

    /// The length of the running interval until `now`, a value of the counter, or until this moment where `now` is 0.
    /// Where none is running, the last interval.
    Z4_API std::uint64_t GetElapsed(std::uint64_t now) const;
    /// GetElapsed(0).
    Z4_API std::uint64_t GetElapsedUSec() const;
    Z4_API std::uint64_t GetElapsedMs() const;

    /// The total, the running interval until this moment included.
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
