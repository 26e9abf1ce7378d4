// The life that both kinds of thread share. Faults hunted: a way between two states that is missing or too many,
// waiters who are told the wrong thing, a thread that joins itself, a Run() that a destructor lets run, a warning that
// is missing, double or under another line, an entry with a misaligned stack; a request to the host that does not
// carry what was stored. Several who join, resume or wait, proof/ explores.
#include "crowd.h"
#include "stackprobe.h"
#include "threadworker.h"
#include <tests/support/contract.h>
#include <tests/support/testhost.h>
#include <tests/support/winsystem.h>

#include <gtest/gtest.h>
#include <host/zelkhost.h>
#include <tuple>
#include <zelk_core/eal_utils/ealthread.h>
#include <zelk_core/os/thread.h>

namespace {

using namespace Z4;
using namespace ZelkTest;
using enum Thread::ThreadState;

struct OfSystem : Thread {
    static inline const ExpectedLine STILL_SUSPENDED{
        2, "os/private/thread", 523,
        "[Z4::Z4::Thread] EAL_LOG_WARNING: Thread: is still suspended. Thread::ResumeThread() must be called prior to "
        "destroying the thread."};
    static inline const ExpectedLine NOT_JOINED{
        2, "os/private/thread", 564,
        "[Z4::Z4::Thread] EAL_LOG_WARNING: Thread: is not detached. Thread::JoinThread() must be called prior to "
        "destroying the thread."};
};

struct OfHost : EalThread {
    static constexpr int CALLER = 0x1234;
    OfHost() : EalThread(CALLER) {}
    static inline const ExpectedLine STILL_SUSPENDED{
        2, "eal_utils/private/ealthread", 216,
        "[Z4::Z4::EalThread] EAL_LOG_WARNING: EAlThread still suspended. Thread::ResumeThread() must be called prior "
        "to destroying the thread."};
    static inline const ExpectedLine NOT_JOINED{
        2, "eal_utils/private/ealthread", 253,
        "[Z4::Z4::EalThread] EAL_LOG_WARNING: EalThread::JoinThread() must be called prior to destroying the thread."};
};

template <class Kind>
class ThreadLife : public testing::Test {
protected:
    ThreadLife() { SetEalInterface(ZelkHost::ThreadTable()); }
    ~ThreadLife() override {
        ReleaseStarts();
        ReinstallHost();
    }
};
using Kinds = testing::Types<OfSystem, OfHost>;
TYPED_TEST_SUITE(ThreadLife, Kinds);

TYPED_TEST(ThreadLife, AnswersInEveryState) {
    const LogCapture log;
    for (const Thread::ThreadState state : STATES) {
        SCOPED_TRACE(state);
        Outside outside;
        Worker<TypeParam> worker(outside);
        outside.work = [&] {
            EXPECT_EQ(StackMisalignment(), 0u);
            EXPECT_EQ(worker.JoinThread(), ERR_UNREACHABLE);
            EXPECT_EQ(worker.GetThreadId(), GetCurrentThreadId());
        };
        BringTo(state, worker, outside);
        const WaitClock clock;
        EXPECT_EQ(worker.BlockUntilStarted(20), state >= THREAD_RUNNING ? ERR_OK : ERR_TIMEOUT);
        EXPECT_EQ(worker.BlockUntilStopped(20), state >= THREAD_ENDED ? ERR_OK : ERR_TIMEOUT);
        EXPECT_TRUE(clock.HasPassed(20u * (state < THREAD_RUNNING) + 20u * (state < THREAD_ENDED)));
        EXPECT_EQ(worker.ResumeThread(), state == THREAD_SUSPENDED ? ERR_OK : ERR_CANNOT_ASSIGN);
        EXPECT_EQ(worker.ResumeThread(), ERR_CANNOT_ASSIGN);
        const bool mayCreate = state == THREAD_IDLE || state == THREAD_JOINED;
        if (mayCreate) {
            EXPECT_EQ(worker.JoinThread(), ERR_NOT_READY);
        }
        EXPECT_EQ(worker.CreateThread(), mayCreate ? ERR_OK : ERR_IN_PROGRESS);
        ReleaseStarts();
        outside.release.Open();
        EXPECT_EQ(worker.JoinThread(), ERR_OK);
        EXPECT_EQ(worker.GetThreadState(), THREAD_JOINED);
        EXPECT_EQ(worker.GetThreadId(), INVALID_THREAD_ID);
        EXPECT_EQ(outside.runs, state == THREAD_JOINED ? 2 : 1);
    }
    log.ExpectOnly({});
}

TYPED_TEST(ThreadLife, IsEndedByTheDestructorWithWarnings) {
    for (const Thread::ThreadState state : STATES) {
        SCOPED_TRACE(state);
        const LogCapture log;
        Outside outside;
        const ExpectContract overtaken(LIBRARY_CHECKS && state == THREAD_RUNNING);
        Actor owner;
        auto* const worker = new Worker<TypeParam>(outside);
        BringTo(state, *worker, outside);
        if (state == THREAD_STARTING || state == THREAD_RUNNING) {
            owner.Waits([&] { delete worker; });
            ReleaseStarts();
            outside.release.Open();
            owner.Proceeds();
        } else {
            owner.Does([&] { delete worker; });
        }
        EXPECT_EQ(outside.runs, state >= THREAD_RUNNING ? 1 : 0);
        if (state == THREAD_SUSPENDED) {
            log.ExpectOnly({TypeParam::STILL_SUSPENDED, TypeParam::NOT_JOINED});
        } else if (state == THREAD_IDLE || state == THREAD_JOINED) {
            log.ExpectOnly({});
        } else {
            log.ExpectOnly({TypeParam::NOT_JOINED});
        }
    }
}

TYPED_TEST(ThreadLife, SkipsARunWhoseClassIsGone) {
    struct Late : TypeParam {
        ~Late() override {
            EXPECT_EQ(this->ResumeThread(), ERR_OK);
            EXPECT_EQ(this->JoinThread(), ERR_OK);
        }
    };
    struct Derived : Late {
        void Run() override { ADD_FAILURE(); }
    };
    const ExpectContract noRun(1);
    Derived thread;
    ASSERT_EQ(thread.CreateThread(0, true), ERR_OK);
}

std::tuple<int, std::size_t, int> g_request; // of the host's table
int g_joins;

TEST(ThreadOfHost, CarriesWhatIsStoredEvenWhenRefused) {
    eal_thread_dll_interface table = ZelkHost::ThreadTable();
    table.create = [](int id, std::size_t stackSize, eal_thread_priority priority, eal_thread_entry entry,
                      void* argument) {
        g_request = {id, stackSize, priority};
        return ZelkHost::ThreadTable().create(id, 0, EAL_THREAD_PRIORITY_NORMAL, entry, argument);
    };
    table.join = [](eal_thread_handle thread) {
        ++g_joins;
        ZelkHost::ThreadTable().join(thread);
    };
    SetEalInterface(table);
    g_joins = 0;
    Outside outside;
    Worker<OfHost> worker(outside);
    const auto expectRequest = [&](Error created, std::size_t stackSize, int priority) {
        EXPECT_EQ(created, ERR_OK);
        EXPECT_EQ(g_request, std::tuple(OfHost::CALLER, stackSize, priority));
        EXPECT_EQ(worker.JoinThread(), ERR_OK);
    };
    BringTo(THREAD_RUNNING, worker, outside);
    EXPECT_NE(worker.GetHandle(), nullptr);
    EXPECT_EQ(worker.SetThreadPriority(EAL_THREAD_PRIORITY_IDLE), ERR_IN_PROGRESS);
    EXPECT_EQ(worker.GetThreadPriority(), EAL_THREAD_PRIORITY_NORMAL) << "not stored";
    EXPECT_EQ(worker.StartThread(0, EAL_THREAD_PRIORITY_HIGHEST), ERR_IN_PROGRESS);
    EXPECT_EQ(worker.CreateThread(0, true), ERR_IN_PROGRESS);
    EXPECT_EQ(worker.ResumeThread(), ERR_OK);
    outside.release.Open();
    EXPECT_EQ(worker.JoinThread(), ERR_OK);
    EXPECT_EQ(worker.GetHandle(), nullptr);

    expectRequest(worker.CreateThread(0x20000), 0x20000, EAL_THREAD_PRIORITY_HIGHEST);
    EXPECT_EQ(worker.SetThreadPriority(static_cast<eal_thread_priority>(77)), ERR_OK);
    expectRequest(worker.CreateThread(), 0, 77); // passed through unchanged
    expectRequest(worker.StartThread(0x30000, EAL_THREAD_PRIORITY_IDLE), 0x30000, EAL_THREAD_PRIORITY_IDLE);
    {
        const ExpectContract tinyStack(LIBRARY_CHECKS ? 1 : 0);
        expectRequest(worker.CreateThread(5), 5, EAL_THREAD_PRIORITY_IDLE);
    }
    EXPECT_EQ(g_joins, 5);
    ReinstallHost();
}

} // namespace
