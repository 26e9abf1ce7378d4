#include <windows.h>

#include <cstddef>
#include <zelk_core/base/log.h>
#include <zelk_core/os/autolock.h>
#include <zelk_core/os/private/detachedrun.h>
#include <zelk_core/os/private/nativethread.h>
#include <zelk_core/os/private/threadlife.h>
#include <zelk_core/os/thread.h>

namespace Z4 {

template <>
struct Private::Layout<Thread> {
    static_assert(offsetof(Thread, m_monitor) == 4, "condition at 4, critical section at 8");
    static_assert(offsetof(Thread, m_handle) == 32);
    static_assert(offsetof(Thread, m_affinity) == 36);
    static_assert(offsetof(Thread, m_stackBase) == 44);
    static_assert(offsetof(Thread, m_stackSize) == 48);
    static_assert(offsetof(Thread, m_threadId) == 52);
    static_assert(offsetof(Thread, m_state) == 56);
    static_assert(offsetof(Thread, m_owner) == 60);
    static_assert(offsetof(Thread, m_priority) == 64);
    static_assert(offsetof(Thread, m_schedulingPolicy) == 68);
    static_assert(offsetof(Thread, m_name) == 70);
    static_assert(sizeof(Thread) == 136);
};

namespace {

constexpr char LOG_FILE[] = "os/private/thread";

constexpr Private::Message<const char*> STILL_SUSPENDED{
    EAL_LOG_WARNING, LOG_FILE, 523,
    "[Z4::Z4::Thread] EAL_LOG_WARNING: Thread:%s is still suspended. Thread::ResumeThread() must be called prior to "
    "destroying the thread."};
constexpr Private::Message<const char*> NOT_JOINED{
    EAL_LOG_WARNING, LOG_FILE, 564,
    "[Z4::Z4::Thread] EAL_LOG_WARNING: Thread:%s is not detached. Thread::JoinThread() must be called prior to "
    "destroying the thread."};
constexpr Private::Message<const char*> NOT_STARTED{
    EAL_LOG_WARNING, LOG_FILE, 581,
    "[Z4::Z4::Thread] EAL_LOG_WARNING: Thread:%s is detached and Run() is not yet invoked. "
    "Thread::BlockUntilStarted() should be called prior to destroying the thread."};

using Guard = AutoLock<Private::Monitor>;
using Life = Private::ThreadLife<Thread>;

} // namespace

template <>
struct Private::ThreadKind<Thread> {
    static bool IsDetached(const Thread& thread) { return thread.m_detached; }

    static void NoteArrival(Thread& thread) {
        unsigned int committed = 0;
        ThreadGetCurrentStackAttributes(thread.m_stackBase, committed);
    }

    static Thread* RunnerOf(Thread& thread) { return thread.m_owner; }

    static Error WaitForEnd(const Thread& thread) {
        if (thread.m_threadId == GetCurrentThreadId()) {
            // The object goes on its own thread's way out, which nobody can wait for here.
            CloseHandle(thread.m_handle);
            return ERR_UNREACHABLE;
        }
        return JoinOtherThread(thread.m_handle);
    }

    static void Forget(Thread& thread) {
        thread.m_threadId = INVALID_THREAD_ID;
        thread.m_handle = nullptr;
        thread.m_stackBase = 0;
        thread.m_stackSize = 0;
    }

    static void WarnStillSuspended(const Thread& thread) { Log(STILL_SUSPENDED, thread.m_name); }
    static void WarnNotJoined(const Thread& thread) { Log(NOT_JOINED, thread.m_name); }
};

void Thread::Finish() {
    {
        const Guard guard(m_monitor);
        Life::FinishHeld(*this);
        if (m_detached && m_state == THREAD_STARTING) {
            Private::Log(NOT_STARTED, m_name);
        }
        while (m_detached && (m_state == THREAD_STARTING || m_state == THREAD_SUSPENDED)) {
            m_monitor.Wait(INFINITE);
        }
    }
    if (m_detached) {
        Private::DetachedRun::Forget(*this);
    }
}

Error Thread::CreateThread() {
    return CreateWith([] {});
}

Error Thread::CreateThread(unsigned int stackSize) {
    return CreateWith([&] { m_stackSize = stackSize; });
}

Error Thread::CreateThread(unsigned int stackSize, bool startSuspended) {
    return CreateWith([&] {
        m_stackSize = stackSize;
        m_startSuspended = startSuspended;
    });
}

Error Thread::CreateThread(unsigned int stackSize, bool startSuspended, bool detached) {
    return CreateWith([&] {
        m_stackSize = stackSize;
        m_startSuspended = startSuspended;
        m_detached = detached;
    });
}

ThreadErrorCodeWrapper Thread::StartThread(unsigned long stackSize) {
    return CreateThread(stackSize);
}

ThreadErrorCodeWrapper Thread::StartThread(ThreadPriority priority, unsigned long stackSize) {
    static_cast<void>(SetThreadPriority(priority));
    return CreateThread(stackSize);
}

ThreadErrorCodeWrapper Thread::StartThread(ThreadPriority priority, unsigned long stackSize, long affinity) {
    static_cast<void>(SetThreadPriority(priority));
    static_cast<void>(SetAffinity(affinity));
    return CreateThread(stackSize);
}

Error Thread::ResumeThread() {
    return Life::Resume(*this);
}

Error Thread::JoinThread() {
    return Life::Join(*this);
}

ThreadErrorCodeWrapper Thread::Join(unsigned long timeoutMs) {
    const ThreadErrorCodeWrapper stopped = BlockUntilStopped(timeoutMs);
    return stopped != ERR_OK ? stopped : JoinThread();
}

ThreadErrorCodeWrapper Thread::BlockUntilStarted(unsigned long timeoutMs) {
    return Life::WaitUntilStarted(*this, timeoutMs);
}

ThreadErrorCodeWrapper Thread::BlockUntilStopped(unsigned long timeoutMs) {
    return Life::WaitUntilEnded(*this, timeoutMs);
}

template <class Store>
Error Thread::CreateWith(Store store) {
    const Guard guard(m_monitor);
    if (!Life::MayCreateHeld(*this)) {
        return ERR_IN_PROGRESS;
    }
    store();
    return CreateHeld();
}

Error Thread::CreateHeld() {
    Life::SetStateHeld(*this, THREAD_STARTING);
    ThreadAttributes attributes;
    attributes.stackSize = m_stackSize;
    attributes.priority = m_priority;
    attributes.affinity = m_affinity;
    attributes.schedulingPolicy = static_cast<ThreadSchedulingPolicy>(m_schedulingPolicy);
    attributes.name = m_name;
    attributes.detached = m_detached;
    unsigned long threadId = INVALID_THREAD_ID;
    const Error result =
        Private::CreateNativeThread(attributes, Private::MeansAllCores(m_affinity), Enter, this, m_handle, threadId);
    m_threadId = threadId;
    if (result != ERR_OK) {
        m_handle = nullptr;
        m_detached = false;
        m_startSuspended = false;
        m_stackSize = 0;
        Life::SetStateHeld(*this, THREAD_IDLE);
    }
    return result;
}

void Thread::Enter(void* argument) {
    Thread& thread = *static_cast<Thread*>(argument);
    if (Life::Arrive(thread)) {
        const Private::DetachedRun run(thread);
        Life::CallRun(thread);
        return;
    }
    Life::CallRun(thread);
    Life::End(thread);
}

} // namespace Z4
