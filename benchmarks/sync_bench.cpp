// Each synchronisation object beside the raw calls that it stands on.
#include <windows.h>

#include <array>
#include <atomic>
#include <benchmark/benchmark.h>
#include <memory>
#include <thread>
#include <zelk_core/os/condvariable.h>
#include <zelk_core/os/event.h>
#include <zelk_core/os/private/threadlocal_gcc.h>
#include <zelk_core/os/rwlock.h>
#include <zelk_core/os/semaphore.h>
#include <zelk_core/os/threadbarrier.h>

namespace {

class RawSlimLock {
public:
    void LockReader() { AcquireSRWLockShared(&m_lock); }
    void UnlockReader() { ReleaseSRWLockShared(&m_lock); }
    void LockWriter() { AcquireSRWLockExclusive(&m_lock); }
    void UnlockWriter() { ReleaseSRWLockExclusive(&m_lock); }

private:
    SRWLOCK m_lock = SRWLOCK_INIT;
};

class RawEvent {
public:
    RawEvent(bool initialState, bool autoReset, const char* name)
        : m_handle(CreateEventA(nullptr, !autoReset, initialState, name)) {}
    ~RawEvent() { CloseHandle(m_handle); }
    RawEvent(const RawEvent&) = delete;
    RawEvent& operator=(const RawEvent&) = delete;

    void SetDone() { SetEvent(m_handle); }
    void Reset() { ResetEvent(m_handle); }
    bool TryWait() { return WaitForSingleObject(m_handle, 0) == WAIT_OBJECT_0; }
    void WaitUntilDone() { WaitForSingleObject(m_handle, INFINITE); }

    static bool TryWaitAll(RawEvent* const* events, unsigned long count) {
        HANDLE handles[MAXIMUM_WAIT_OBJECTS];
        for (unsigned long i = 0; i < count; ++i) {
            handles[i] = events[i]->m_handle;
        }
        return WaitForMultipleObjects(count, handles, TRUE, 0) == WAIT_OBJECT_0;
    }

private:
    HANDLE m_handle;
};

class RawSemaphore {
public:
    RawSemaphore(unsigned long initialCount, unsigned long maximumCount, const char* name)
        : m_handle(CreateSemaphoreA(nullptr, static_cast<LONG>(initialCount), static_cast<LONG>(maximumCount), name)) {}
    ~RawSemaphore() { CloseHandle(m_handle); }
    RawSemaphore(const RawSemaphore&) = delete;
    RawSemaphore& operator=(const RawSemaphore&) = delete;

    void Lock() { WaitForSingleObject(m_handle, INFINITE); }
    void Unlock() { ReleaseSemaphore(m_handle, 1, nullptr); }

private:
    HANDLE m_handle;
};

class RawCondition {
public:
    void Signal() { WakeConditionVariable(&m_condition); }
    void Broadcast() { WakeAllConditionVariable(&m_condition); }
    template <class LockClass>
    void Wait(LockClass& lock) {
        SleepConditionVariableCS(&m_condition, static_cast<CRITICAL_SECTION*>(lock.GetInternalLockImpl()), INFINITE);
    }
    template <class LockClass>
    bool WaitWithTimeout(LockClass& lock, unsigned long ms) {
        return SleepConditionVariableCS(&m_condition, static_cast<CRITICAL_SECTION*>(lock.GetInternalLockImpl()), ms) !=
               0;
    }

private:
    CONDITION_VARIABLE m_condition = CONDITION_VARIABLE_INIT;
};

class RawCriticalSection {
public:
    RawCriticalSection() { InitializeCriticalSection(&m_section); }
    ~RawCriticalSection() { DeleteCriticalSection(&m_section); }
    RawCriticalSection(const RawCriticalSection&) = delete;
    RawCriticalSection& operator=(const RawCriticalSection&) = delete;

    void Lock() { EnterCriticalSection(&m_section); }
    void Unlock() { LeaveCriticalSection(&m_section); }
    void* GetInternalLockImpl() { return &m_section; }

private:
    CRITICAL_SECTION m_section;
};

class RawBarrier {
public:
    explicit RawBarrier(unsigned long partyCount) : m_partyCount(partyCount) {}

    bool Wait() {
        m_lock.Lock();
        if (++m_arrivedCount >= m_partyCount) {
            ++m_generation;
            m_arrivedCount = 0;
            m_lock.Unlock();
            m_condition.Broadcast();
            return true;
        }
        const unsigned long generation = m_generation;
        while (m_generation == generation) {
            m_condition.Wait(m_lock);
        }
        m_lock.Unlock();
        return false;
    }

private:
    RawCriticalSection m_lock;
    RawCondition m_condition;
    unsigned long m_partyCount;
    unsigned long m_arrivedCount = 0;
    unsigned long m_generation = 0;
};

template <class LockClass>
void Read(benchmark::State& state) {
    LockClass lock;
    for (auto _ : state) {
        lock.LockReader();
        lock.UnlockReader();
    }
}
BENCHMARK(Read<Z4::RWLock>)->Name("rwlock_first_read/zelk");
BENCHMARK(Read<RawSlimLock>)->Name("rwlock_first_read/raw");
BENCHMARK(Read<Z4::RWLockNonRecursive>)->Name("rwlocknonrecursive_read/zelk");
BENCHMARK(Read<RawSlimLock>)->Name("rwlocknonrecursive_read/raw");

// The peer of a nested read is the raw lock's only read.
void NestedRead(benchmark::State& state) {
    Z4::RWLock lock;
    lock.LockReader();
    for (auto _ : state) {
        lock.LockReader();
        lock.UnlockReader();
    }
    lock.UnlockReader();
}
BENCHMARK(NestedRead)->Name("rwlock_nested_read/zelk");
BENCHMARK(Read<RawSlimLock>)->Name("rwlock_nested_read/raw");

template <class LockClass>
void Write(benchmark::State& state) {
    LockClass lock;
    for (auto _ : state) {
        lock.LockWriter();
        lock.UnlockWriter();
    }
}
BENCHMARK(Write<Z4::RWLock>)->Name("rwlock_write/zelk");
BENCHMARK(Write<RawSlimLock>)->Name("rwlock_write/raw");
BENCHMARK(Write<Z4::RWLockNonRecursive>)->Name("rwlocknonrecursive_write/zelk");
BENCHMARK(Write<RawSlimLock>)->Name("rwlocknonrecursive_write/raw");

Z4_THREAD_LOCAL_IMAGE void* slotImage = nullptr;

void ThreadLocalNative(benchmark::State& state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(Z4::Private::ThisThreads(slotImage));
    }
}
void ThreadLocalSlot(benchmark::State& state) {
    const DWORD slot = TlsAlloc();
    for (auto _ : state) {
        benchmark::DoNotOptimize(TlsGetValue(slot));
    }
    TlsFree(slot);
}
BENCHMARK(ThreadLocalNative)->Name("thread_local/zelk");
BENCHMARK(ThreadLocalSlot)->Name("thread_local/raw");

template <class EventClass>
void SetAndTake(benchmark::State& state) {
    EventClass event(false, true, nullptr);
    for (auto _ : state) {
        event.SetDone();
        benchmark::DoNotOptimize(event.TryWait());
    }
}
BENCHMARK(SetAndTake<Z4::Event>)->Name("event_set_take/zelk");
BENCHMARK(SetAndTake<RawEvent>)->Name("event_set_take/raw");

template <class EventClass>
void TryWaitAll(benchmark::State& state) {
    std::array<std::unique_ptr<EventClass>, MAXIMUM_WAIT_OBJECTS> owned;
    std::array<EventClass*, MAXIMUM_WAIT_OBJECTS> events;
    for (std::size_t i = 0; i < events.size(); ++i) {
        owned[i] = std::make_unique<EventClass>(true, false, nullptr);
        events[i] = owned[i].get();
    }
    for (auto _ : state) {
        benchmark::DoNotOptimize(EventClass::TryWaitAll(events.data(), MAXIMUM_WAIT_OBJECTS));
    }
}
BENCHMARK(TryWaitAll<Z4::Event>)->Name("event_try_all_64/zelk");
BENCHMARK(TryWaitAll<RawEvent>)->Name("event_try_all_64/raw");

template <class SemaphoreClass>
void LockAndUnlock(benchmark::State& state) {
    SemaphoreClass semaphore(1, 1, nullptr);
    for (auto _ : state) {
        semaphore.Lock();
        semaphore.Unlock();
    }
}
BENCHMARK(LockAndUnlock<Z4::Semaphore>)->Name("semaphore_lock_unlock/zelk");
BENCHMARK(LockAndUnlock<RawSemaphore>)->Name("semaphore_lock_unlock/raw");

template <class ConditionClass>
void SignalNobody(benchmark::State& state) {
    ConditionClass condition;
    for (auto _ : state) {
        condition.Signal();
    }
}
BENCHMARK(SignalNobody<Z4::CondVariable>)->Name("condvariable_signal/zelk");
BENCHMARK(SignalNobody<RawCondition>)->Name("condvariable_signal/raw");

template <class ConditionClass>
void TimeOutAtOnce(benchmark::State& state) {
    RawCriticalSection lock;
    ConditionClass condition;
    lock.Lock();
    for (auto _ : state) {
        benchmark::DoNotOptimize(condition.WaitWithTimeout(lock, 0));
    }
    lock.Unlock();
}
BENCHMARK(TimeOutAtOnce<Z4::CondVariable>)->Name("condvariable_timeout/zelk");
BENCHMARK(TimeOutAtOnce<RawCondition>)->Name("condvariable_timeout/raw");

/// The other side of a hand-over: a thread that answers each Give() of this side.
template <class Ball>
void HandOver(benchmark::State& state) {
    Ball there;
    Ball back;
    std::atomic<bool> ended = false;
    std::thread partner([&] {
        for (;;) {
            there.Take();
            if (ended) {
                return;
            }
            back.Give();
        }
    });
    for (auto _ : state) {
        there.Give();
        back.Take();
    }
    ended = true;
    there.Give();
    partner.join();
}

template <class EventClass>
struct EventBall {
    void Give() { event.SetDone(); }
    void Take() { event.WaitUntilDone(); }
    EventClass event{false, true, nullptr};
};
BENCHMARK(HandOver<EventBall<Z4::Event>>)->Name("event_hand_over/zelk")->UseRealTime();
BENCHMARK(HandOver<EventBall<RawEvent>>)->Name("event_hand_over/raw")->UseRealTime();

template <class SemaphoreClass>
struct SemaphoreBall {
    void Give() { semaphore.Unlock(); }
    void Take() { semaphore.Lock(); }
    SemaphoreClass semaphore{0, 1, nullptr};
};
BENCHMARK(HandOver<SemaphoreBall<Z4::Semaphore>>)->Name("semaphore_hand_over/zelk")->UseRealTime();
BENCHMARK(HandOver<SemaphoreBall<RawSemaphore>>)->Name("semaphore_hand_over/raw")->UseRealTime();

template <class ConditionClass>
struct ConditionBall {
    void Give() {
        lock.Lock();
        given = true;
        lock.Unlock();
        condition.Signal();
    }
    void Take() {
        lock.Lock();
        while (!given) {
            condition.Wait(lock);
        }
        given = false;
        lock.Unlock();
    }
    RawCriticalSection lock;
    ConditionClass condition;
    bool given = false;
};
BENCHMARK(HandOver<ConditionBall<Z4::CondVariable>>)->Name("condvariable_hand_over/zelk")->UseRealTime();
BENCHMARK(HandOver<ConditionBall<RawCondition>>)->Name("condvariable_hand_over/raw")->UseRealTime();

constexpr int PARTY = 4;

template <class BarrierClass>
void Round(benchmark::State& state) {
    static BarrierClass barrier(PARTY);
    for (auto _ : state) {
        benchmark::DoNotOptimize(barrier.Wait());
    }
}
// Four threads on one core. Ours stands on an adaptive lock and wakes the others under it, which both are fixed: a
// thread that wakes finds the lock held by one that waits for the core, and spins through its whole budget of 100 times
// 1000 pauses before it sleeps. That is what the row shows; with a core for each thread a round takes twice the peer's
// time.
BENCHMARK(Round<Z4::ThreadBarrier>)->Name("barrier_round_spinning_on_one_core/zelk")->Threads(PARTY)->UseRealTime();
BENCHMARK(Round<RawBarrier>)->Name("barrier_round_spinning_on_one_core/raw")->Threads(PARTY)->UseRealTime();

} // namespace

int main(int argc, char** argv) {
    // One core: times that wake a thread on another swing several-fold from run to run.
    SetProcessAffinityMask(GetCurrentProcess(), 1);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
}
