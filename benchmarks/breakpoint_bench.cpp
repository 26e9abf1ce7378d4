// Breakpoints beside the system's calls that they are made of, and a formatted line beside a formatter that nobody can
// watch.
#include <windows.h>

#include <benchmark/benchmark.h>
#include <host/zelkhost.h>
#include <iterator>
#include <thread>
#include <tlhelp32.h>
#include <vector>
#include <zelk_core/base/strformat.h>
#include <zelk_core/services/dbghelp/breakpoint.h>
#include <zelk_core/services/dbghelp/lifecycle.h>

// The library's formatter without its watch, by another name: benchmarks/unwatched.
namespace Unwatched {
class StrFormat {
public:
    static int snprintf(char* buffer, unsigned size, const char* format, ...);
};
} // namespace Unwatched

namespace {

constexpr DWORD WRITE_OF_FOUR = 0xD0001; // Dr7, first slot
alignas(4) volatile unsigned g_watched;

/// Threads that wait while a row runs.
class Crowd {
public:
    explicit Crowd(std::int64_t count) {
        for (std::int64_t i = 0; i < count; ++i) {
            m_threads.emplace_back([this] { WaitForSingleObject(m_end, INFINITE); });
        }
    }
    ~Crowd() {
        SetEvent(m_end);
        for (std::thread& thread : m_threads) {
            thread.join();
        }
        CloseHandle(m_end);
    }
    Crowd(const Crowd&) = delete;
    Crowd& operator=(const Crowd&) = delete;

private:
    HANDLE m_end = CreateEventA(nullptr, TRUE, FALSE, nullptr);
    std::vector<std::thread> m_threads;
};

void* Watched() {
    return const_cast<unsigned*>(&g_watched);
}

void SetAndClear(benchmark::State& state) {
    const Crowd crowd(state.range());
    for (auto _ : state) {
        unsigned long slot = 0;
        if (Z4::HardwareBreakpoint::Set(Watched(), 4, Z4::BREAK_ON_WRITE, Z4::HardwareBreakpoint::ALL_THREADS, nullptr,
                                        nullptr, slot) != Z4::ERR_OK) {
            state.SkipWithError("no debug registers");
            break;
        }
        Z4::HardwareBreakpoint::Clear(slot);
    }
}

/// Changes one of a thread's breakpoints.
void SetRaw(HANDLE thread, bool set) {
    CONTEXT registers{};
    registers.ContextFlags = CONTEXT_DEBUG_REGISTERS;
    GetThreadContext(thread, &registers);
    registers.Dr0 = static_cast<DWORD>(reinterpret_cast<std::uintptr_t>(Watched()));
    registers.Dr7 = (registers.Dr7 & ~WRITE_OF_FOUR) | (set ? WRITE_OF_FOUR : 0);
    SetThreadContext(thread, &registers);
}

void SetAllRaw(bool set) {
    SetRaw(GetCurrentThread(), set);
    const HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    THREADENTRY32 entry{};
    entry.dwSize = sizeof entry;
    for (BOOL more = Thread32First(snapshot, &entry); more != 0; more = Thread32Next(snapshot, &entry)) {
        if (entry.th32OwnerProcessID == GetCurrentProcessId() && entry.th32ThreadID != GetCurrentThreadId()) {
            const HANDLE thread =
                OpenThread(THREAD_GET_CONTEXT | THREAD_SET_CONTEXT | THREAD_SUSPEND_RESUME, FALSE, entry.th32ThreadID);
            SuspendThread(thread);
            SetRaw(thread, set);
            ResumeThread(thread);
            CloseHandle(thread);
        }
    }
    CloseHandle(snapshot);
}

void SetAndClearRaw(benchmark::State& state) {
    const Crowd crowd(state.range());
    for (auto _ : state) {
        SetAllRaw(true);
        SetAllRaw(false);
    }
}

unsigned g_calls;

void Z4_CDECL Count(const Z4::HardwareBreakpoint::Hit&, void*) {
    ++g_calls;
}

void Hit(benchmark::State& state) {
    unsigned long slot = 0;
    g_calls = 0;
    if (Z4::HardwareBreakpoint::Set(Watched(), 4, Z4::BREAK_ON_WRITE, GetCurrentThreadId(), Count, nullptr, slot) !=
        Z4::ERR_OK) {
        state.SkipWithError("no debug registers");
    }
    for (auto _ : state) {
        g_watched = 1;
    }
    if (g_calls != state.iterations()) {
        state.SkipWithError("hits are lost");
    }
    Z4::HardwareBreakpoint::Clear(slot);
}

LONG CALLBACK CountRaw(EXCEPTION_POINTERS* exception) {
    if (exception->ExceptionRecord->ExceptionCode != EXCEPTION_SINGLE_STEP) {
        return EXCEPTION_CONTINUE_SEARCH;
    }
    exception->ContextRecord->Dr6 = 0;
    ++g_calls;
    return EXCEPTION_CONTINUE_EXECUTION;
}

void HitRaw(benchmark::State& state) {
    void* const handler = AddVectoredExceptionHandler(1, CountRaw);
    SetRaw(GetCurrentThread(), true);
    g_calls = 0;
    for (auto _ : state) {
        g_watched = 1;
    }
    if (g_calls != state.iterations()) {
        state.SkipWithError("hits are lost");
    }
    SetRaw(GetCurrentThread(), false);
    RemoveVectoredExceptionHandler(handler);
}

template <int (*FORMAT)(char*, unsigned, const char*, ...)>
void Line(benchmark::State& state) {
    char line[200];
    unsigned number = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(FORMAT(line, sizeof line, "[%s] %d of %u: %08x\n", "room", -5, ++number, 0xBEEFu));
        benchmark::ClobberMemory();
    }
}

} // namespace

BENCHMARK(SetAndClear)->Name("breakpoint_set_and_clear/zelk")->Arg(1)->Arg(16);
BENCHMARK(SetAndClearRaw)->Name("breakpoint_set_and_clear/raw_calls")->Arg(1)->Arg(16);
BENCHMARK(Hit)->Name("breakpoint_hit/zelk");
BENCHMARK(HitRaw)->Name("breakpoint_hit/raw_handler");
BENCHMARK(Line<Z4::StrFormat::snprintf>)->Name("line_nobody_watches/zelk");
BENCHMARK(Line<Unwatched::StrFormat::snprintf>)->Name("line_nobody_watches/unwatchable");

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    benchmark::AddCustomContext("raw_calls",
                                "a snapshot of the threads, and on each GetThreadContext and SetThreadContext without "
                                "looking whether it is there or whose the registers are");
    benchmark::AddCustomContext("raw_handler", "a vectored handler that counts and clears Dr6");
    benchmark::AddCustomContext("unwatchable", "the same formatter, compiled without the load");
    ZelkHost::Install();
    Z4::InitializeDbgHelpService(false);
    benchmark::RunSpecifiedBenchmarks();
    Z4::ShutdownDbgHelpService();
}
