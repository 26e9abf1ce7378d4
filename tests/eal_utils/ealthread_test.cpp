// What the host's threads have beyond the life that os/threadlife_test.cpp tests. Faults hunted: a request that does
// not carry what was stored, a setting kept or lost by a refused call. What a host without threads does to it,
// refusal_test tries.
#include <tests/os/threadworker.h>
#include <tests/support/contract.h>
#include <tests/support/testhost.h>

#include <gtest/gtest.h>
#include <host/zelkhost.h>
#include <tuple>
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
        eal_thread_dll_interface table = ZelkHost::ThreadTable();
        table.create = [](int id, std::size_t stackSize, eal_thread_priority priority, eal_thread_entry entry,
                          void* argument) {
            s_request = {id, stackSize, priority};
            return ZelkHost::ThreadTable().create(id, 0, EAL_THREAD_PRIORITY_NORMAL, entry, argument);
        };
        SetEalInterface(table);
    }
    ~RecordedThreads() override { ReinstallHost(); }

    void ExpectRequest(Error created, std::size_t stackSize, int priority) {
        EXPECT_EQ(created, ERR_OK);
        EXPECT_EQ(s_request, std::tuple(CALLER, stackSize, priority));
        EXPECT_EQ(worker.JoinThread(), ERR_OK);
    }

    static inline std::tuple<int, std::size_t, int> s_request;
    Outside outside;
    Worker<OfHost> worker{outside};
};

TEST_F(RecordedThreads, CarryTheStoredSettings) {
    outside.release.Open();
    EXPECT_EQ(worker.GetThreadPriority(), EAL_THREAD_PRIORITY_NORMAL);
    EXPECT_EQ(worker.SetThreadPriority(static_cast<eal_thread_priority>(77)), ERR_OK);
    ExpectRequest(worker.CreateThread(0x20000), 0x20000, 77); // passed through unchanged
    ExpectRequest(worker.StartThread(0x30000, EAL_THREAD_PRIORITY_HIGHEST), 0x30000, EAL_THREAD_PRIORITY_HIGHEST);
    ExpectRequest(worker.CreateThread(), 0, EAL_THREAD_PRIORITY_HIGHEST);
    const ExpectContract tinyStack(LIBRARY_CHECKS ? 1 : 0);
    ExpectRequest(worker.CreateThread(5), 5, EAL_THREAD_PRIORITY_HIGHEST);
}

TEST_F(RecordedThreads, StorePriorityAndSuspendingEvenWhenRefused) {
    BringTo(THREAD_RUNNING, worker, outside);
    EXPECT_NE(worker.GetHandle(), nullptr);
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

} // namespace
