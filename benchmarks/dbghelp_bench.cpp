// A forwarded debug-help call beside the direct one inside a critical section.
#include <windows.h>

#include <benchmark/benchmark.h>
#include <dbghelp.h>
#include <host/zelkhost.h>
#include <zelk_core/services/dbghelp/lifecycle.h>
#include <zelk_core/services/dbghelp/windbghelp.h>

namespace {

void ForwardedOptions(benchmark::State& state) {
    Z4::WinDbgHelp& debugHelp = Z4::WinDbgHelp::Instance();
    for (auto _ : state) {
        benchmark::DoNotOptimize(debugHelp.SymGetOptions());
    }
}

void DirectOptions(benchmark::State& state) {
    CRITICAL_SECTION section;
    InitializeCriticalSection(&section);
    const auto getOptions = reinterpret_cast<decltype(&SymGetOptions)>(
        reinterpret_cast<void (*)()>(GetProcAddress(GetModuleHandleA("dbghelp.dll"), "SymGetOptions")));
    for (auto _ : state) {
        EnterCriticalSection(&section);
        benchmark::DoNotOptimize(getOptions());
        LeaveCriticalSection(&section);
    }
    DeleteCriticalSection(&section);
}

void ForwardedHeader(benchmark::State& state) {
    Z4::WinDbgHelp& debugHelp = Z4::WinDbgHelp::Instance();
    void* const base = GetModuleHandleA(nullptr);
    for (auto _ : state) {
        benchmark::DoNotOptimize(debugHelp.ImageNtHeader(base));
    }
}

void DirectHeader(benchmark::State& state) {
    CRITICAL_SECTION section;
    InitializeCriticalSection(&section);
    const auto imageNtHeader = reinterpret_cast<decltype(&ImageNtHeader)>(
        reinterpret_cast<void (*)()>(GetProcAddress(GetModuleHandleA("dbghelp.dll"), "ImageNtHeader")));
    void* const base = GetModuleHandleA(nullptr);
    for (auto _ : state) {
        EnterCriticalSection(&section);
        benchmark::DoNotOptimize(imageNtHeader(base));
        LeaveCriticalSection(&section);
    }
    DeleteCriticalSection(&section);
}

} // namespace

BENCHMARK(ForwardedOptions)->Name("debug_help_get_options/zelk");
BENCHMARK(DirectOptions)->Name("debug_help_get_options/locked_call");
BENCHMARK(ForwardedHeader)->Name("debug_help_nt_header/zelk");
BENCHMARK(DirectHeader)->Name("debug_help_nt_header/locked_call");

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    ZelkHost::Install();
    Z4::InitializeDbgHelpService(false);
    Z4::WinDbgHelp::Instance().IsLoaded();
    benchmark::RunSpecifiedBenchmarks();
    Z4::ShutdownDbgHelpService();
}
