/// @file
/// Clocks and dates: the seconds since 1970, the system's tick count in milliseconds, and the high-resolution counter,
/// whose counts turn into microseconds here. Any thread may call any function, and none fails.
#pragma once

#include <cstdint>
#include <zelk_core/base/api.h>

namespace Z4::Time {

/// Seconds since 1970-01-01 UTC. The 32 bits wrap around in 2106.
Z4_API std::uint32_t Get();

/// Milliseconds since the system started, in steps of its tick (10 to 16 ms). The 32 bits wrap around after 49.7 days.
Z4_API std::uint32_t GetMilliSec();
/// Milliseconds from `start` to now, or to `end`; both are values of GetMilliSec(). The result is right where the clock
/// has wrapped around in between, if only once.
Z4_API std::uint32_t GetElapsedMilliSeconds(std::uint32_t start);
Z4_API std::uint32_t GetElapsedMilliSeconds(std::uint32_t start, std::uint32_t end);

/// The high-resolution counter: monotonic, the same on every processor, and not the processor's cycle count.
Z4_API std::uint64_t GetCpuCycle();
/// How many counts the high-resolution counter makes in a second. It is asked of the system once and kept.
Z4_API std::uint64_t GetCpuFrequency();
/// Counts from `start` to now, or to `end`; both are values of GetCpuCycle().
Z4_API std::uint64_t GetElapsedCPUCycles(std::uint64_t start);
Z4_API std::uint64_t GetElapsedCPUCycles(std::uint64_t start, std::uint64_t end);

/// How many microseconds `counts` of the high-resolution counter last: counts * 1000 / (frequency / 1000), both
/// quotients rounded down. So the result is exact for frequencies that are multiples of 1000, and otherwise too large
/// by less than one part in (frequency / 1000). From 2^64 / 1000 counts on (58 years at 10 MHz) the product wraps
/// around.
Z4_API std::uint64_t GetMicroSecFromCycles(std::uint64_t counts);
/// The high-resolution counter in microseconds: GetMicroSecFromCycles(GetCpuCycle()).
Z4_API std::uint64_t GetMicroSec();
/// Microseconds from `start` to now, or to `end`; both are values of GetMicroSec().
Z4_API std::uint64_t GetElapsedMicroSeconds(std::uint64_t start);
Z4_API std::uint64_t GetElapsedMicroSeconds(std::uint64_t start, std::uint64_t end);

/// A calendar date with the time of day. The fields come in the order of the C library's `tm`, but month and year are
/// the usual ones, without its offsets.
struct Date {
    std::int32_t second;         ///< 0 to 59
    std::int32_t minute;         ///< 0 to 59
    std::int32_t hour;           ///< 0 to 23
    std::int32_t dayOfMonth;     ///< 1 to 31
    std::int32_t month;          ///< 1 to 12
    std::int32_t year;           ///< such as 2026
    std::int32_t dayOfWeek;      ///< 0 (Sunday) to 6
    std::int32_t milliSeconds;   ///< 0 to 999
    std::int32_t daylightSaving; ///< always -1: not known
};

/// Fills `date` with the local time. @return true, always.
Z4_API bool GetDate(Date& date);
/// Fills `date` with UTC. @return true, always.
Z4_API bool GetUTCDate(Date& date);

} // namespace Z4::Time
