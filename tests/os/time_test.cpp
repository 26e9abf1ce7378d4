// Faults hunted: a clock taken for another, elapsed times that break at the wrap, quotients in another order, a field
// of the date in another's place, a watch that forgets or doubles an interval, slots that threads share.
#include <windows.h>

#include <array>
#include <bit>
#include <ctime>
#include <gtest/gtest.h>
#include <tests/support/importhook.h>
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
using ZelkTest::ImportHook;

TEST(TimeArithmetic, MicroSecondsDivideTheFrequencyFirst) {
    const std::array<std::uint64_t, 3> rows[] = {{3'579'545, 3'579'545, 1'000'152},
                                                 {19, 10'000'000, 1},
                                                 // The product wraps just here.
                                                 {~0ull / 1000, 10'000'000, 1'844'674'407'370'955},
                                                 {~0ull / 1000 + 1, 1000, 384}};
    for (const auto& [counts, frequency, microSec] : rows) {
        EXPECT_EQ(Z4::Private::MicroSecFromCounts(counts, Z4::Private::CountsPerMilliSec(frequency)), microSec);
    }
}

/// While it lives, the system's clocks stand still.
class StoppedClocks {
public:
    static inline std::uint64_t s_counter;
    static inline DWORD s_tick;

private:
    static BOOL WINAPI Counter(LARGE_INTEGER* counts) {
        counts->QuadPart = static_cast<LONGLONG>(s_counter);
        return TRUE;
    }
    static DWORD WINAPI Tick() { return s_tick; }
    static void WINAPI Local(SYSTEMTIME* time) { *time = {2026, 11, 6, 21, 13, 14, 15, 678}; }
    static void WINAPI Utc(SYSTEMTIME* time) { *time = {2027, 1, 0, 2, 3, 4, 5, 6}; }

    ImportHook m_counter{"QueryPerformanceCounter", Counter};
    ImportHook m_tick{"GetTickCount", Tick};
    ImportHook m_local{"GetLocalTime", Local};
    ImportHook m_utc{"GetSystemTime", Utc};
};

TEST(TimeClocks, FollowTheSystemsAcrossTheirWrap) {
    LARGE_INTEGER frequency;
    QueryPerformanceFrequency(&frequency);
    const auto known = static_cast<std::uint64_t>(frequency.QuadPart);
    EXPECT_EQ(Time::GetCpuFrequency(), known);
    EXPECT_EQ(Time::GetMicroSecFromCycles(1'000'000'007), 1'000'000'007'000 / (known / 1000));
    EXPECT_LE(Time::Get() - static_cast<std::uint32_t>(std::time(nullptr)), 60u);

    EXPECT_EQ(Time::GetElapsedMilliSeconds(0xFFFFFF00, 0x00000100), 512u);
    EXPECT_EQ(Time::GetElapsedCPUCycles(~0ull - 9, 10), 20u);
    EXPECT_EQ(Time::GetElapsedMicroSeconds(~0ull - 9, 10), 20u);

    StoppedClocks clocks;
    clocks.s_tick = 0x89ABCDEF;
    clocks.s_counter = 5 * known;
    EXPECT_EQ(Time::GetMilliSec(), 0x89ABCDEF);
    EXPECT_EQ(Time::GetElapsedMilliSeconds(0xFFFFFFFF), 0x89ABCDF0);
    EXPECT_EQ(Time::GetCpuCycle(), 5 * known);
    EXPECT_EQ(Time::GetElapsedCPUCycles(known), 4 * known);
    EXPECT_EQ(Time::GetMicroSec(), Time::GetMicroSecFromCycles(5 * known));
    EXPECT_EQ(Time::GetElapsedMicroSeconds(1'000), Time::GetMicroSec() - 1'000);
}

TEST(TimeDate, IsTheSystemsDateWithoutOffsets) {
    using Words = std::array<std::int32_t, 9>;
    const StoppedClocks clocks;
    Time::Date date;
    EXPECT_TRUE(Time::GetDate(date));
    EXPECT_EQ(std::bit_cast<Words>(date), (Words{15, 14, 13, 21, 11, 2026, 6, 678, -1}));
    EXPECT_TRUE(Time::GetUTCDate(date));
    EXPECT_EQ(std::bit_cast<Words>(date), (Words{5, 4, 3, 2, 1, 2027, 0, 6, -1}));
}

TEST(StopWatch, AddsUpItsIntervals) {
    StoppedClocks clocks;
    StopWatch watch(false);
    const struct {
        std::uint64_t now;
        void (*act)(StopWatch&);
        // 5 seconds later:
        bool started;
        std::uint64_t elapsed, total;
    } rows[] = {
        {100, [](StopWatch& w) { w.Stop(); }, false, 0, 0},
        {200, [](StopWatch& w) { w.Start(); }, true, 5, 5},
        {220, [](StopWatch& w) { w.Stop(); }, false, 20, 20},
        {300, [](StopWatch& w) { w.Stop(); }, false, 20, 40}, // once more
        {400, [](StopWatch& w) { w.Start(); }, true, 5, 45},
        {410, [](StopWatch& w) { w.Start(); }, true, 5, 45}, // drops 10
        {420, [](StopWatch& w) { w.Stop(); }, false, 10, 50},
        {500, [](StopWatch& w) { w.Restart(); }, true, 5, 5},
        {530, [](StopWatch& w) { w.Stop(); }, false, 30, 30},
        {700, [](StopWatch& w) { w.Reset(77); }, false, 30, 0}, // keeps the last interval
        {900, [](StopWatch& w) { w.Restart(), w.Reset(0); }, false, 0, 0},
        {950, [](StopWatch& w) { w = StopWatch(true); }, true, 5, 5},
    };
    const std::uint64_t second = Time::GetCpuFrequency();
    for (const auto& row : rows) {
        SCOPED_TRACE(row.now);
        clocks.s_counter = row.now * second;
        row.act(watch);
        clocks.s_counter += 5 * second;
        EXPECT_EQ(watch.IsStarted(), row.started);
        EXPECT_EQ(watch.GetElapsed(0), row.elapsed * second);
        EXPECT_EQ(watch.GetElapsed((row.now + 3) * second), (row.started ? 3 : row.elapsed) * second);
        EXPECT_EQ(watch.GetCumul(), row.total * second);
        EXPECT_EQ(watch.GetElapsedUSec(), Time::GetMicroSecFromCycles(row.elapsed * second));
        EXPECT_EQ(watch.GetElapsedMs(), watch.GetElapsedUSec() / 1000);
        EXPECT_EQ(watch.GetCumulUSec(), Time::GetMicroSecFromCycles(row.total * second));
        EXPECT_EQ(watch.GetCumulMs(), watch.GetCumulUSec() / 1000);
    }
}

TEST(TlsSlots, HoldAValuePerThreadToTheLastSlot) {
    constexpr std::uint32_t NONE = 0xFFFFFFFF;
    std::vector<std::uint32_t> slots;
    for (std::uint32_t slot; (slot = TlsShortCut::Alloc()) != NONE;) {
        slots.push_back(slot);
    }
    EXPECT_GT(slots.size(), 64u) << "more than the thread's own block holds";
    const auto setAll = [&](std::uint32_t first) {
        for (const std::uint32_t slot : slots) {
            EXPECT_EQ(TlsShortCut::Get(slot), 0u) << slot;
            TlsShortCut::Set(slot, first + slot);
        }
    };
    setAll(0x80000000);
    std::thread(setAll, 0x1000).join();
    for (const std::uint32_t slot : slots) {
        EXPECT_EQ(TlsShortCut::Get(slot), 0x80000000 + slot);
        TlsShortCut::Free(slot);
    }
}

} // namespace
