// Faults hunted: a clock taken for another, elapsed times that break at the wrap, quotients in another order, a field
// of the date in another's place, a watch that forgets or doubles an interval, slots that threads share.
#include <windows.h>

#include <bit>
#include <cstring>
#include <ctime>
#include <gtest/gtest.h>
#include <thread>
#include <vector>
#include <zelk_core/os/private/time.h>
#include <zelk_core/os/stopwatch.h>
#include <zelk_core/os/time.h>
#include <zelk_core/os/tlsshortcut.h>

namespace {

namespace Time = Z4::Time;
namespace TlsShortCut = Z4::TlsShortCut;
using Z4::StopWatch;

std::uint64_t RawCounter() {
    LARGE_INTEGER counts;
    QueryPerformanceCounter(&counts);
    return static_cast<std::uint64_t>(counts.QuadPart);
}

void PassMicroSec(unsigned us) {
    LARGE_INTEGER frequency;
    QueryPerformanceFrequency(&frequency);
    const std::uint64_t counts = static_cast<std::uint64_t>(frequency.QuadPart) * us / 1'000'000 + 1;
    for (const std::uint64_t begin = RawCounter(); RawCounter() - begin < counts;) {
    }
}

TEST(TimeArithmetic, ElapsedTimesCrossTheWrap) {
    EXPECT_EQ(Time::GetElapsedMilliSeconds(0xFFFFFF00, 0x00000100), 512u);
    EXPECT_EQ(Time::GetElapsedCPUCycles(~0ull - 9, 10), 20u);
    EXPECT_EQ(Time::GetElapsedMicroSeconds(~0ull - 9, 10), 20u);
}

TEST(TimeArithmetic, MicroSecondsDivideTheFrequencyFirst) {
    struct Case {
        std::uint64_t counts, frequency, microSec;
    };
    for (const Case& c : {Case{10'000'000, 10'000'000, 1'000'000}, Case{3'579'545, 3'579'545, 1'000'152},
                          Case{9, 10'000'000, 0}, Case{19, 10'000'000, 1}, Case{0, 10'000'000, 0},
                          Case{1ull << 53, 2'999'999'999, 3'002'400'752'380}, Case{7, 1000, 7000},
                          // The product wraps just here.
                          Case{~0ull / 1000, 10'000'000, 1'844'674'407'370'955}, Case{~0ull / 1000 + 1, 1000, 384}}) {
        EXPECT_EQ(Z4::Private::MicroSecFromCounts(c.counts, Z4::Private::CountsPerMilliSec(c.frequency)), c.microSec)
            << c.counts << " counts at " << c.frequency;
    }
}

TEST(TimeClocks, FollowTheSystems) {
    LARGE_INTEGER frequency;
    QueryPerformanceFrequency(&frequency);
    std::vector<std::thread> threads;
    for (int t = 0; t < 8; ++t) {
        threads.emplace_back([&] {
            const std::uint64_t known = static_cast<std::uint64_t>(frequency.QuadPart);
            EXPECT_EQ(Time::GetCpuFrequency(), known);
            EXPECT_EQ(Time::GetMicroSecFromCycles(1'000'000'007), 1'000'000'007'000 / (known / 1000));
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }

    const auto second = static_cast<std::uint32_t>(std::time(nullptr));
    EXPECT_LE(Time::Get() - second, 60u);
    const DWORD tick = GetTickCount();
    EXPECT_GE(Time::GetElapsedMilliSeconds(tick - 1000), 1000u);
    EXPECT_LE(Time::GetElapsedMilliSeconds(tick - 1000), 60'000u);
    EXPECT_LE(Time::GetMilliSec() - tick, 60'000u);

    const std::uint64_t before = RawCounter();
    const std::uint64_t counts = Time::GetCpuCycle();
    const std::uint64_t microSec = Time::GetMicroSec();
    const std::uint64_t after = RawCounter();
    EXPECT_TRUE(before <= counts && counts <= after);
    EXPECT_TRUE(Time::GetMicroSecFromCycles(counts) <= microSec && microSec <= Time::GetMicroSecFromCycles(after));
    EXPECT_LE(after - counts, Time::GetElapsedCPUCycles(counts));
    EXPECT_LE(Time::GetElapsedCPUCycles(counts), 60 * Time::GetCpuFrequency());
    EXPECT_LE(Time::GetMicroSecFromCycles(after) - microSec, Time::GetElapsedMicroSeconds(microSec));
    EXPECT_LE(Time::GetElapsedMicroSeconds(microSec), 60'000'000u);
}

bool SameMinute(const SYSTEMTIME& a, const SYSTEMTIME& b) {
    return a.wMinute == b.wMinute && a.wHour == b.wHour && a.wDay == b.wDay;
}

TEST(TimeDate, IsTheSystemsDateWithoutOffsets) {
    struct Clock {
        bool (*get)(Time::Date&);
        void(WINAPI* raw)(SYSTEMTIME*);
    };
    for (const Clock& clock : {Clock{Time::GetDate, GetLocalTime}, Clock{Time::GetUTCDate, GetSystemTime}}) {
        SYSTEMTIME before;
        SYSTEMTIME after;
        Time::Date date;
        do {
            std::memset(&date, 0x55, sizeof date);
            clock.raw(&before);
            EXPECT_TRUE(clock.get(date));
            clock.raw(&after);
        } while (!SameMinute(before, after));
        EXPECT_TRUE(before.wSecond <= date.second && date.second <= after.wSecond);
        EXPECT_EQ(date.minute, before.wMinute);
        EXPECT_EQ(date.hour, before.wHour);
        EXPECT_EQ(date.dayOfMonth, before.wDay);
        EXPECT_EQ(date.month, before.wMonth);
        EXPECT_EQ(date.year, before.wYear);
        EXPECT_EQ(date.dayOfWeek, before.wDayOfWeek);
        EXPECT_TRUE(0 <= date.milliSeconds && date.milliSeconds <= 999);
        EXPECT_EQ(date.daylightSaving, -1);
    }
}

/// The watch's fields, in their order.
struct Fields {
    std::uint64_t start, cumulated, lastInterval;
    bool started;
    bool operator==(const Fields&) const = default;
};

Fields Look(const StopWatch& watch) {
    return std::bit_cast<Fields>(watch);
}

StopWatch Make(const Fields& fields) {
    return std::bit_cast<StopWatch>(fields);
}

TEST(StopWatchStates, StartKeepsWhatRestartClears) {
    EXPECT_EQ(Look(StopWatch(false)), (Fields{0, 0, 0, false}));
    const std::uint64_t before = RawCounter();
    const StopWatch made(true);
    StopWatch started = Make({1, 200, 30, false});
    started.Start();
    StopWatch restarted = Make({1, 200, 30, true});
    restarted.Restart();
    const std::uint64_t after = RawCounter();
    for (const StopWatch& watch : {made, started, restarted}) {
        const std::uint64_t begin = Look(watch).start;
        EXPECT_TRUE(watch.IsStarted() && before <= begin && begin <= after);
    }
    EXPECT_EQ(Look(made), (Fields{Look(made).start, 0, 0, true}));
    EXPECT_EQ(Look(started), (Fields{Look(started).start, 200, 30, true}));
    EXPECT_EQ(Look(restarted), (Fields{Look(restarted).start, 0, 0, true}));
}

TEST(StopWatchStates, StopAddsTheIntervalEachTime) {
    StopWatch idle(false);
    idle.Stop();
    EXPECT_EQ(idle.GetCumul(), 0u);

    StopWatch watch(true);
    PassMicroSec(1000);
    watch.Stop();
    EXPECT_FALSE(watch.IsStarted());
    const std::uint64_t interval = watch.GetElapsed(0);
    EXPECT_GE(interval, Time::GetCpuFrequency() / 1000);
    EXPECT_EQ(watch.GetCumul(), interval);
    watch.Stop();
    EXPECT_EQ(watch.GetCumul(), 2 * interval);

    watch.Start();
    watch.Stop();
    EXPECT_EQ(watch.GetCumul(), 2 * interval + watch.GetElapsed(0));
}

TEST(StopWatchStates, ResetKeepsTheLastInterval) {
    StopWatch watch = Make({1, 200, 30, true});
    watch.Reset(77);
    EXPECT_EQ(Look(watch), (Fields{77, 0, 30, false}));
    watch.Stop();
    EXPECT_EQ(watch.GetCumul(), 30u);
}

TEST(StopWatchReadings, CountOnWhileItRuns) {
    const std::uint64_t frequency = Time::GetCpuFrequency();
    const StopWatch stopped = Make({1, 5 * frequency + 77, 3 * frequency + 55, false});
    EXPECT_EQ(stopped.GetElapsed(0), 3 * frequency + 55);
    EXPECT_EQ(stopped.GetElapsed(99), 3 * frequency + 55);
    EXPECT_EQ(stopped.GetElapsedUSec(), Time::GetMicroSecFromCycles(3 * frequency + 55));
    EXPECT_EQ(stopped.GetElapsedMs(), stopped.GetElapsedUSec() / 1000);
    EXPECT_EQ(stopped.GetCumul(), 5 * frequency + 77);
    EXPECT_EQ(stopped.GetCumulUSec(), Time::GetMicroSecFromCycles(5 * frequency + 77));
    EXPECT_EQ(stopped.GetCumulMs(), stopped.GetCumulUSec() / 1000);

    const std::uint64_t start = RawCounter() - 3 * frequency;
    const StopWatch running = Make({start, 5 * frequency, 1, true});
    EXPECT_EQ(running.GetElapsed(start + 42), 42u);
    EXPECT_GE(running.GetElapsed(0), 3 * frequency);
    EXPECT_GE(running.GetElapsedMs(), 3000u);
    EXPECT_GE(running.GetCumul(), 8 * frequency);
    EXPECT_GE(running.GetCumulMs(), 8000u);
}

TEST(TlsSlots, HoldAValuePerThreadToTheLastSlot) {
    std::vector<std::uint32_t> slots;
    for (std::uint32_t slot; (slot = TlsShortCut::Alloc()) != 0xFFFFFFFF;) {
        slots.push_back(slot);
    }
    EXPECT_GT(slots.size(), 64u) << "more than the thread's own block holds";
    EXPECT_EQ(TlsShortCut::Get(0xFFFFFFFF), 0u);
    TlsShortCut::Set(0xFFFFFFFF, 1);
    TlsShortCut::Free(0xFFFFFFFF);

    const auto set = [&](std::uint32_t base) {
        for (const std::uint32_t slot : slots) {
            ASSERT_EQ(TlsShortCut::Get(slot), 0u) << slot;
            TlsShortCut::Set(slot, base + slot);
        }
    };
    const auto check = [&](std::uint32_t base) {
        for (const std::uint32_t slot : slots) {
            ASSERT_EQ(TlsShortCut::Get(slot), base + slot) << slot;
        }
    };
    set(0x80000000);
    std::thread([&] {
        set(0x1000);
        check(0x1000);
    }).join();
    check(0x80000000);

    for (const std::uint32_t slot : slots) {
        TlsShortCut::Free(slot);
    }
    const std::uint32_t again = TlsShortCut::Alloc();
    EXPECT_EQ(TlsShortCut::Get(again), 0u) << "a slot taken again starts afresh";
    TlsShortCut::Free(again);
}

} // namespace
