#include "stackprobe.h"
#include <tests/support/contract.h>
#include <tests/support/counts.h>
#include <tests/support/testhost.h>
#include <tests/support/winsystem.h>

#include <atomic>
#include <cmath>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <thread>
#include <type_traits>
#include <windows.h>
#include <zelk_core/os/thread.h>

using namespace Z4;
using ZelkTest::AtThreadExit;
using ZelkTest::ExpectContract;
using ZelkTest::Gate;
using ZelkTest::LIBRARY_CHECKS;
using ZelkTest::LogCapture;

namespace {

// Holds new threads on their way to their entry: the loader calls this on each before anything else runs there.
std::atomic<Gate*> g_startGate;

void NTAPI HoldNewThread(void*, DWORD reason, void*) {
    Gate* const gate = reason == DLL_THREAD_ATTACH ? g_startGate.load() : nullptr;
    if (gate != nullptr) {
        gate->Wait();
    }
}

} // namespace

extern "C" {
__attribute__((section(".CRT$XLM"), used)) PIMAGE_TLS_CALLBACK g_holdNewThread = HoldNewThread;
}

namespace {

/// Runs until released, and shows what users may only use in a derived class.
class Worker : public Thread {
public:
    ~Worker() override { release.Open(); }
    void Run() override {
        ++runs;
        entered.Open();
        if (work) {
            work();
        }
        release.Wait();
    }
    using Thread::Join;
    using Thread::MiddlePriority;

    std::atomic<int> runs = 0;
    Gate entered;
    Gate release;
    std::function<void()> work;
};

std::string g_announcedName;
DWORD g_announcedId;

LONG CALLBACK RecordAnnouncement(EXCEPTION_POINTERS* pointers) {
    const EXCEPTION_RECORD& record = *pointers->ExceptionRecord;
    if (record.ExceptionCode == 0x406D1388) {
        g_announcedName = reinterpret_cast<const char*>(record.ExceptionInformation[1]);
        g_announcedId = record.ExceptionInformation[2];
    }
    return EXCEPTION_CONTINUE_SEARCH;
}

template <class Condition>
void Await(Condition condition) {
    while (!condition()) {
        Sleep(1);
    }
}

/// A worker brought to a state and, on request, out of it.
class WorkerIn {
public:
    explicit WorkerIn(Thread::ThreadState state) {
        if (state == Thread::THREAD_STARTING) {
            g_startGate = &m_start;
        }
        if (state != Thread::THREAD_IDLE) {
            EXPECT_EQ(worker.CreateThread(0, state == Thread::THREAD_SUSPENDED), ERR_OK);
        }
        if (state >= Thread::THREAD_RUNNING) {
            worker.entered.Wait();
        }
        if (state >= Thread::THREAD_ENDED) {
            worker.release.Open();
        }
        if (state == Thread::THREAD_JOINED) {
            EXPECT_EQ(worker.JoinThread(), ERR_OK);
        }
        Await([&] { return worker.GetThreadState() == state; });
    }
    ~WorkerIn() {
        g_startGate = nullptr;
        m_start.Open();
        worker.release.Open();
        static_cast<void>(worker.ResumeThread());
        static_cast<void>(worker.JoinThread());
    }

    Worker worker;

private:
    Gate m_start;
};

struct Expected {
    Thread::ThreadState state;
    bool live, mayCreate, starting, running, ended, stopped;
    Error untilStarted, untilStopped;
};

constexpr Expected EXPECTED[] = {
    {Thread::THREAD_IDLE, false, true, false, false, false, true, ERR_TIMEOUT, ERR_TIMEOUT},
    {Thread::THREAD_STARTING, true, false, true, false, false, false, ERR_TIMEOUT, ERR_TIMEOUT},
    {Thread::THREAD_SUSPENDED, true, false, false, false, false, false, ERR_TIMEOUT, ERR_TIMEOUT},
    {Thread::THREAD_RUNNING, true, false, false, true, false, false, ERR_OK, ERR_TIMEOUT},
    {Thread::THREAD_ENDED, false, false, false, false, true, true, ERR_OK, ERR_OK},
    {Thread::THREAD_JOINED, false, true, false, false, true, true, ERR_OK, ERR_OK},
};

class ThreadStates : public testing::TestWithParam<Expected> {};

} // namespace

TEST_P(ThreadStates, AnswerAsTheyShould) {
    const Expected& expected = GetParam();
    const LogCapture log;
    {
        WorkerIn holder(expected.state);
        Worker& worker = holder.worker;
        EXPECT_EQ(worker.IsStarting(), expected.starting);
        EXPECT_EQ(worker.IsRunning(), expected.running);
        EXPECT_EQ(worker.IsEnded(), expected.ended);
        EXPECT_EQ(worker.IsStopped(), expected.stopped);
        EXPECT_EQ(worker.BlockUntilStarted(0), expected.untilStarted);
        EXPECT_EQ(worker.BlockUntilStopped(0), expected.untilStopped);

        const bool hasHandle = expected.live || expected.state == Thread::THREAD_ENDED;
        EXPECT_EQ(worker.GetThreadNativeHandle() != nullptr, hasHandle);
        EXPECT_EQ(*worker.GetNativeThread(), worker.GetThreadNativeHandle());
        EXPECT_EQ(worker.GetThreadId(), hasHandle ? GetThreadId(worker.GetThreadNativeHandle()) : INVALID_THREAD_ID);
        EXPECT_EQ(worker.GetThreadStackAddress() != 0,
                  expected.state >= Thread::THREAD_SUSPENDED && expected.state <= Thread::THREAD_ENDED);
        EXPECT_EQ(worker.GetStackAddress(), worker.GetThreadStackAddress());
        unsigned committed = 99;
        EXPECT_EQ(worker.GetThreadCommittedStackSize(committed), ERR_CANNOT_ASSIGN);
        EXPECT_EQ(committed, 0u);

        // Settings: a live thread refuses for good, others keep what they refuse.
        EXPECT_EQ(worker.SetThreadPriority(1), ERR_OK);
        EXPECT_EQ(worker.SetThreadPriority(20), ERR_INVALID);
        EXPECT_EQ(worker.GetThreadPriority(), expected.live ? 1 : 20);
        EXPECT_EQ(worker.SetThreadAffinity(1), ERR_OK);
        EXPECT_EQ(worker.SetThreadAffinity(std::uint64_t{1} << 40), ERR_INVALID);
        EXPECT_EQ(worker.GetThreadAffinity(), expected.live ? 1 : std::uint64_t{1} << 40);
        if (expected.live) {
            EXPECT_EQ(::GetThreadPriority(worker.GetThreadNativeHandle()), 1);
            EXPECT_EQ(SetThreadAffinityMask(worker.GetThreadNativeHandle(), 1), 1u);
        }
        EXPECT_EQ(worker.SetPriority(0), ERR_OK);
        EXPECT_EQ(worker.SetThreadCoreNumber(64), ERR_OK) << "all cores";
        EXPECT_EQ(worker.GetThreadAffinity(), 0u);
        EXPECT_EQ(worker.SetThreadSchedulingPolicy(static_cast<ThreadSchedulingPolicy>(256)), ERR_OK) << "not 0";
        EXPECT_EQ(worker.GetThreadSchedulingPolicy(), THREAD_SCHEDULING_FIXED_PRIORITY);
        EXPECT_EQ(worker.SetPriorityBoost(true), ERR_OK);
        EXPECT_EQ(worker.GetThreadSchedulingPolicy(), THREAD_SCHEDULING_DYNAMIC_BOOST);
        EXPECT_EQ(worker.SetThreadName("name"), ERR_OK);

        if (expected.mayCreate) {
            EXPECT_EQ(worker.JoinThread(), ERR_NOT_READY);
            EXPECT_EQ(worker.CreateThread(0x20000), ERR_OK);
            EXPECT_EQ(worker.GetThreadStackSize(), 0x20000u);
            EXPECT_EQ(worker.ResumeThread(), ERR_CANNOT_ASSIGN);
        } else {
            EXPECT_EQ(worker.CreateThread(0x20000, true, true), ERR_IN_PROGRESS);
            EXPECT_EQ(worker.StartThread(0x20000), ERR_IN_PROGRESS);
            EXPECT_EQ(worker.GetStackSize(), 0u) << "a refused call changes nothing";
            EXPECT_FALSE(worker.IsDetached());
            EXPECT_EQ(worker.ResumeThread(), expected.state == Thread::THREAD_SUSPENDED ? ERR_OK : ERR_CANNOT_ASSIGN);
            EXPECT_EQ(worker.ResumeThread(), ERR_CANNOT_ASSIGN);
        }
    }
    EXPECT_TRUE(log.Lines().empty()) << log.Lines()[0].text;
}

INSTANTIATE_TEST_SUITE_P(Thread, ThreadStates, testing::ValuesIn(EXPECTED),
                         [](const auto& state) { return std::to_string(state.param.state); });

TEST(Thread, IsSuspendedAtItsStartOnly) {
    Worker worker;
    ASSERT_EQ(worker.CreateThread(0, true), ERR_OK);
    Await([&] { return worker.GetThreadState() == Thread::THREAD_SUSPENDED; });
    EXPECT_EQ(worker.runs, 0);
    EXPECT_EQ(worker.ResumeThread(), ERR_OK);
    EXPECT_EQ(worker.BlockUntilStarted(INFINITE), ERR_OK);
    worker.release.Open();
    EXPECT_EQ(worker.BlockUntilStopped(INFINITE), ERR_OK);
    EXPECT_EQ(worker.JoinThread(), ERR_OK);
    EXPECT_EQ(worker.runs, 1);

    // Suspending wears off; resumed before it came to its start, a thread does not stop there at all.
    Gate start;
    g_startGate = &start;
    ASSERT_EQ(worker.CreateThread(0, true), ERR_OK);
    EXPECT_EQ(worker.ResumeThread(), ERR_OK);
    g_startGate = nullptr;
    start.Open();
    EXPECT_EQ(worker.JoinThread(), ERR_OK);
    ASSERT_EQ(worker.CreateThread(), ERR_OK);
    EXPECT_EQ(worker.JoinThread(), ERR_OK);
    EXPECT_EQ(worker.runs, 3);
}

TEST(Thread, WaitsWithATimeLimit) {
    Worker worker;
    const ULONGLONG start = GetTickCount64();
    EXPECT_EQ(worker.BlockUntilStarted(40), ERR_TIMEOUT);
    EXPECT_GE(GetTickCount64() - start, 25u) << "a tick of the clock short of the limit at most";
    std::thread creator([&] {
        Sleep(20);
        EXPECT_EQ(worker.CreateThread(), ERR_OK);
    });
    EXPECT_EQ(worker.BlockUntilStarted(INFINITE), ERR_OK) << "waiting may come before creating";
    creator.join();
    EXPECT_EQ(worker.Join(1), ERR_TIMEOUT);
    EXPECT_TRUE(worker.IsRunning());
    worker.release.Open();
    EXPECT_EQ(worker.Join(INFINITE), ERR_OK);
    EXPECT_EQ(worker.GetThreadState(), Thread::THREAD_JOINED);
    EXPECT_EQ(worker.Join(1), ERR_NOT_READY);
}

TEST(Thread, IsJoinedByOneOfManyWhoTry) {
    constexpr int JOINERS = 4;
    Worker worker;
    AtThreadExit exit([&] {
        Sleep(20); // By then the first joiner waits for the thread to leave.
        EXPECT_EQ(worker.JoinThread(), ERR_UNREACHABLE);
        EXPECT_EQ(worker.CreateThread(), ERR_IN_PROGRESS);
    });
    worker.work = [&] { exit.Arm(); };
    ASSERT_EQ(worker.CreateThread(), ERR_OK);
    std::atomic<int> joined = 0;
    std::atomic<int> late = 0;
    std::vector<std::thread> joiners;
    for (int i = 0; i < JOINERS; ++i) {
        joiners.emplace_back([&] {
            const Error result = worker.JoinThread();
            joined += result == ERR_OK;
            late += result == ERR_NOT_READY;
        });
    }
    Sleep(20);
    worker.release.Open();
    for (std::thread& joiner : joiners) {
        joiner.join();
    }
    EXPECT_EQ(joined, 1);
    EXPECT_EQ(late, JOINERS - 1);
}

TEST(Thread, KnowsItselfInRunAndBehindIt) {
    Worker worker;
    Gate left;
    AtThreadExit exit([&] {
        EXPECT_EQ(worker.JoinThread(), ERR_UNREACHABLE);
        EXPECT_EQ(worker.GetThreadState(), Thread::THREAD_ENDED);
        left.Open();
    });
    unsigned misalignment = 99;
    worker.work = [&] {
        exit.Arm();
        misalignment = StackMisalignment();
        EXPECT_EQ(worker.JoinThread(), ERR_UNREACHABLE);
        EXPECT_EQ(worker.GetThreadId(), GetCurrentThreadId());
        unsigned committed = 0;
        EXPECT_EQ(worker.GetThreadCommittedStackSize(committed), ERR_OK);
        const auto here = reinterpret_cast<std::uintptr_t>(&committed);
        EXPECT_LT(here, worker.GetThreadStackAddress());
        EXPECT_GE(here, worker.GetThreadStackAddress() - committed);
    };
    worker.release.Open();
    ASSERT_EQ(worker.CreateThread(), ERR_OK);
    left.Wait();
    EXPECT_EQ(worker.JoinThread(), ERR_OK);
    EXPECT_EQ(misalignment, 0u);
}

TEST(Thread, MayDestroyItsObjectBehindRun) {
    const LogCapture log;
    const unsigned handles = ZelkTest::CountHandles();
    auto* const worker = new Worker;
    AtThreadExit exit([&] { delete worker; });
    worker->work = [&] { exit.Arm(); };
    ASSERT_EQ(worker->CreateThread(), ERR_OK);
    void* const thread = OpenThread(SYNCHRONIZE, FALSE, worker->GetThreadId());
    worker->release.Open();
    WaitForSingleObject(thread, INFINITE);
    CloseHandle(thread);
    EXPECT_EQ(ZelkTest::CountHandles(), handles);
    EXPECT_EQ(log.Lines().size(), 1u) << "not joined";
}

TEST(Thread, SkipsARunWhoseClassIsGone) {
    struct Late : Thread {
        ~Late() override {
            EXPECT_EQ(ResumeThread(), ERR_OK);
            EXPECT_EQ(JoinThread(), ERR_OK);
        }
    };
    struct Derived : Late {
        void Run() override { ADD_FAILURE(); }
    };
    static_assert(!std::is_default_constructible_v<Thread>);
    const ExpectContract noRun(1);
    Derived thread;
    ASSERT_EQ(thread.CreateThread(0, true), ERR_OK);
}

TEST(Thread, FailedCreationLeavesItIdle) {
    Worker worker;
    EXPECT_EQ(worker.SetThreadPriority(20), ERR_INVALID);
    EXPECT_EQ(worker.CreateThread(0x20000, true, true), ERR_INVALID);
    EXPECT_EQ(worker.GetThreadState(), Thread::THREAD_IDLE);
    EXPECT_EQ(worker.GetThreadId(), INVALID_THREAD_ID);
    EXPECT_EQ(worker.GetThreadNativeHandle(), nullptr);
    EXPECT_EQ(worker.GetThreadStackSize(), 0u);
    EXPECT_FALSE(worker.IsDetached());
    EXPECT_EQ(worker.ResumeThread(), ERR_CANNOT_ASSIGN);
    EXPECT_EQ(worker.SetThreadPriority(0), ERR_OK);
    EXPECT_EQ(worker.SetThreadCoreNumber(50), ERR_INVALID);
    EXPECT_EQ(worker.CreateThread(), ERR_INVALID);
    EXPECT_EQ(worker.SetCoreNumber(0), ERR_OK);
    ZelkTest::LeaveBehind(2); // with the suspended threads of both failures
    worker.release.Open();
    EXPECT_EQ(worker.CreateThread(), ERR_OK);
    EXPECT_EQ(worker.JoinThread(), ERR_OK);
    EXPECT_EQ(worker.runs, 1);
}

TEST(Thread, StartsWithItsSettings) {
    Worker worker;
    ASSERT_EQ(worker.StartThread(-2, 0x20000, 1), ERR_OK);
    EXPECT_EQ(::GetThreadPriority(worker.GetThreadNativeHandle()), -2);
    EXPECT_EQ(worker.GetCurrentPriority(), -2);
    EXPECT_EQ(SetThreadAffinityMask(worker.GetThreadNativeHandle(), 1), 1u);
    EXPECT_EQ(worker.GetCurrentAffinity(), 1);
    // Refused, but the settings reach the running thread.
    EXPECT_EQ(worker.StartThread(1, 0x40000), ERR_IN_PROGRESS);
    EXPECT_EQ(::GetThreadPriority(worker.GetThreadNativeHandle()), 1);
    EXPECT_EQ(worker.GetThreadStackSize(), 0x20000u);
    worker.release.Open();
    EXPECT_EQ(worker.JoinThread(), ERR_OK);
    {
        const ExpectContract tinyStack(LIBRARY_CHECKS ? 1 : 0);
        ASSERT_EQ(worker.StartThread(5), ERR_OK) << "the system's least";
        EXPECT_EQ(worker.JoinThread(), ERR_OK);
    }

    // Both ways to say "all cores", before and during a thread's life; what was given is kept.
    EXPECT_EQ(worker.SetAffinity(0), ERR_OK);
    EXPECT_EQ(worker.GetCurrentAffinity(), -1);
    static_cast<void>(worker.SetAffinity(-1)); // refused, but kept
    EXPECT_EQ(worker.GetThreadAffinity(), 0xFFFFFFFFu);
    Gate start;
    g_startGate = &start;
    ASSERT_EQ(worker.CreateThread(), ERR_OK);
    const auto all = static_cast<DWORD_PTR>(Thread::GetAffinityMask());
    EXPECT_EQ(SetThreadAffinityMask(worker.GetThreadNativeHandle(), 1), all);
    EXPECT_EQ(worker.SetAffinity(-1), ERR_OK);
    EXPECT_EQ(SetThreadAffinityMask(worker.GetThreadNativeHandle(), all), all);
    EXPECT_EQ(worker.GetThreadAffinity(), 0xFFFFFFFFu);
    g_startGate = nullptr;
    start.Open();
    EXPECT_EQ(worker.JoinThread(), ERR_OK);
}

TEST(Thread, BoostReachesTheSystem) {
    if (ZelkTest::RunsUnderWine()) {
        GTEST_SKIP() << "Wine does not keep the boost setting";
    }
    Worker worker;
    EXPECT_EQ(worker.SetPriorityBoost(false), ERR_OK);
    ASSERT_EQ(worker.CreateThread(), ERR_OK);
    BOOL disabled = FALSE;
    EXPECT_TRUE(GetThreadPriorityBoost(worker.GetThreadNativeHandle(), &disabled));
    EXPECT_TRUE(disabled);
    EXPECT_EQ(worker.SetPriorityBoost(true), ERR_OK);
    EXPECT_TRUE(GetThreadPriorityBoost(worker.GetThreadNativeHandle(), &disabled));
    EXPECT_FALSE(disabled);
    worker.release.Open();
    EXPECT_EQ(worker.JoinThread(), ERR_OK);
}

TEST(Thread, RelativePrioritiesLieHalfway) {
    for (long a = -20; a <= 20; ++a) {
        for (long b = -20; b <= 20; ++b) {
            const auto clamped = [](long value) { return std::fmin(std::fmax(static_cast<double>(value), -15), 15); };
            // round() takes halves away from 0.
            const double mean = std::round((clamped(a) + clamped(b)) / 2);
            EXPECT_EQ(Worker::MiddlePriority(a, b), static_cast<long>(mean)) << a << ' ' << b;
        }
    }
    Worker low;
    Worker high;
    Worker middle;
    EXPECT_EQ(low.SetThreadPriority(-15), ERR_OK);
    EXPECT_EQ(high.SetThreadPriority(2), ERR_OK);
    EXPECT_EQ(middle.SetThreadRelativePriority(low, high), ERR_OK);
    EXPECT_EQ(middle.GetThreadPriority(), -7);
    EXPECT_EQ(middle.SetRelativePriority(high, 1), ERR_OK);
    EXPECT_EQ(middle.GetThreadPriority(), 3) << "between 2 and 3";
    EXPECT_EQ(middle.SetThreadRelativePriority(high, 16), ERR_INVALID);
    EXPECT_EQ(low.SetThreadPriority(-16), ERR_INVALID);
    EXPECT_EQ(middle.SetThreadRelativePriority(low, 1), ERR_INVALID);
    EXPECT_EQ(middle.SetRelativePriority(high, low), ERR_INVALID);
    EXPECT_EQ(middle.GetThreadPriority(), 3);
}

TEST(Thread, NamesAreCutAndAnnounced) {
    g_announcedName.clear();
    void* const recorder = AddVectoredExceptionHandler(1, RecordAnnouncement);
    Worker worker;
    EXPECT_STREQ(worker.GetThreadName(), "");
    const std::string name = "0123456789abcdefghijklmnopqrstuvwxyz0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ";
    EXPECT_EQ(worker.SetThreadName(name.substr(0, 63).c_str()), ERR_OK);
    EXPECT_EQ(worker.GetThreadName(), name.substr(0, 63));
    EXPECT_EQ(worker.SetThreadName(name.c_str() + 1), ERR_INVALID);
    EXPECT_EQ(worker.GetThreadName(), name.substr(1, 63));
    EXPECT_EQ(g_announcedName, "") << "nothing to announce before there is a thread";
    ASSERT_EQ(worker.CreateThread(), ERR_OK);
    EXPECT_EQ(g_announcedName, name.substr(1, 63));
    EXPECT_EQ(g_announcedId, worker.GetThreadId());
    EXPECT_EQ(worker.SetThreadName("short"), ERR_OK);
    EXPECT_EQ(g_announcedName, "short");
    EXPECT_EQ(worker.SetThreadName(nullptr), ERR_OK);
    EXPECT_STREQ(worker.GetThreadName(), "");
    worker.release.Open();
    EXPECT_EQ(worker.JoinThread(), ERR_OK);
    RemoveVectoredExceptionHandler(recorder);
}

TEST(Thread, CountsTheMachinesCores) {
    SYSTEM_INFO system;
    GetSystemInfo(&system);
    EXPECT_EQ(Thread::GetNumberOfCore(), system.dwNumberOfProcessors);
    DWORD_PTR process = 0;
    DWORD_PTR all = 0;
    ASSERT_TRUE(GetProcessAffinityMask(GetCurrentProcess(), &process, &all));
    EXPECT_EQ(static_cast<DWORD_PTR>(Thread::GetAffinityMask()), process);
}

TEST(Thread, DetachedThreadsCannotBeReachedButCanBeFollowed) {
    Worker worker;
    ASSERT_EQ(worker.CreateThread(0, false, true), ERR_OK);
    EXPECT_EQ(worker.BlockUntilStarted(INFINITE), ERR_OK);
    EXPECT_TRUE(worker.IsDetached());
    EXPECT_EQ(worker.GetThreadNativeHandle(), nullptr);
    EXPECT_NE(worker.GetThreadId(), INVALID_THREAD_ID);
    EXPECT_EQ(worker.JoinThread(), ERR_UNREACHABLE);
    EXPECT_EQ(worker.BlockUntilStopped(0), ERR_UNREACHABLE);
    EXPECT_EQ(worker.Join(INFINITE), ERR_UNREACHABLE);
    EXPECT_EQ(worker.SetThreadPriority(1), ERR_NOT_FOUND);
    EXPECT_EQ(worker.SetThreadAffinity(1), ERR_NOT_FOUND);
    EXPECT_EQ(worker.SetThreadName("name"), ERR_NOT_FOUND);
    EXPECT_EQ(worker.CreateThread(), ERR_IN_PROGRESS);
    worker.release.Open();
    Await([&] { return worker.GetThreadState() == Thread::THREAD_ENDED; });

    // Again detached, then one to be joined.
    ASSERT_EQ(worker.CreateThread(), ERR_OK);
    EXPECT_TRUE(worker.IsDetached());
    Await([&] { return worker.GetThreadState() == Thread::THREAD_ENDED; });
    ASSERT_EQ(worker.CreateThread(0, false, false), ERR_OK);
    EXPECT_EQ(worker.JoinThread(), ERR_OK);
    EXPECT_EQ(worker.runs, 3);
}

TEST(Thread, ADetachedThreadMayOutliveItsObject) {
    struct Fleeting : Thread {
        explicit Fleeting(Gate& destroyed) : gate(destroyed) {}
        void Run() override {
            Gate& destroyed = gate;
            delete this;
            destroyed.Open();
        }
        Gate& gate;
    };
    constexpr int ROUNDS = ZelkTest::Repeats(50, 2'000);
    for (int i = 0; i < ROUNDS; ++i) {
        Gate destroyed;
        auto* const thread = new Fleeting(destroyed);
        ASSERT_EQ(thread->CreateThread(0, false, true), ERR_OK);
        destroyed.Wait();
    }
}

namespace {

struct Rescue {
    const char* what;
    Thread::ThreadState state;
    bool detached;
    int runs;
    std::vector<unsigned long> lines;
};

class ThreadRescue : public testing::TestWithParam<Rescue> {};

const Rescue RESCUES[] = {
    {"Idle", Thread::THREAD_IDLE, false, 0, {}},
    {"Starting", Thread::THREAD_STARTING, false, 0, {564}},
    {"Suspended", Thread::THREAD_SUSPENDED, false, 0, {523, 564}},
    {"Running", Thread::THREAD_RUNNING, false, 1, {564}},
    {"Ended", Thread::THREAD_ENDED, false, 1, {564}},
    {"Joined", Thread::THREAD_JOINED, false, 1, {}},
    {"DetachedStarting", Thread::THREAD_STARTING, true, 0, {581}},
    {"DetachedSuspended", Thread::THREAD_SUSPENDED, true, 0, {523}},
    {"DetachedRunning", Thread::THREAD_RUNNING, true, 1, {}},
    {"DetachedEnded", Thread::THREAD_ENDED, true, 1, {}},
};

std::string WarningText(unsigned long line) {
    switch (line) {
    case 523:
        return "[Z4::Z4::Thread] EAL_LOG_WARNING: Thread:Nemo is still suspended. Thread::ResumeThread() must be "
               "called "
               "prior to destroying the thread.";
    case 564:
        return "[Z4::Z4::Thread] EAL_LOG_WARNING: Thread:Nemo is not detached. Thread::JoinThread() must be called "
               "prior to destroying the thread.";
    default:
        return "[Z4::Z4::Thread] EAL_LOG_WARNING: Thread:Nemo is detached and Run() is not yet invoked. "
               "Thread::BlockUntilStarted() should be called prior to destroying the thread.";
    }
}

/// What Run() uses, outside of the object that goes.
struct Outside {
    std::atomic<int> runs = 0;
    Gate release;
};

struct Castaway : Thread {
    explicit Castaway(Outside& outside) : shared(outside) {}
    void Run() override {
        Outside& mine = shared;
        ++mine.runs;
        mine.release.Wait();
    }
    Outside& shared;
};

} // namespace

TEST_P(ThreadRescue, EndsTheThreadAndWarns) {
    const Rescue& rescue = GetParam();
    const LogCapture log;
    Outside outside;
    Gate start;
    Gate ready;
    Gate leaving;
    const ExpectContract overtaken(LIBRARY_CHECKS && rescue.state == Thread::THREAD_RUNNING && !rescue.detached);
    // The destructor finds the thread still at its start or in Run(), and must wait for it. The opener runs before,
    // because a held thread holds up all that come after it.
    std::thread opener([&] {
        ready.Open();
        leaving.Wait();
        Sleep(30);
        start.Open();
        if (!rescue.detached) {
            outside.release.Open();
        }
    });
    ready.Wait();
    void* thread = nullptr;
    {
        Castaway castaway(outside);
        castaway.SetThreadName("Nemo");
        g_startGate = rescue.state == Thread::THREAD_STARTING ? &start : nullptr;
        if (rescue.state != Thread::THREAD_IDLE) {
            ASSERT_EQ(castaway.CreateThread(0, rescue.state == Thread::THREAD_SUSPENDED, rescue.detached), ERR_OK);
            thread = OpenThread(SYNCHRONIZE, FALSE, castaway.GetThreadId());
        }
        if (rescue.state >= Thread::THREAD_RUNNING) {
            Await([&] { return outside.runs == 1; });
        }
        if (rescue.state >= Thread::THREAD_ENDED) {
            outside.release.Open();
        }
        if (rescue.state == Thread::THREAD_JOINED) {
            EXPECT_EQ(castaway.JoinThread(), ERR_OK);
        }
        Await([&] { return castaway.GetThreadState() == rescue.state; });
        g_startGate = nullptr;
        leaving.Open();
    }
    opener.join();
    outside.release.Open();
    WaitForSingleObject(thread, INFINITE);
    CloseHandle(thread);
    EXPECT_EQ(outside.runs, rescue.runs);
    ASSERT_EQ(log.Lines().size(), rescue.lines.size());
    for (std::size_t i = 0; i < rescue.lines.size(); ++i) {
        const ZelkTest::LogLine line = log.Lines()[i];
        EXPECT_EQ(line.line, rescue.lines[i]);
        EXPECT_EQ(line.level, 2u);
        EXPECT_EQ(line.file, "os/private/thread");
        EXPECT_EQ(line.text, WarningText(line.line));
    }
}

INSTANTIATE_TEST_SUITE_P(Thread, ThreadRescue, testing::ValuesIn(RESCUES),
                         [](const auto& state) { return std::string(state.param.what); });

TEST(Thread, ManyJoinedAndDetachedLeaveNothingBehind) {
    constexpr int THREADS = ZelkTest::Repeats(150, 10'000);
    struct Brief : Thread {
        void Run() override { ++runs; }
        std::atomic<int> runs = 0;
    } brief;
    ASSERT_EQ(brief.CreateThread(), ERR_OK); // What the process makes once for its first thread does not count.
    ASSERT_EQ(brief.JoinThread(), ERR_OK);
    const unsigned handles = ZelkTest::CountHandles();
    const ZelkTest::Balance balance = ZelkTest::OutstandingMemory();
    for (int i = 0; i < THREADS; ++i) {
        ASSERT_EQ(brief.CreateThread(), ERR_OK);
        ASSERT_EQ(brief.JoinThread(), ERR_OK);
    }
    EXPECT_EQ(ZelkTest::CountHandles(), handles);
    for (int i = 0; i < THREADS; ++i) {
        ASSERT_EQ(brief.CreateThread(0, false, true), ERR_OK);
        while (brief.GetThreadState() != Thread::THREAD_ENDED) {
            SwitchToThread();
        }
    }
    EXPECT_EQ(ZelkTest::CountHandles(), handles);
    EXPECT_EQ(ZelkTest::OutstandingMemory().blocks, balance.blocks);
    EXPECT_EQ(brief.runs, 1 + 2 * THREADS);
}
