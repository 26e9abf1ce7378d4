// What the host's threads have beyond the life that os/threadlife_test.cpp tests. Faults hunted: a request that does
// not carry what was stored, a setting kept or lost by a refused call, a host without threads that hangs a join.
#include <tests/os/threadworker.h>
#include <tests/support/contract.h>
#include <tests/support/testhost.h>

#include <gtest/gtest.h>
#include <host/zelkhost.h>
#include <type_traits>
#include <zelk_core/eal_utils/ealthread.h>

namespace {

using namespace Z4;
using namespace ZelkTest;
using enum Thread::ThreadState;

constexpr int CALLER = 0x1234;

struct OfHost : EalThread {
    OfHost() : EalThread(CALLER) {}
};

static_assert(!std::is_constructible_v<EalThread, EALId>);

/// The reference host's thread table, keeping what it is asked for.
class RecordedThreads : public testing::Test {
protected:
    RecordedThreads() {
        s_host = this;
        eal_thread_dll_interface table = ZelkHost::ThreadTable();
        table.create = [](int id, std::size_t stackSize, eal_thread_priority priority, eal_thread_entry entry,
                          void* argument) {
            s_host->request = {id, stackSize, priority};
            return s_host->fails ? nullptr
                                 : ZelkHost::ThreadTable().create(id, 0, EAL_THREAD_PRIORITY_NORMAL, entry, argument);
        };
        table.join = [](eal_thread_handle handle) {
            ++s_host->joins;
            ZelkHost::ThreadTable().join(handle);
        };
        SetEalInterface(table);
    }
    ~RecordedThreads() override { ReinstallHost(); }

    struct Request {
        int id;
        std::size_t stackSize;
        int priority;
        bool operator==(const Request&) const = default;
    };
    Request request{};
    int joins = 0;
    bool fails = false;
    Outside outside;
    Worker<OfHost> worker{outside};

private:
    inline static RecordedThreads* s_host;
};

TEST_F(RecordedThreads, CarryTheStoredSettings) {
    outside.release.Open();
    EXPECT_EQ(worker.GetThreadPriority(), EAL_THREAD_PRIORITY_NORMAL);
    EXPECT_EQ(worker.SetThreadPriority(static_cast<eal_thread_priority>(77)), ERR_OK);
    ASSERT_EQ(worker.CreateThread(0x20000), ERR_OK);
    EXPECT_EQ(request, (Request{CALLER, 0x20000, 77})) << "passed through unchanged";
    EXPECT_EQ(worker.JoinThread(), ERR_OK);
    ASSERT_EQ(worker.StartThread(0x30000, EAL_THREAD_PRIORITY_HIGHEST), ERR_OK);
    EXPECT_EQ(request, (Request{CALLER, 0x30000, EAL_THREAD_PRIORITY_HIGHEST}));
    EXPECT_EQ(worker.JoinThread(), ERR_OK);
    ASSERT_EQ(worker.CreateThread(), ERR_OK);
    EXPECT_EQ(request, (Request{CALLER, 0, EAL_THREAD_PRIORITY_HIGHEST}));
    EXPECT_EQ(worker.JoinThread(), ERR_OK);
    const ExpectContract tinyStack(LIBRARY_CHECKS ? 1 : 0);
    ASSERT_EQ(worker.CreateThread(5), ERR_OK);
    EXPECT_EQ(request.stackSize, 5u);
    EXPECT_EQ(worker.JoinThread(), ERR_OK);
    EXPECT_EQ(joins, 4);
    EXPECT_EQ(outside.runs, 4);
}

TEST_F(RecordedThreads, StorePriorityAndSuspendingEvenWhenRefused) {
    ASSERT_EQ(worker.CreateThread(), ERR_OK);
    Await([&] { return outside.runs == 1; });
    EXPECT_NE(worker.GetHandle(), nullptr);
    EXPECT_EQ(worker.GetEalHandle(), worker.GetHandle());
    EXPECT_NE(worker.GetThreadId(), INVALID_THREAD_ID);
    EXPECT_EQ(worker.GetId(), worker.GetThreadId());
    EXPECT_EQ(worker.GetEalId(), CALLER);
    EXPECT_EQ(worker.SetThreadPriority(EAL_THREAD_PRIORITY_IDLE), ERR_IN_PROGRESS);
    EXPECT_EQ(worker.GetThreadPriority(), EAL_THREAD_PRIORITY_NORMAL);
    EXPECT_EQ(worker.StartThread(0, EAL_THREAD_PRIORITY_HIGHEST), ERR_IN_PROGRESS);
    EXPECT_EQ(worker.GetThreadPriority(), EAL_THREAD_PRIORITY_HIGHEST);
    EXPECT_EQ(worker.CreateThread(0, true), ERR_IN_PROGRESS);
    EXPECT_EQ(worker.ResumeThread(), ERR_OK);
    outside.release.Open();
    EXPECT_EQ(worker.BlockUntilStopped(INFINITE), ERR_OK);
    EXPECT_EQ(worker.SetThreadPriority(EAL_THREAD_PRIORITY_IDLE), ERR_OK);
    EXPECT_EQ(worker.JoinThread(), ERR_OK);
    EXPECT_EQ(worker.GetHandle(), nullptr);
}

TEST_F(RecordedThreads, ThatTheHostRefusesStayAtTheirStart) {
    fails = true;
    outside.release.Open();
    EXPECT_EQ(worker.CreateThread(), ERR_OK);
    EXPECT_EQ(worker.GetThreadState(), THREAD_STARTING);
    EXPECT_EQ(worker.BlockUntilStopped(1), ERR_TIMEOUT);
    EXPECT_EQ(worker.JoinThread(), ERR_NOT_READY);
    EXPECT_EQ(worker.GetThreadState(), THREAD_IDLE);
    EXPECT_EQ(joins, 0);
    fails = false;
    EXPECT_EQ(worker.CreateThread(), ERR_OK);
    EXPECT_EQ(worker.JoinThread(), ERR_OK);
    EXPECT_EQ(outside.runs, 1);
}

} // namespace
