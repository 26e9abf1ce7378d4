// Each lock beside what it stands on: a raw critical section, or a bare exchange and store.
#include <windows.h>

#include <atomic>
#include <benchmark/benchmark.h>
#include <zelk_core/os/adaptivelock.h>
#include <zelk_core/os/blockinglock.h>
#include <zelk_core/os/spinlock.h>

namespace {

class RawCriticalSection {
public:
    RawCriticalSection() { InitializeCriticalSection(&m_section); }
    ~RawCriticalSection() { DeleteCriticalSection(&m_section); }
    RawCriticalSection(const RawCriticalSection&) = delete;
    RawCriticalSection& operator=(const RawCriticalSection&) = delete;

    void Lock() { EnterCriticalSection(&m_section); }
    void Unlock() { LeaveCriticalSection(&m_section); }

private:
    CRITICAL_SECTION m_section;
};

class RawExchange {
public:
    void Lock() {
        while (m_state.exchange(1, std::memory_order_acquire) != 0) {
        }
    }
    void Unlock() { m_state.store(0, std::memory_order_release); }

private:
    std::atomic<unsigned long> m_state = 0;
};

template <class LockClass>
struct Shared {
    alignas(64) LockClass lock;
    alignas(64) unsigned long long count = 0;
};

template <class LockClass>
void Uncontended(benchmark::State& state) {
    Shared<LockClass> shared;
    benchmark::DoNotOptimize(&shared);
    for (auto _ : state) {
        shared.lock.Lock();
        benchmark::ClobberMemory();
        shared.lock.Unlock();
    }
}

template <class LockClass>
void Contended(benchmark::State& state) {
    static Shared<LockClass> shared;
    const DWORD_PTR before = SetThreadAffinityMask(GetCurrentThread(), DWORD_PTR{1} << state.thread_index());
    for (auto _ : state) {
        shared.lock.Lock();
        benchmark::DoNotOptimize(++shared.count);
        shared.lock.Unlock();
    }
    SetThreadAffinityMask(GetCurrentThread(), before);
}

BENCHMARK(Uncontended<RawCriticalSection>);
BENCHMARK(Uncontended<Z4::AdaptiveLock>);
BENCHMARK(Uncontended<Z4::AdaptiveLockNonRecursive>);
BENCHMARK(Uncontended<Z4::BlockingLock>);
BENCHMARK(Uncontended<Z4::BlockingLockNonRecursive>);
BENCHMARK(Uncontended<RawExchange>);
BENCHMARK(Uncontended<Z4::NonRecursiveSpinLock>);

BENCHMARK(Contended<RawCriticalSection>)->Threads(2)->UseRealTime();
BENCHMARK(Contended<Z4::AdaptiveLock>)->Threads(2)->UseRealTime();
BENCHMARK(Contended<Z4::AdaptiveLockNonRecursive>)->Threads(2)->UseRealTime();
BENCHMARK(Contended<Z4::BlockingLock>)->Threads(2)->UseRealTime();
BENCHMARK(Contended<Z4::BlockingLockNonRecursive>)->Threads(2)->UseRealTime();
BENCHMARK(Contended<RawExchange>)->Threads(2)->UseRealTime();
BENCHMARK(Contended<Z4::NonRecursiveSpinLock>)->Threads(2)->UseRealTime();

} // namespace

BENCHMARK_MAIN();
