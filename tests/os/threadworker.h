// Threads that are brought to a state of their life, and what their Run() does.
#pragma once

#include <tests/support/winsystem.h>

#include <atomic>
#include <functional>
#include <gtest/gtest.h>
#include <zelk_core/os/thread.h>

namespace ZelkTest {

/// The next thread that is created waits on its way to its entry. It holds up all that come after it, and the ends of
/// others, so start what the test needs before.
void HoldStarts();
/// Returns when it waits there.
void AwaitHeldStart();
/// Nobody waits any more.
void ReleaseStarts();

template <class Condition>
void Await(Condition condition) {
    while (!condition()) {
        Sleep(1);
    }
}

/// What Run() uses, outside of the object, which may be destroyed meanwhile.
struct Outside {
    std::atomic<int> runs = 0;
    std::function<void()> work;
    Gate release; ///< Run() does its work and waits here
};

/// `Kind` is one of the two classes of threads, with a default constructor.
template <class Kind>
class Worker : public Kind {
public:
    explicit Worker(Outside& outside) : m_outside(outside) {}

    void Run() override {
        Outside& outside = m_outside;
        if (outside.work) {
            outside.work();
        }
        ++outside.runs;
        outside.release.Wait();
    }

private:
    Outside& m_outside;
};

/// All of a life.
inline constexpr Z4::Thread::ThreadState STATES[] = {Z4::Thread::THREAD_IDLE,      Z4::Thread::THREAD_STARTING,
                                                     Z4::Thread::THREAD_SUSPENDED, Z4::Thread::THREAD_RUNNING,
                                                     Z4::Thread::THREAD_ENDED,     Z4::Thread::THREAD_JOINED};

/// Takes a worker that is idle, or was joined, to `state`; on the way there the release is opened where it must be.
/// `detached` is the argument of that name, for threads that have it.
template <class Kind>
void BringTo(Z4::Thread::ThreadState state, Worker<Kind>& worker, Outside& outside, auto... detached) {
    using Z4::Thread;
    const int before = outside.runs;
    if (state == Thread::THREAD_STARTING) {
        HoldStarts();
    }
    if (state != Thread::THREAD_IDLE) {
        EXPECT_EQ(worker.CreateThread(0, state == Thread::THREAD_SUSPENDED, detached...), Z4::ERR_OK);
    }
    if (state == Thread::THREAD_STARTING) {
        AwaitHeldStart();
    }
    if (state >= Thread::THREAD_RUNNING) {
        Await([&] { return outside.runs > before; });
    }
    if (state >= Thread::THREAD_ENDED) {
        outside.release.Open();
    }
    if (state == Thread::THREAD_JOINED) {
        EXPECT_EQ(worker.JoinThread(), Z4::ERR_OK);
    }
    Await([&] { return worker.GetThreadState() == state; });
}

} // namespace ZelkTest
