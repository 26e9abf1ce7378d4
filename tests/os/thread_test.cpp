// What the system's threads have beyond the life that threadlife_test.cpp tests. Faults hunted: a setting that is lost,
// kept where it was refused, or does not reach the thread; a failed creation that leaves something set; names cut at
// the wrong place; a detached thread that comes back to an object that is gone, or whose object does not wait for it;
// handles and memory left behind.
#include "crowd.h"
#include "threadworker.h"
#include <tests/support/contract.h>
#include <tests/support/counts.h>
#include <tests/support/importhook.h>
#include <tests/support/results.h>
#include <tests/support/testhost.h>
#include <tests/support/winsystem.h>

#include <cstdlib>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <utility>
#include <winternl.h>
#include <zelk_core/os/blockinglock.h>
#include <zelk_core/os/condvariable.h>
#include <zelk_core/os/thread.h>

namespace {

using namespace Z4;
using namespace ZelkTest;
using enum Thread::ThreadState;

/// Shows what users may only use in a derived class.
struct OfSystem : Thread {
    using Thread::Join;
};

class ThreadTest : public testing::Test {
protected:
    ~ThreadTest() override { ReleaseStarts(); }

    void ExpectCores(DWORD_PTR cores) { // the question sets them, too
        EXPECT_EQ(SetThreadAffinityMask(worker.GetThreadNativeHandle(), cores), cores);
    }
    int SystemsPriority() const { return ::GetThreadPriority(worker.GetThreadNativeHandle()); }
    void Finish() {
        outside.release.Open();
        EXPECT_EQ(worker.JoinThread(), ERR_OK);
    }

    Outside outside;
    Worker<OfSystem> worker{outside};
};

TEST_F(ThreadTest, SettingsReachALiveThreadAndAreKeptByOthers) {
    constexpr std::uint64_t NO_SUCH_CORE = std::uint64_t{1} << 40;
    for (const Thread::ThreadState state : STATES) {
        SCOPED_TRACE(state);
        Outside outsideOfThis;
        Worker<OfSystem> thread(outsideOfThis);
        BringTo(state, thread, outsideOfThis);
        const bool isLive = state >= THREAD_STARTING && state <= THREAD_RUNNING;
        EXPECT_TRUE(thread.IsStarting() == (state == THREAD_STARTING) &&
                    thread.IsRunning() == (state == THREAD_RUNNING));
        EXPECT_TRUE(thread.IsEnded() == (state >= THREAD_ENDED) && thread.IsStopped() == !isLive);
        void* const handle = *thread.GetNativeThread();
        EXPECT_EQ(handle != nullptr, isLive || state == THREAD_ENDED);
        EXPECT_EQ(thread.GetThreadStackAddress() != 0, state >= THREAD_SUSPENDED && state <= THREAD_ENDED);
        unsigned committed = 99;
        EXPECT_EQ(thread.GetThreadCommittedStackSize(committed), ERR_CANNOT_ASSIGN);
        EXPECT_EQ(committed, 0u);
        if (state >= THREAD_ENDED) {
            WaitForSingleObject(handle, INFINITE);
            EXPECT_EQ(BSP::ThreadGetStackSize({handle, 0}, committed), ERR_DEVICE_NOT_READY);
        }

        ExpectEach(ERR_OK, thread.SetThreadPriority(1), thread.SetThreadAffinity(1));
        ExpectEach(ERR_INVALID, thread.SetThreadPriority(20), thread.SetThreadAffinity(NO_SUCH_CORE));
        EXPECT_EQ(thread.GetThreadPriority(), isLive ? 1 : 20);
        EXPECT_EQ(thread.GetThreadAffinity(), isLive ? 1 : NO_SUCH_CORE);
        if (isLive) {
            EXPECT_EQ(::GetThreadPriority(handle), 1);
            EXPECT_EQ(SetThreadAffinityMask(handle, 1), 1u);
        }
        ExpectEach(ERR_OK, thread.SetPriority(0), thread.SetThreadCoreNumber(64),
                   thread.SetThreadSchedulingPolicy(static_cast<ThreadSchedulingPolicy>(256)));
        EXPECT_EQ(thread.GetThreadAffinity(), 0u) << "all cores";
        EXPECT_EQ(thread.GetThreadSchedulingPolicy(), THREAD_SCHEDULING_FIXED_PRIORITY) << "not 0";

        const bool mayCreate = state == THREAD_IDLE || state == THREAD_JOINED;
        EXPECT_EQ(thread.CreateThread(0x20000, !mayCreate, !mayCreate), mayCreate ? ERR_OK : ERR_IN_PROGRESS);
        EXPECT_EQ(thread.StartThread(0x30000), ERR_IN_PROGRESS);
        EXPECT_EQ(thread.GetStackSize(), mayCreate ? 0x20000u : 0u) << "a refused call changes nothing";
        EXPECT_FALSE(thread.IsDetached());
        EXPECT_EQ(thread.ResumeThread(), state == THREAD_SUSPENDED ? ERR_OK : ERR_CANNOT_ASSIGN);
        ReleaseStarts();
        outsideOfThis.release.Open();
        EXPECT_EQ(thread.Join(INFINITE), ERR_OK);
        EXPECT_EQ(thread.GetThreadStackSize(), 0u);
    }
}

BOOL g_boostDisabled;

BOOL WINAPI SetBoost(HANDLE, BOOL disable) {
    g_boostDisabled = disable;
    return TRUE;
}

BOOL WINAPI GetBoost(HANDLE, BOOL* disabled) {
    *disabled = g_boostDisabled;
    return TRUE;
}

TEST_F(ThreadTest, StartsWithItsSettings) {
    outside.work = [&] {
        unsigned committed = 0;
        EXPECT_EQ(worker.GetThreadCommittedStackSize(committed), ERR_OK);
        const auto depth = worker.GetStackAddress() - reinterpret_cast<std::uintptr_t>(&committed);
        EXPECT_TRUE(0 < depth && depth <= committed);
    };
    const ImportHook set("SetThreadPriorityBoost", SetBoost); // Wine does not keep it.
    const ImportHook get("GetThreadPriorityBoost", GetBoost);
    EXPECT_EQ(worker.SetPriorityBoost(false), ERR_OK);
    ASSERT_EQ(worker.StartThread(-2, 0x300000, 1), ERR_OK);
    EXPECT_EQ(worker.BlockUntilStarted(INFINITE), ERR_OK);
    const BSP::ThreadInfo info{worker.GetThreadNativeHandle(), 0};
    unsigned size = 0;
    EXPECT_EQ(BSP::ThreadGetStackSize(info, size), ERR_OK);
    EXPECT_TRUE(0x300000 <= size && size < 0x400000) << size;
    for (const bool enable : {false, true}) {
        EXPECT_EQ(g_boostDisabled == FALSE, enable);
        ThreadSchedulingPolicy policy;
        bool enabled = !enable;
        EXPECT_EQ(ThreadGetSchedulingPolicy(nullptr, policy), ERR_OK);
        EXPECT_EQ(policy == THREAD_SCHEDULING_DYNAMIC_BOOST, enable);
        EXPECT_EQ(BSP::ThreadGetPriorityBoostState({}, enabled), ERR_OK);
        EXPECT_EQ(enabled, enable);
        EXPECT_EQ(worker.SetPriorityBoost(true), ERR_OK);
    }
    EXPECT_EQ(SystemsPriority(), -2);
    ExpectCores(1);
    EXPECT_EQ(worker.GetCurrentAffinity(), 1);
    EXPECT_EQ(worker.StartThread(1, 0x40000), ERR_IN_PROGRESS);
    EXPECT_EQ(SystemsPriority(), 1) << "refused, but the setting reaches the thread";
    EXPECT_EQ(worker.GetThreadStackSize(), 0x300000u);
    for (const long priority : {-15, -2, -1, 0, 1, 2, 15, -16, -14, -3, 3, 14, 16}) {
        const bool isTaken = std::abs(priority) <= 2 || std::abs(priority) == 15; // the last of them stays
        EXPECT_EQ(worker.SetThreadPriority(priority), isTaken ? ERR_OK : ERR_INVALID) << priority;
        EXPECT_EQ(ThreadIsValidPriority(priority, THREAD_SCHEDULING_FIXED_PRIORITY), std::abs(priority) < 16);
        Z4::ThreadPriority read[2] = {99, 99};
        ExpectEach(ERR_OK, ThreadGetPriority(info.handle, read[0]), BSP::ThreadGetPriority(info, read[1]));
        EXPECT_TRUE(SystemsPriority() == (isTaken ? priority : 15) && read[0] == SystemsPriority() &&
                    read[1] == SystemsPriority());
    }
    EXPECT_EQ(worker.Join(1), ERR_TIMEOUT);
    Finish();
    const ExpectContract tinyStack(LIBRARY_CHECKS ? 1 : 0);
    ASSERT_EQ(worker.StartThread(5), ERR_OK) << "the system's least";
    EXPECT_EQ(worker.JoinThread(), ERR_OK);
}

TEST_F(ThreadTest, TellsOfWhatTheSystemRefuses) {
    BringTo(THREAD_RUNNING, worker, outside);
    void* const handle = worker.GetThreadNativeHandle();
    BSP::ThreadInfo info{handle, 0};
    unsigned size = 0;
    ThreadSchedulingPolicy policy = THREAD_SCHEDULING_FIXED_PRIORITY;
    bool enabled = false;
    BlockingLock lock;
    lock.Lock();
    const auto askStack = [&] { return BSP::ThreadGetStackSize(info, size); };
    const auto create = [](ThreadAffinity affinity) {
        ThreadAttributes attributes;
        attributes.affinity = affinity;
        void* created = nullptr;
        return ThreadCreate(
            attributes, [](void*) {}, nullptr, created);
    };
    const struct {
        const char* name;
        void* failing;
        Error error;
        std::function<Error()> call;
        long result = 0;
        DWORD number = ERROR_INVALID_HANDLE;
    } rows[] = {
        {ZELK_FAILING(GetProcessAffinityMask), ERR_UNHANDLED, [&] { return create(1); }},
        {ZELK_FAILING(GetProcessAffinityMask), ERR_INVALID, [&] { return create(0); }, TRUE}, // no core at all
        {ZELK_FAILING(GetProcessAffinityMask), ERR_UNHANDLED, [&] { return ThreadChangeAffinity(handle, 1); }},
        {ZELK_FAILING(GetProcessAffinityMask), ERR_UNHANDLED, [&] { return worker.SetThreadAffinity(1); }},
        {ZELK_FAILING(SetThreadAffinityMask), ERR_NOT_FOUND, [&] { return worker.SetThreadAffinity(1); }},
        {ZELK_FAILING(SetThreadPriority), ERR_NOT_FOUND, [&] { return worker.SetThreadPriority(1); }},
        {ZELK_FAILING(SetThreadPriorityBoost), ERR_NOT_FOUND, [&] { return create(1); }},
        {ZELK_FAILING(SetThreadPriorityBoost), ERR_NOT_FOUND, [&] { return Error(worker.SetPriorityBoost(false)); }},
        {ZELK_FAILING(GetThreadPriorityBoost), ERR_NOT_FOUND,
         [&] { return ThreadGetSchedulingPolicy(handle, policy); }},
        {ZELK_FAILING(GetThreadPriorityBoost), ERR_DEVICE_NOT_READY,
         [&] { return BSP::ThreadGetPriorityBoostState(info, enabled); }},
        {ZELK_FAILING(GetThreadId), ERR_NOT_FOUND, [&] { return worker.SetThreadName("name"); }},
        {ZELK_FAILING(GetThreadId), ERR_OK, [&] { return ThreadChangeName(handle, "name"); }, 0, ERROR_SUCCESS},
        {ZELK_FAILING(NtQueryInformationThread), ERR_DEVICE_NOT_READY, askStack, 1},
        {ZELK_FAILING(GetCurrentProcessId), ERR_DEVICE_NOT_READY, askStack},
        {ZELK_FAILING(ReadProcessMemory), ERR_DEVICE_NOT_READY, askStack},
        {ZELK_FAILING(VirtualQuery), ERR_DEVICE_NOT_READY, askStack},
        {ZELK_FAILING(WaitForSingleObject), ERR_NOT_FOUND, [&] { return ThreadJoin(handle); }, -1},
        {ZELK_FAILING(WaitForSingleObject), ERR_INVALID, [&] { return BSP::ThreadJoin(info, 0); }, -1},
        {ZELK_FAILING(SleepConditionVariableCS), ERR_OK,
         [&] { return CondVariable().WaitWithTimeout(lock, 1) ? ERR_OK : ERR_TIMEOUT; }},
        {ZELK_FAILING(GetProcessAffinityMask), ERR_OK,
         [&] { return Thread::GetAffinityMask() == (1 << Thread::GetNumberOfCore()) - 1 ? ERR_OK : ERR_UNHANDLED; }},
    };
    for (const auto& row : rows) {
        const ImportHook hook(row.name, row.failing);
        Failure::s_error = row.number;
        Failure::s_result = row.result;
        EXPECT_EQ(row.call(), row.error) << &row - rows << ": " << row.name;
    }
    lock.Unlock();
    EXPECT_TRUE(worker.GetThreadPriority() == 0 && worker.GetThreadAffinity() == 0) << "nothing is kept";
    EXPECT_TRUE(policy == THREAD_SCHEDULING_DYNAMIC_BOOST && !enabled && size == 0);
    LeaveBehind(3); // with the suspended threads whose settings were refused
    Finish();
}

TEST_F(ThreadTest, TakesBothSetsThatMeanAllCores) {
    const auto all = static_cast<DWORD_PTR>(Thread::GetAffinityMask());
    static_cast<void>(worker.SetAffinity(-1)); // refused, but kept
    BringTo(THREAD_RUNNING, worker, outside);
    ExpectCores(all);
    for (const long allCores : {0, -1}) {
        EXPECT_EQ(worker.SetCoreNumber(0), ERR_OK);
        ExpectCores(1);
        EXPECT_EQ(worker.SetAffinity(allCores), ERR_OK);
        ExpectCores(all);
        EXPECT_EQ(worker.GetCurrentAffinity(), -1);
        EXPECT_EQ(worker.GetThreadAffinity(), static_cast<unsigned long>(allCores)) << "kept as given";
    }
    void* const handle = worker.GetThreadNativeHandle();
    ExpectEach(ERR_INVALID, ThreadChangeAffinity(handle, 0), ThreadChangeAffinity(handle, all | 1ull << 63),
               ThreadChangeAffinity(handle, ~std::uint64_t{all}), ThreadChangeAffinity(handle, 1ull << 32));
    ExpectCores(all);
    Finish();
}

TEST_F(ThreadTest, AFailedCreationLeavesItIdle) {
    EXPECT_EQ(worker.SetThreadPriority(20), ERR_INVALID);
    EXPECT_EQ(worker.CreateThread(0x20000, true, true), ERR_INVALID);
    EXPECT_TRUE(worker.GetThreadState() == THREAD_IDLE && worker.GetThreadId() == INVALID_THREAD_ID);
    EXPECT_TRUE(worker.GetThreadNativeHandle() == nullptr && worker.GetThreadStackSize() == 0 && !worker.IsDetached());
    EXPECT_EQ(worker.ResumeThread(), ERR_CANNOT_ASSIGN);
    LeaveBehind(1); // with the suspended thread whose settings were refused
    EXPECT_EQ(worker.SetThreadPriority(0), ERR_OK);
    EXPECT_EQ(worker.CreateThread(), ERR_OK);
    Finish();
}

TEST_F(ThreadTest, RelativePrioritiesLieHalfway) {
    Worker<OfSystem> low(outside);
    Worker<OfSystem> high(outside);
    ExpectEach(ERR_OK, low.SetThreadPriority(-15), high.SetThreadPriority(2));
    EXPECT_EQ(worker.SetRelativePriority(low, high), ERR_OK);
    EXPECT_EQ(worker.GetThreadPriority(), -7) << "halves go away from 0";
    const struct {
        const Thread& other;
        long delta, middle;
    } rows[] = {{low, -15, -15}, {low, 14, -8}, {high, 0, 2}, {high, 1, 3}, {high, 15, 9}};
    for (const auto& [other, delta, middle] : rows) {
        EXPECT_EQ(worker.SetRelativePriority(other, delta), ERR_OK);
        EXPECT_EQ(worker.GetThreadPriority(), middle) << delta;
    }
    EXPECT_EQ(low.SetThreadPriority(-16), ERR_INVALID);
    ExpectEach(ERR_INVALID, worker.SetRelativePriority(high, 16), worker.SetRelativePriority(low, 1),
               worker.SetRelativePriority(high, low), worker.SetRelativePriority(low, high));
    EXPECT_EQ(worker.GetThreadPriority(), 9);
}

std::string g_announced;

void WINAPI RecordAnnouncement(DWORD code, DWORD flags, DWORD count, const ULONG_PTR* words) {
    EXPECT_TRUE(code == 0x406D1388 && flags == 0) << "must be known to debuggers and continuable";
    EXPECT_TRUE(count == 4 && words[0] == 0x1000 && words[3] == 0);
    const char* const name = reinterpret_cast<const char*>(words[1]);
    g_announced += (name != nullptr ? name : "(null)") + std::string(" of ") + std::to_string(words[2]);
}

TEST_F(ThreadTest, NamesAreCutAndAnnounced) {
    const ImportHook hook("RaiseException", RecordAnnouncement);
    const auto expectAnnounced = [&](const std::string& name) {
        EXPECT_EQ(std::exchange(g_announced, {}), name + " of " + std::to_string(worker.GetThreadId()));
    };
    const std::string longest = std::string(62, 'n') + 'z';
    EXPECT_EQ(worker.SetThreadName(longest.c_str()), ERR_OK);
    EXPECT_EQ(worker.SetThreadName((longest + "more").c_str()), ERR_INVALID);
    EXPECT_EQ(g_announced, "") << "before there is a thread";
    ASSERT_EQ(worker.CreateThread(), ERR_OK);
    expectAnnounced(longest);
    EXPECT_EQ(worker.SetThreadName(nullptr), ERR_OK);
    EXPECT_STREQ(worker.GetThreadName(), "");
    expectAnnounced("");
    EXPECT_EQ(ThreadChangeName(worker.GetThreadNativeHandle(), nullptr), ERR_OK);
    expectAnnounced("(null)");
    Finish();
}

TEST_F(ThreadTest, DetachedItsDestructorWaitsUntilRunIsSkipped) {
    // One cannot be reached, but can be followed, and runs on while others come and go.
    ASSERT_EQ(worker.CreateThread(0, false, true), ERR_OK);
    EXPECT_EQ(worker.BlockUntilStarted(INFINITE), ERR_OK);
    EXPECT_EQ(worker.GetThreadNativeHandle(), nullptr);
    EXPECT_NE(worker.GetThreadId(), INVALID_THREAD_ID);
    ExpectEach(ERR_UNREACHABLE, worker.JoinThread(), worker.Join(INFINITE));
    ExpectEach(ERR_NOT_FOUND, worker.SetThreadPriority(1), worker.SetThreadAffinity(1), worker.SetThreadName("name"));
    const ExpectedLine notStarted{
        2, "os/private/thread", 581,
        "[Z4::Z4::Thread] EAL_LOG_WARNING: Thread:Nemo is detached and Run() is not yet invoked. "
        "Thread::BlockUntilStarted() should be called prior to destroying the thread."};
    for (const Thread::ThreadState state : {THREAD_STARTING, THREAD_SUSPENDED, THREAD_RUNNING}) {
        SCOPED_TRACE(state);
        const LogCapture log;
        Outside shared;
        Actor owner;
        auto* const castaway = new Worker<OfSystem>(shared);
        EXPECT_EQ(castaway->SetThreadName("Nemo"), ERR_OK);
        BringTo(state, *castaway, shared, true);
        void* const thread = OpenThread(SYNCHRONIZE, FALSE, castaway->GetThreadId());
        if (state == THREAD_STARTING) {
            owner.Waits([&] { delete castaway; });
            Await([&] { return !log.Lines().empty(); });
            ReleaseStarts();
            owner.Proceeds();
            log.ExpectOnly({notStarted});
        } else {
            owner.Does([&] { delete castaway; });
            EXPECT_EQ(log.Lines().size(), state == THREAD_SUSPENDED ? 1 : 0);
        }
        shared.release.Open();
        owner.Does([&] { WaitForSingleObject(thread, INFINITE); }); // but not for ever
        CloseHandle(thread);
        EXPECT_EQ(shared.runs, state == THREAD_RUNNING ? 1 : 0);
    }
    EXPECT_TRUE(worker.IsRunning());
    outside.release.Open();
    Await([&] { return worker.IsEnded(); });
}

TEST_F(ThreadTest, ManyJoinedAndDetachedLeaveNothingBehind) {
    const unsigned THREADS = Repeats(50, 10'000);
    ASSERT_EQ(worker.CreateThread(), ERR_OK); // What the process makes once for its first thread does not count.
    Finish();
    const unsigned handles = CountHandles();
    const Balance balance = OutstandingMemory();
    for (unsigned i = 0; i < 2 * THREADS; ++i) {
        const bool detached = i >= THREADS;
        ASSERT_EQ(worker.CreateThread(0, false, detached), ERR_OK);
        ASSERT_EQ(worker.JoinThread(), detached ? ERR_UNREACHABLE : ERR_OK);
        while (!worker.IsEnded()) {
            SwitchToThread();
        }
    }
    EXPECT_EQ(CountHandles(), handles);
    EXPECT_EQ(OutstandingMemory().blocks, balance.blocks);
    EXPECT_EQ(outside.runs, 1 + 2 * THREADS);
}

} // namespace
