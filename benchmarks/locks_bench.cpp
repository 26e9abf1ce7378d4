// Each lock beside what it stands on: a raw critical section, or a bare exchange and store. With more threads than
// cores, what is measured is mostly how often the system changes threads. Time is
// that of one locking and unlocking.
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

const int CORES = static_cast<int>(GetActiveProcessorCount(ALL_PROCESSOR_GROUPS));

template <class LockClass>
void Contended(benchmark::State& state) {
    static Shared<LockClass> shared;
    const DWORD_PTR before = SetThreadAffinityMask(GetCurrentThread(), DWORD_PTR{1} << state.thread_index() % CORES);
    for (auto _ : state) {
        shared.lock.Lock();
        benchmark::DoNotOptimize(++shared.count);
        shared.lock.Unlock();
    }
    SetThreadAffinityMask(GetCurrentThread(), before);
}

BENCHMARK(Uncontended<RawCriticalSection>)->Name("lock_uncontended/critical_section");
BENCHMARK(Uncontended<Z4::AdaptiveLock>)->Name("lock_uncontended/zelk_AdaptiveLock");
BENCHMARK(Uncontended<Z4::AdaptiveLockNonRecursive>)->Name("lock_uncontended/zelk_AdaptiveLockNonRecursive");
BENCHMARK(Uncontended<Z4::BlockingLock>)->Name("lock_uncontended/zelk_BlockingLock");
BENCHMARK(Uncontended<Z4::BlockingLockNonRecursive>)->Name("lock_uncontended/zelk_BlockingLockNonRecursive");
BENCHMARK(Uncontended<RawExchange>)->Name("spin_uncontended/exchange");
BENCHMARK(Uncontended<Z4::NonRecursiveSpinLock>)->Name("spin_uncontended/zelk");

BENCHMARK(Contended<RawCriticalSection>)->Name("lock_contended/critical_section")->ThreadRange(2, 32)->UseRealTime();
BENCHMARK(Contended<Z4::AdaptiveLock>)->Name("lock_contended/zelk_AdaptiveLock")->ThreadRange(2, 32)->UseRealTime();
BENCHMARK(Contended<Z4::BlockingLock>)->Name("lock_contended/zelk_BlockingLock")->ThreadRange(2, 32)->UseRealTime();
BENCHMARK(Contended<RawExchange>)->Name("spin_contended/exchange")->Threads(2)->UseRealTime();
BENCHMARK(Contended<Z4::NonRecursiveSpinLock>)->Name("spin_contended/zelk")->Threads(2)->UseRealTime();

} // namespace

BENCHMARK_MAIN();
