// Thread objects that are created, joined, resumed and destroyed while others use them.
#include <proof/explorer.h>
#include <zelk_core/base/lifecycle.h>
#include <zelk_core/eal_utils/ealthread.h>
#include <zelk_core/os/autolock.h>
#include <zelk_core/os/thread.h>

using namespace Proof;
using namespace Z4;

namespace {

/// Threads take memory from the host.
struct Services {
    Services() { InitializeBase(); }
    ~Services() { ShutdownBase(); }
};

struct OfSystem : Thread {};

struct OfHost : EalThread {
    OfHost() : EalThread(EALId(1)) {}
};

/// A thread that does `onExit` when Run() has returned already, and counts its runs.
template <class Base, class OnExit = void (*)()>
struct Worker : Base {
    explicit Worker(OnExit exit) : onExit(exit) {}

    void Run() override {
        ++runs;
        AtThreadExit(
            [](void* self) {
                const OnExit exit = static_cast<Worker*>(self)->onExit; // which may destroy the object
                exit();
            },
            this);
    }

    OnExit onExit;
    int runs = 0;
};

template <class Base, class OnExit>
auto MakeWorker(OnExit onExit) {
    return new Worker<Base, OnExit>(onExit);
}

void DoNothing() {}

constexpr unsigned long NO_LIMIT = 0xFFFFFFFF;

bool IsOk(ThreadErrorCodeWrapper result) {
    return static_cast<Error>(result) == ERR_OK;
}

/// For objects whose state anybody may ask for; the exit callback must not keep the owner's join waiting for ever.
template <class Base>
void AskWhileJoined() {
    const Services services;
    Base* thread = nullptr;
    auto* const worker = MakeWorker<Base>([&thread] { thread->GetThreadState(); });
    thread = worker;
    Check(worker->CreateThread() == ERR_OK, "a thread is refused");
    Check(worker->JoinThread() == ERR_OK, "a join fails");
    Check(worker->runs == 1 && worker->GetThreadState() == Thread::THREAD_JOINED, "a joined thread has not run");
    delete worker;
}

/// After Run() a thread cannot join itself either, and another still can.
template <class Base>
void JoinFromOwnExit() {
    const Services services;
    Base* thread = nullptr;
    auto* const worker = MakeWorker<Base>(
        [&thread] { Check(thread->JoinThread() == ERR_UNREACHABLE, "a thread's join of itself is not unreachable"); });
    thread = worker;
    Check(worker->CreateThread() == ERR_OK, "a thread is refused");
    Check(IsOk(worker->BlockUntilStopped(NO_LIMIT)), "a wait for the end fails");
    Check(worker->JoinThread() == ERR_OK, "a join fails after the thread tried to join itself");
    delete worker;
}

template <class Base>
void JoinTwice() {
    const Services services;
    Base* thread = nullptr;
    auto* const worker = MakeWorker<Base>([&thread] { thread->GetThreadState(); });
    thread = worker;
    Check(worker->CreateThread() == ERR_OK, "a thread is refused");
    Error results[2];
    {
        const Fork other([&] { results[1] = worker->JoinThread(); });
        results[0] = worker->JoinThread();
    }
    Check((results[0] == ERR_OK && results[1] == ERR_NOT_READY) ||
              (results[0] == ERR_NOT_READY && results[1] == ERR_OK),
          "of two joins not exactly one succeeds");
    Check(worker->CreateThread() == ERR_OK && worker->JoinThread() == ERR_OK && worker->runs == 2,
          "a joined thread cannot be created again");
    delete worker;
}

template <class Base>
void DestroyWithoutJoin(bool suspended) {
    const Services services;
    struct Idle : Base {
        void Run() override {}
    };
    Idle* const idle = new Idle;
    Check(idle->CreateThread(0, suspended) == ERR_OK, "a thread is refused");
    delete idle;
}

template <class Base>
void ResumeWhileOthersWait() {
    const Services services;
    auto* const worker = MakeWorker<Base>(DoNothing);
    Check(worker->CreateThread(0, true) == ERR_OK, "a thread is refused");
    {
        const Fork waiter([worker] { Check(IsOk(worker->BlockUntilStarted(NO_LIMIT)), "a wait for the start fails"); });
        const Fork resumer([worker] { Check(worker->ResumeThread() == ERR_OK, "a suspended thread is not resumed"); });
    }
    Check(worker->ResumeThread() == ERR_CANNOT_ASSIGN, "a thread is resumed twice");
    Check(worker->JoinThread() == ERR_OK && worker->runs == 1, "a resumed thread has not run once");
    delete worker;
}

} // namespace

#define PROOF_BOTH_KINDS(name, preemptions, kind, ...)        \
    PROOF_SCENARIO(ThreadOfSystem##name, preemptions, kind) { \
        using Base = OfSystem;                                \
        __VA_ARGS__;                                          \
    }                                                         \
    PROOF_SCENARIO(ThreadOfHost##name, preemptions, kind) {   \
        using Base = OfHost;                                  \
        __VA_ARGS__;                                          \
    }

PROOF_BOTH_KINDS(AskedWhileJoined, 3, SOUND, AskWhileJoined<Base>())
PROOF_BOTH_KINDS(JoinsItselfAtExit, 3, SOUND, JoinFromOwnExit<Base>())
PROOF_BOTH_KINDS(JoinedTwice, 2, SOUND, JoinTwice<Base>())
PROOF_BOTH_KINDS(DestroyedWithoutJoin, 3, MISUSE, DestroyWithoutJoin<Base>(false))
PROOF_BOTH_KINDS(DestroyedSuspended, 3, SOUND, DestroyWithoutJoin<Base>(true))
PROOF_BOTH_KINDS(ResumedWhileOthersWait, 2, SOUND, ResumeWhileOthersWait<Base>())

PROOF_SCENARIO(ThreadOfSystemDestroyedOnItsOwnWayOut, 3, SOUND) {
    const Services services;
    std::atomic<bool> gone{false};
    OfSystem* thread = nullptr;
    thread = MakeWorker<OfSystem>([&] {
        delete thread;
        gone.store(true);
    });
    Check(thread->CreateThread() == ERR_OK, "a thread is refused");
    while (!gone.load()) {
        Pause();
    }
}

PROOF_SCENARIO(DetachedThreadDestroysItself, 3, SOUND) {
    const Services services;
    struct Detached : Thread {
        explicit Detached(std::atomic<bool>& theEnd) : end(theEnd) {}
        void Run() override {
            std::atomic<bool>& told = end;
            delete this;
            told.store(true);
        }
        std::atomic<bool>& end;
    };
    std::atomic<bool> ended{false};
    Check((new Detached(ended))->CreateThread(0, false, true) == ERR_OK, "a thread is refused");
    while (!ended.load()) {
        Pause();
    }
}

PROOF_SCENARIO(DetachedThreadIsDestroyedOnceItTells, 3, SOUND) {
    const Services services;
    struct Detached : Thread {
        void Run() override { needless.store(true); }
        std::atomic<bool> needless{false};
    };
    Detached* const detached = new Detached;
    Check(detached->CreateThread(0, false, true) == ERR_OK, "a thread is refused");
    while (!detached->needless.load()) {
        Pause();
    }
    delete detached;
}

PROOF_SCENARIO(DetachedThreadIsCreatedAgain, 3, SOUND) {
    const Services services;
    struct Detached : Thread {
        void Run() override { runs.fetch_add(1); }
        std::atomic<int> runs{0};
    };
    Detached* const detached = new Detached;
    for (int i = 0; i < 2; ++i) {
        Check(detached->CreateThread(0, false, true) == ERR_OK, "a detached thread that ended is not created again");
        while (!detached->IsEnded()) {
            Pause();
        }
    }
    Check(detached->runs.load() == 2, "a detached thread ends before it has run");
    delete detached;
}

PROOF_SCENARIO(NativeThreadFindsItsOwnHandle, 3, SOUND) {
    const Services services;
    struct Results {
        void* handle = nullptr;
        unsigned long id = INVALID_THREAD_ID;
    } results;
    ThreadAttributes attributes;
    attributes.affinity = 1;
    const auto look = [](void* argument) {
        const Results& found = *static_cast<Results*>(argument);
        Check(found.handle != nullptr && found.id != INVALID_THREAD_ID, "a new thread finds no handle of its own");
    };
    Check(ThreadCreate(attributes, look, &results, results.handle, results.id) == ERR_OK, "a thread is refused");
    Check(ThreadJoin(results.handle) == ERR_OK, "a join fails");
}
