// Atomics beside the compiler's own, clocks and thread-local slots beside the raw calls.
#include <windows.h>

#include <atomic>
#include <benchmark/benchmark.h>
#include <zelk_core/os/atomic.h>
#include <zelk_core/os/stopwatch.h>
#include <zelk_core/os/time.h>
#include <zelk_core/os/tlsshortcut.h>

namespace {

// Where a peer's form returns the other of the two values, the peer's row pays for the correction too.
#define ZELK_ATOMIC_PAIR(NAME, OURS, PEER)                       \
    template <class T>                                           \
    void NAME##Zelk(benchmark::State& state) {                   \
        alignas(8) volatile T value = 5;                         \
        for (auto _ : state) {                                   \
            benchmark::DoNotOptimize(OURS);                      \
        }                                                        \
    }                                                            \
    template <class T>                                           \
    void NAME##Compiler(benchmark::State& state) {               \
        alignas(8) std::atomic<T> value = 5;                     \
        for (auto _ : state) {                                   \
            benchmark::DoNotOptimize(PEER);                      \
        }                                                        \
    }                                                            \
    BENCHMARK(NAME##Zelk<long>)->Name(#NAME "_32/zelk");         \
    BENCHMARK(NAME##Compiler<long>)->Name(#NAME "_32/compiler"); \
    BENCHMARK(NAME##Zelk<long long>)->Name(#NAME "_64/zelk");    \
    BENCHMARK(NAME##Compiler<long long>)->Name(#NAME "_64/compiler")

// 64 bits are read by exchange here, and the peer's row does the same.
template <class T>
T ReadByExchange(std::atomic<T>& value) {
    T expected = 0;
    value.compare_exchange_strong(expected, 0);
    return expected;
}

ZELK_ATOMIC_PAIR(Get, Z4::Atomic::Get(value), sizeof(T) == 4 ? value.load() : ReadByExchange(value));
ZELK_ATOMIC_PAIR(Exchange, Z4::Atomic::Exchange(value, 7), value.exchange(7));
ZELK_ATOMIC_PAIR(Add, Z4::Atomic::Add(value, 3), value += 3);
ZELK_ATOMIC_PAIR(Increment, Z4::Atomic::Increment(value), ++value);
ZELK_ATOMIC_PAIR(PostDecrement, Z4::Atomic::PostDecrement(value), value--);
ZELK_ATOMIC_PAIR(Or, Z4::Atomic::Or(value, 0xF0), value.fetch_or(0xF0));

#undef ZELK_ATOMIC_PAIR

void RawCounter(benchmark::State& state) {
    for (auto _ : state) {
        LARGE_INTEGER counts;
        QueryPerformanceCounter(&counts);
        benchmark::DoNotOptimize(counts);
    }
}
BENCHMARK(RawCounter)->Name("counter/raw");

void CpuCycle(benchmark::State& state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(Z4::Time::GetCpuCycle());
    }
}
BENCHMARK(CpuCycle)->Name("counter/zelk");

void MicroSec(benchmark::State& state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(Z4::Time::GetMicroSec());
    }
}
BENCHMARK(MicroSec)->Name("counter/zelk_MicroSec");

void StopWatchInterval(benchmark::State& state) {
    Z4::StopWatch watch(false);
    for (auto _ : state) {
        watch.Start();
        watch.Stop();
    }
    benchmark::DoNotOptimize(watch.GetCumul());
}
BENCHMARK(StopWatchInterval)->Name("stop_watch_interval/zelk");

void RawSlot(benchmark::State& state) {
    const DWORD index = TlsAlloc();
    for (auto _ : state) {
        benchmark::DoNotOptimize(TlsGetValue(index));
    }
    TlsFree(index);
}
BENCHMARK(RawSlot)->Name("slot/raw");

void SlotShortCut(benchmark::State& state) {
    const std::uint32_t index = Z4::TlsShortCut::Alloc();
    for (auto _ : state) {
        benchmark::DoNotOptimize(Z4::TlsShortCut::Get(index));
    }
    Z4::TlsShortCut::Free(index);
}
BENCHMARK(SlotShortCut)->Name("slot/zelk");

} // namespace

BENCHMARK_MAIN();
