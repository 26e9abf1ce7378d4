#include <tests/os/stackprobe.h>
#include <tests/support/contract.h>
#include <tests/support/testhost.h>
#include <tests/support/winsystem.h>

#include <atomic>
#include <functional>
#include <gtest/gtest.h>
#include <host/zelkhost.h>
#include <process.h>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>
#include <windows.h>
#include <zelk_core/eal_utils/ealthread.h>

using namespace Z4;
using ZelkTest::ExpectContract;
using ZelkTest::Gate;
using ZelkTest::LIBRARY_CHECKS;
using ZelkTest::LogCapture;

namespace {

constexpr int CALLER = 0x1234;

/// A thread table that keeps what it was asked for. While held, its threads do not come to the library's entry.
class RecordingHost {
public:
    struct Request {
        int id;
        std::size_t stackSize;
        eal_thread_priority priority;
        eal_thread_entry entry;
        void* argument;
    };

    RecordingHost() {
        s_host = this;
        eal_thread_dll_interface table{};
        table.create = Create;
        table.join = [](eal_thread_handle handle) {
            WaitForSingleObject(handle, INFINITE);
            CloseHandle(handle);
            ++s_host->joins;
        };
        SetEalInterface(table);
        start.Open();
    }
    ~RecordingHost() { ZelkTest::ReinstallHost(); }
    RecordingHost(const RecordingHost&) = delete;
    RecordingHost& operator=(const RecordingHost&) = delete;

    Request last{};
    std::atomic<int> joins = 0;
    bool fails = false;
    Gate start;

private:
    static eal_thread_handle Create(int id, std::size_t stackSize, eal_thread_priority priority, eal_thread_entry entry,
                                    void* argument) {
        s_host->last = {id, stackSize, priority, entry, argument};
        if (s_host->fails) {
            return nullptr;
        }
        const std::uintptr_t handle = _beginthreadex(nullptr, 0, EnterWhenStarted, &s_host->last, 0, nullptr);
        return reinterpret_cast<eal_thread_handle>(handle);
    }

    static unsigned __stdcall EnterWhenStarted(void* argument) {
        s_host->start.Wait();
        const Request& request = *static_cast<Request*>(argument);
        request.entry(request.argument);
        return 0;
    }

    inline static RecordingHost* s_host;
};

/// Uses only what lies outside of it, so that it may be destroyed before it ran.
struct Outside {
    std::atomic<int> runs = 0;
    unsigned long id = 0;
    unsigned misalignment = 0;
    Error selfJoin = ERR_OK;
    Gate release;
    ZelkTest::AtThreadExit* exit = nullptr;
};

class Worker : public EalThread {
public:
    explicit Worker(Outside& outside) : EalThread(CALLER), m_outside(outside) {}
    void Run() override {
        Outside& outside = m_outside;
        outside.id = GetCurrentThreadId();
        outside.misalignment = StackMisalignment();
        outside.selfJoin = JoinThread();
        ++outside.runs;
        if (outside.exit != nullptr) {
            outside.exit->Arm();
        }
        outside.release.Wait();
    }

private:
    Outside& m_outside;
};

template <class Condition>
void Await(Condition condition) {
    while (!condition()) {
        Sleep(1);
    }
}

/// Takes a new worker to `state`; `host.start` is left closed for THREAD_STARTING.
void BringTo(EalThread::ThreadState state, Worker& worker, Outside& outside, RecordingHost& host) {
    if (state != EalThread::THREAD_IDLE) {
        ASSERT_EQ(worker.CreateThread(0x20000, state == EalThread::THREAD_SUSPENDED), ERR_OK);
    }
    if (state >= EalThread::THREAD_RUNNING) {
        Await([&] { return outside.runs == 1; });
    }
    if (state >= EalThread::THREAD_ENDED) {
        outside.release.Open();
    }
    if (state == EalThread::THREAD_JOINED) {
        ASSERT_EQ(worker.JoinThread(), ERR_OK);
    }
    Await([&] { return worker.GetThreadState() == state; });
    EXPECT_EQ(host.joins, state == EalThread::THREAD_JOINED ? 1 : 0);
}

struct Expected {
    const char* what;
    EalThread::ThreadState state;
    bool live, mayCreate, hasId;
    Error untilStarted, untilStopped;
    int runs;                         ///< once it was destroyed in this state
    std::vector<unsigned long> lines; ///< of the destructor's warnings
};

const Expected EXPECTED[] = {
    {"Idle", EalThread::THREAD_IDLE, false, true, false, ERR_TIMEOUT, ERR_TIMEOUT, 0, {}},
    {"Starting", EalThread::THREAD_STARTING, true, false, false, ERR_TIMEOUT, ERR_TIMEOUT, 0, {253}},
    {"Suspended", EalThread::THREAD_SUSPENDED, true, false, true, ERR_TIMEOUT, ERR_TIMEOUT, 0, {216, 253}},
    {"Running", EalThread::THREAD_RUNNING, true, false, true, ERR_OK, ERR_TIMEOUT, 1, {253}},
    {"Ended", EalThread::THREAD_ENDED, false, false, true, ERR_OK, ERR_OK, 1, {253}},
    {"Joined", EalThread::THREAD_JOINED, false, true, false, ERR_OK, ERR_OK, 1, {}},
};

class EalThreadStates : public testing::TestWithParam<Expected> {
protected:
    RecordingHost host;
    Outside outside;
};

} // namespace

TEST_P(EalThreadStates, AnswerAsTheyShould) {
    const Expected& expected = GetParam();
    const LogCapture log;
    if (expected.state == EalThread::THREAD_STARTING) {
        host.start.Close();
    }
    Worker worker(outside);
    BringTo(expected.state, worker, outside, host);
    EXPECT_EQ(worker.BlockUntilStarted(0), expected.untilStarted);
    EXPECT_EQ(worker.BlockUntilStopped(0), expected.untilStopped);
    EXPECT_EQ(worker.GetHandle() != nullptr, expected.live || expected.state == EalThread::THREAD_ENDED);
    EXPECT_EQ(worker.GetEalHandle(), worker.GetHandle());
    EXPECT_EQ(worker.GetThreadId() != INVALID_THREAD_ID, expected.hasId);
    EXPECT_EQ(worker.GetId(), worker.GetThreadId());
    EXPECT_EQ(worker.GetEalId(), CALLER);
    EXPECT_EQ(worker.GetThreadPriority(), EAL_THREAD_PRIORITY_NORMAL);
    EXPECT_EQ(worker.SetThreadPriority(EAL_THREAD_PRIORITY_IDLE), expected.live ? ERR_IN_PROGRESS : ERR_OK);
    EXPECT_EQ(worker.GetThreadPriority(), expected.live ? EAL_THREAD_PRIORITY_NORMAL : EAL_THREAD_PRIORITY_IDLE);
    EXPECT_EQ(worker.ResumeThread(), expected.state == EalThread::THREAD_SUSPENDED ? ERR_OK : ERR_CANNOT_ASSIGN);
    if (expected.mayCreate) {
        EXPECT_EQ(worker.JoinThread(), ERR_NOT_READY);
    }
    EXPECT_EQ(worker.StartThread(0x30000, EAL_THREAD_PRIORITY_HIGHEST), expected.mayCreate ? ERR_OK : ERR_IN_PROGRESS);
    EXPECT_EQ(worker.GetThreadPriority(), EAL_THREAD_PRIORITY_HIGHEST) << "stored even when refused";
    if (expected.mayCreate) {
        EXPECT_EQ(host.last.id, CALLER);
        EXPECT_EQ(host.last.stackSize, 0x30000u);
        EXPECT_EQ(host.last.priority, EAL_THREAD_PRIORITY_HIGHEST);
    }
    host.start.Open();
    outside.release.Open();
    EXPECT_EQ(worker.JoinThread(), ERR_OK);
    EXPECT_EQ(worker.GetThreadState(), EalThread::THREAD_JOINED);
    EXPECT_EQ(worker.GetHandle(), nullptr);
    EXPECT_EQ(worker.GetThreadId(), INVALID_THREAD_ID);
    EXPECT_EQ(outside.misalignment, 0u);
    EXPECT_EQ(outside.selfJoin, ERR_UNREACHABLE);
    EXPECT_TRUE(log.Lines().empty());
}

TEST_P(EalThreadStates, AreRescuedByTheDestructorWithWarnings) {
    const Expected& expected = GetParam();
    const LogCapture log;
    std::thread opener;
    const ExpectContract overtaken(LIBRARY_CHECKS && expected.state == EalThread::THREAD_RUNNING);
    if (expected.state == EalThread::THREAD_STARTING) {
        host.start.Close();
    }
    {
        Worker worker(outside);
        BringTo(expected.state, worker, outside, host);
        // The destructor finds the thread still at its start or in Run(), and must wait for it.
        opener = std::thread([&] {
            Sleep(30);
            host.start.Open();
            outside.release.Open();
        });
    }
    opener.join();
    EXPECT_EQ(outside.runs, expected.runs);
    EXPECT_EQ(host.joins, expected.state == EalThread::THREAD_IDLE ? 0 : 1);
    ASSERT_EQ(log.Lines().size(), expected.lines.size());
    for (std::size_t i = 0; i < expected.lines.size(); ++i) {
        const ZelkTest::LogLine line = log.Lines()[i];
        EXPECT_EQ(line.line, expected.lines[i]);
        EXPECT_EQ(line.level, 2u);
        EXPECT_EQ(line.file, "eal_utils/private/ealthread");
        EXPECT_EQ(line.text, line.line == 216 ? "[Z4::Z4::EalThread] EAL_LOG_WARNING: EAlThread still suspended. "
                                                "Thread::ResumeThread() must be called prior to destroying the thread."
                                              : "[Z4::Z4::EalThread] EAL_LOG_WARNING: EalThread::JoinThread() must be "
                                                "called prior to destroying the thread.");
    }
}

INSTANTIATE_TEST_SUITE_P(EalThread, EalThreadStates, testing::ValuesIn(EXPECTED),
                         [](const auto& state) { return std::string(state.param.what); });

TEST(EalThread, RequestsCarryTheStoredSettings) {
    RecordingHost host;
    Outside outside;
    outside.release.Open();
    Worker worker(outside);
    EXPECT_EQ(worker.SetThreadPriority(static_cast<eal_thread_priority>(77)), ERR_OK);
    const ExpectContract tinyStack(LIBRARY_CHECKS ? 1 : 0);
    ASSERT_EQ(worker.CreateThread(5), ERR_OK);
    EXPECT_EQ(host.last.priority, 77) << "passed through unchanged";
    EXPECT_EQ(host.last.stackSize, 5u);
    EXPECT_EQ(worker.JoinThread(), ERR_OK);
    ASSERT_EQ(worker.CreateThread(), ERR_OK);
    EXPECT_EQ(host.last.stackSize, 0u);
    EXPECT_EQ(worker.JoinThread(), ERR_OK);
    EXPECT_EQ(outside.runs, 2);
}

TEST(EalThread, SuspendingIsStoredEvenWhenTheCallIsRefused) {
    RecordingHost host;
    Outside outside;
    Worker worker(outside);
    ASSERT_EQ(worker.CreateThread(), ERR_OK);
    EXPECT_EQ(worker.BlockUntilStarted(INFINITE), ERR_OK);
    EXPECT_EQ(worker.CreateThread(0, true), ERR_IN_PROGRESS);
    EXPECT_EQ(worker.ResumeThread(), ERR_OK);
    outside.release.Open();
    EXPECT_EQ(worker.JoinThread(), ERR_OK);
}

TEST(EalThread, AHostWithoutThreadsLeavesItAtItsStart) {
    RecordingHost host;
    host.fails = true;
    Outside outside;
    outside.release.Open();
    Worker worker(outside);
    EXPECT_EQ(worker.CreateThread(), ERR_OK);
    EXPECT_EQ(worker.GetThreadState(), EalThread::THREAD_STARTING);
    EXPECT_EQ(worker.BlockUntilStopped(1), ERR_TIMEOUT);
    EXPECT_EQ(worker.JoinThread(), ERR_NOT_READY);
    EXPECT_EQ(host.joins, 0);
    host.fails = false;
    EXPECT_EQ(worker.CreateThread(), ERR_OK);
    EXPECT_EQ(worker.JoinThread(), ERR_OK);
    EXPECT_EQ(outside.runs, 1);
}

TEST(EalThread, IsJoinedByOneOfManyWhoTry) {
    constexpr int JOINERS = 4;
    RecordingHost host;
    Outside outside;
    Worker worker(outside);
    ZelkTest::AtThreadExit exit([&] {
        Sleep(20); // By then the first joiner waits for the thread to leave.
        EXPECT_EQ(worker.JoinThread(), ERR_UNREACHABLE);
    });
    outside.exit = &exit;
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
    outside.release.Open();
    for (std::thread& joiner : joiners) {
        joiner.join();
    }
    EXPECT_EQ(joined, 1);
    EXPECT_EQ(late, JOINERS - 1);
    EXPECT_EQ(host.joins, 1);
}

TEST(EalThread, SkipsARunWhoseClassIsGone) {
    struct Late : EalThread {
        Late() : EalThread(CALLER) {}
        ~Late() override {
            EXPECT_EQ(ResumeThread(), ERR_OK);
            EXPECT_EQ(JoinThread(), ERR_OK);
        }
    };
    struct Derived : Late {
        void Run() override { ADD_FAILURE(); }
    };
    static_assert(!std::is_constructible_v<EalThread, EALId>);
    RecordingHost host;
    const ExpectContract noRun(1);
    Derived thread;
    ASSERT_EQ(thread.CreateThread(0, true), ERR_OK);
}

TEST(EalThreadOnTheReferenceHost, RunsAtEveryPriorityAgainAndAgain) {
    SetEalInterface(ZelkHost::ThreadTable());
    Outside outside;
    outside.release.Open();
    Worker worker(outside);
    for (int priority = EAL_THREAD_PRIORITY_IDLE; priority <= EAL_THREAD_PRIORITY_TIME_CRITICAL; ++priority) {
        EXPECT_EQ(worker.StartThread(64 * 1024, static_cast<eal_thread_priority>(priority)), ERR_OK);
        EXPECT_EQ(worker.JoinThread(), ERR_OK);
        EXPECT_EQ(outside.runs, priority + 1);
        EXPECT_EQ(outside.misalignment, 0u);
    }
    EXPECT_EQ(worker.CreateThread(0, true), ERR_OK);
    Await([&] { return worker.GetThreadState() == EalThread::THREAD_SUSPENDED; });
    EXPECT_EQ(worker.ResumeThread(), ERR_OK);
    EXPECT_EQ(worker.JoinThread(), ERR_OK);
    EXPECT_EQ(outside.runs, EAL_THREAD_PRIORITY_TIME_CRITICAL + 2);
}
