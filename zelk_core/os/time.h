/// @file
/// Clocks and dates: seconds since 1970, the tick count in milliseconds, and the high-resolution counter, whose counts
/// turn into microseconds here. All operations may be called from any thread and none fails.
#pragma once

#include <cstdint>
#include <zelk_core/base/api.h>

namespace Z4::Time {

/// Seconds since 1970-01-01 UTC; wraps in 2106.
Z4_API std::uint32_t Get();

/// Milliseconds since the system started, in steps of its tick (10 to 16 ms); wraps after about 49.7 days.
Z4_API std::uint32_t GetMilliSec();
/// Milliseconds from `start` to now or to `end`, all from GetMilliSec(); right across one wrap.
Z4_API std::uint32_t GetElapsedMilliSeconds(std::uint32_t start);
Z4_API std::uint32_t GetElapsedMilliSeconds(std::uint32_t start, std::uint32_t end);

/// The high-resolution counter: monotonic, the same on every processor, and not the processor's cycle count.
Z4_API std::uint64_t GetCpuCycle();
/// Its counts in a second, fixed while the process lives.
Z4_API std::uint64_t GetCpuFrequency();
/// Counts from `start` to now or to `end`.
Z4_API std::uint64_t GetElapsedCPUCycles(std::uint64_t start);
Z4_API std::uint64_t GetElapsedCPUCycles(std::uint64_t start, std::uint64_t end);

/// Microseconds that `counts` last, rounded down: counts x 1000 / (frequency / 1000). The inner quotient is rounded
/// down first, so the result is exact only for frequencies that are multiples of 1000; otherwise it is too large by
/// less than one part in (frequency / 1000). From 2^64 / 1000 counts on (58 years at 10 MHz) the product wraps.
Z4_API std::uint64_t GetMicroSecFromCycles(std::uint64_t counts);
/// The high-resolution counter in microseconds.
Z4_API std::uint64_t GetMicroSec();
/// Microseconds from `start` to now or to `end`, all from GetMicroSec().
Z4_API std::uint64_t GetElapsedMicroSeconds(std::uint64_t start);
Z4_API std::uint64_t GetElapsedMicroSeconds(std::uint64_t start, std::uint64_t end);

/// A calendar date with the time of day. The order of the fields is that of the C library's `tm`, but month and year
/// carry none of its offsets.
struct Date {
    std::int32_t second;         ///< 0 to 59
    std::int32_t minute;         ///< 0 to 59
    std::int32_t hour;           ///< 0 to 23
    std::int32_t dayOfMonth;     ///< 1 to 31
    std::int32_t month;          ///< 1 to 12
    std::int32_t year;           ///< in full, such as 2026
    std::int32_t dayOfWeek;      ///< 0 to 6, from Sunday
    std::int32_t milliSeconds;   ///< 0 to 999
    std::int32_t daylightSaving; ///< always -1: not known
};

/// Fills `date` with the local time. @return true, always.
Z4_API bool GetDate(Date& date);
/// Fills `date` with UTC. @return true, always.
Z4_API bool GetUTCDate(Date& date);

} // namespace Z4::Time
