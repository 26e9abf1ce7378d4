#include <windows.h>

#include <atomic>
#include <cstddef>
#include <ctime>
#include <zelk_core/os/private/time.h>
#include <zelk_core/os/time.h>

namespace Z4::Time {

static_assert(offsetof(Date, month) == 16);
static_assert(offsetof(Date, year) == 20);
static_assert(sizeof(Date) == 9 * sizeof(std::int32_t));

namespace {

struct Counter {
    std::uint64_t frequency;
    std::uint64_t perMilliSec;
};

constinit Counter g_counter = {};
constinit std::atomic<bool> g_counterKnown = false;
constinit INIT_ONCE g_counterOnce = INIT_ONCE_STATIC_INIT;

BOOL CALLBACK ReadFrequency(INIT_ONCE*, void*, void**) {
    LARGE_INTEGER frequency;
    QueryPerformanceFrequency(&frequency);
    g_counter.frequency = static_cast<std::uint64_t>(frequency.QuadPart);
    g_counter.perMilliSec = Private::CountsPerMilliSec(g_counter.frequency);
    g_counterKnown.store(true, std::memory_order_release);
    return TRUE;
}

const Counter& GetCounter() {
    // The platform's one-time initialisation is a call; once it is done, this flag saves it.
    if (!g_counterKnown.load(std::memory_order_acquire)) {
        InitOnceExecuteOnce(&g_counterOnce, ReadFrequency, nullptr, nullptr);
    }
    return g_counter;
}

void Fill(Date& date, const SYSTEMTIME& time) {
    date.second = time.wSecond;
    date.minute = time.wMinute;
    date.hour = time.wHour;
    date.dayOfMonth = time.wDay;
    date.month = time.wMonth;
    date.year = time.wYear;
    date.dayOfWeek = time.wDayOfWeek;
    date.milliSeconds = time.wMilliseconds;
    date.daylightSaving = -1;
}

} // namespace

std::uint32_t Get() {
    return static_cast<std::uint32_t>(_time64(nullptr));
}

std::uint32_t GetMilliSec() {
    return GetTickCount();
}

std::uint32_t GetElapsedMilliSeconds(std::uint32_t start) {
    return GetMilliSec() - start;
}

std::uint32_t GetElapsedMilliSeconds(std::uint32_t start, std::uint32_t end) {
    return end - start;
}

std::uint64_t GetCpuCycle() {
    LARGE_INTEGER counts;
    QueryPerformanceCounter(&counts);
    return static_cast<std::uint64_t>(counts.QuadPart);
}

std::uint64_t GetCpuFrequency() {
    return GetCounter().frequency;
}

std::uint64_t GetElapsedCPUCycles(std::uint64_t start) {
    return GetCpuCycle() - start;
}

std::uint64_t GetElapsedCPUCycles(std::uint64_t start, std::uint64_t end) {
    return end - start;
}

std::uint64_t GetMicroSecFromCycles(std::uint64_t counts) {
    return Private::MicroSecFromCounts(counts, GetCounter().perMilliSec);
}

std::uint64_t GetMicroSec() {
    return GetMicroSecFromCycles(GetCpuCycle());
}

std::uint64_t GetElapsedMicroSeconds(std::uint64_t start) {
    return GetMicroSec() - start;
}

std::uint64_t GetElapsedMicroSeconds(std::uint64_t start, std::uint64_t end) {
    return end - start;
}

bool GetDate(Date& date) {
    SYSTEMTIME time;
    GetLocalTime(&time);
    Fill(date, time);
    return true;
}

bool GetUTCDate(Date& date) {
    SYSTEMTIME time;
    GetSystemTime(&time);
    Fill(date, time);
    return true;
}

} // namespace Z4::Time
