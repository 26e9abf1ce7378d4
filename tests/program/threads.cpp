#include "check.h"

#include <zelk_core/zelk_core.h>

namespace {

constexpr unsigned THREADS = 4;

/// All that threads share, by the inline code of either compiler.
struct Shared {
    Z4::RWLock readersWriter;
    Z4::ThreadBarrier barrier{THREADS, "rounds"};
    unsigned written = 0; ///< under the readers-writer lock
    unsigned last = 0;    ///< who came last to the barrier
};

/// Takes and gives locks, and names itself, which raises an exception that must be handled.
struct Worker : Z4::Thread {
    Worker(Shared& all) : shared(all) { SetThreadName("worker"); }

    void Run() override {
        alignas(16) float aligned[4] = {};
        isWrong = reinterpret_cast<std::uintptr_t>(aligned) % 16 != 0;
        for (unsigned i = 0; i < 1000; ++i) {
            {
                // Read twice by the same thread: it is told from the others by thread-local storage.
                const Z4::AutoReaderLock outer(shared.readersWriter);
                const Z4::AutoReaderLock inner(shared.readersWriter);
                isWrong |= shared.readersWriter.IsWriterLockActive();
            }
            const Z4::AutoWriterLock guard(shared.readersWriter);
            ++shared.written;
        }
        if (shared.barrier.Wait()) {
            Z4::Atomic::Increment(shared.last);
        }
    }

    Shared& shared;
    bool isWrong = true;
};

} // namespace

void CheckThreads() {
    Shared shared;
    Worker workers[THREADS] = {shared, shared, shared, shared};
    for (Worker& worker : workers) {
        CHECK(worker.CreateThread() == Z4::ERR_OK);
    }
    for (Worker& worker : workers) {
        CHECK(worker.JoinThread() == Z4::ERR_OK && !worker.isWrong);
    }
    CHECK(shared.written == THREADS * 1000 && shared.last == 1);
}
