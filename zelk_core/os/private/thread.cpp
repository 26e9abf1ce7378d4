#include <windows.h>

#include <cstddef>
#include <zelk_core/base/assert.h>
#include <zelk_core/base/log.h>
#include <zelk_core/os/autolock.h>
#include <zelk_core/os/private/nativethread.h>
#include <zelk_core/os/thread.h>

namespace Z4 {

struct DetachedRun;

struct ThreadLayout {
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

using Guard = AutoLock<Private::Monitor>;

constinit SRWLOCK g_detachedLock = SRWLOCK_INIT;
constinit DetachedRun* g_detachedRuns = nullptr;

} // namespace

/// A detached thread in Run(). Its object may be destroyed meanwhile, by Run() itself even, or may live on and be
/// created again; this record on the thread's stack tells the thread which it was. A thread that takes both locks takes
/// this one before the object's.
struct DetachedRun {
    explicit DetachedRun(Thread& thread) : object(&thread) {
        AcquireSRWLockExclusive(&g_detachedLock);
        next = g_detachedRuns;
        if (next != nullptr) {
            next->link = &next;
        }
        g_detachedRuns = this;
        ReleaseSRWLockExclusive(&g_detachedLock);
    }

    ~DetachedRun() {
        AcquireSRWLockExclusive(&g_detachedLock);
        *link = next;
        if (next != nullptr) {
            next->link = link;
        }
        if (object != nullptr) {
            const Guard guard(object->m_monitor);
            object->SetState(Thread::THREAD_ENDED);
        }
        ReleaseSRWLockExclusive(&g_detachedLock);
    }

    DetachedRun(const DetachedRun&) = delete;
    DetachedRun& operator=(const DetachedRun&) = delete;

    static void Forget(const Thread& thread) {
        AcquireSRWLockExclusive(&g_detachedLock);
        for (DetachedRun* run = g_detachedRuns; run != nullptr; run = run->next) {
            if (run->object == &thread) {
                run->object = nullptr;
            }
        }
        ReleaseSRWLockExclusive(&g_detachedLock);
    }

    Thread* object;
    DetachedRun* next = nullptr;
    DetachedRun** link = &g_detachedRuns; ///< what points to this record
};

void Thread::Finish() {
    {
        const Guard guard(m_monitor);
        Z4_ASSERT(m_detached || m_state != THREAD_RUNNING,
                  "A thread is joined before its object is destroyed: the derived part, which Run() uses, goes first.");
        m_beingDestroyed = true;
        Resume();
        JoinHeld();
        while (m_detached && (m_state == THREAD_STARTING || m_state == THREAD_SUSPENDED)) {
            m_monitor.Wait(INFINITE);
        }
    }
    if (m_detached) {
        DetachedRun::Forget(*this);
    }
}

Error Thread::CreateThread() {
    const Guard guard(m_monitor);
    return MayCreate() ? Create() : ERR_IN_PROGRESS;
}

Error Thread::CreateThread(unsigned int stackSize) {
    const Guard guard(m_monitor);
    if (!MayCreate()) {
        return ERR_IN_PROGRESS;
    }
    m_stackSize = stackSize;
    return Create();
}

Error Thread::CreateThread(unsigned int stackSize, bool startSuspended) {
    const Guard guard(m_monitor);
    if (!MayCreate()) {
        return ERR_IN_PROGRESS;
    }
    m_stackSize = stackSize;
    m_startSuspended = startSuspended;
    return Create();
}

Error Thread::CreateThread(unsigned int stackSize, bool startSuspended, bool detached) {
    const Guard guard(m_monitor);
    if (!MayCreate()) {
        return ERR_IN_PROGRESS;
    }
    m_stackSize = stackSize;
    m_startSuspended = startSuspended;
    m_detached = detached;
    return Create();
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
    const Guard guard(m_monitor);
    return Resume();
}

Error Thread::JoinThread() {
    const Guard guard(m_monitor);
    return m_threadId == GetCurrentThreadId() ? ERR_UNREACHABLE : JoinHeld();
}

ThreadErrorCodeWrapper Thread::Join(unsigned long timeoutMs) {
    const ThreadErrorCodeWrapper stopped = BlockUntilStopped(timeoutMs);
    return stopped != ERR_OK ? stopped : JoinThread();
}

ThreadErrorCodeWrapper Thread::BlockUntilStarted(unsigned long timeoutMs) {
    const Guard guard(m_monitor);
    while (m_state < THREAD_RUNNING) {
        if (!m_monitor.Wait(timeoutMs)) {
            return ERR_TIMEOUT;
        }
    }
    return ERR_OK;
}

ThreadErrorCodeWrapper Thread::BlockUntilStopped(unsigned long timeoutMs) {
    const Guard guard(m_monitor);
    while (!m_detached && m_state < THREAD_ENDED) {
        if (!m_monitor.Wait(timeoutMs)) {
            return ERR_TIMEOUT;
        }
    }
    return m_detached ? ERR_UNREACHABLE : ERR_OK;
}

bool Thread::IsLive() const {
    return m_state >= THREAD_STARTING && m_state <= THREAD_RUNNING;
}

bool Thread::MayCreate() const {
    return m_state == THREAD_IDLE || m_state == THREAD_JOINED || (m_detached && m_state == THREAD_ENDED);
}

void Thread::SetState(ThreadState state) {
    m_state = state;
    m_monitor.WakeAll();
}

Error Thread::Create() {
    SetState(THREAD_STARTING);
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
        SetState(THREAD_IDLE);
    }
    return result;
}

Error Thread::Resume() {
    if (!m_startSuspended) {
        return ERR_CANNOT_ASSIGN;
    }
    m_startSuspended = false;
    m_monitor.WakeAll();
    if (m_beingDestroyed) {
        Private::Log(EAL_LOG_WARNING, LOG_FILE, 523,
                     "[Z4::Z4::Thread] EAL_LOG_WARNING: Thread:%s is still suspended. Thread::ResumeThread() must be "
                     "called prior to destroying the thread.",
                     m_name);
    }
    return ERR_OK;
}

Error Thread::JoinHeld() {
    while (!m_detached && (m_state != THREAD_ENDED || m_joining)) {
        if (m_state == THREAD_IDLE || m_state == THREAD_JOINED) {
            return ERR_NOT_READY;
        }
        m_monitor.Wait(INFINITE);
    }
    if (m_detached) {
        if (m_beingDestroyed && m_state == THREAD_STARTING) {
            Private::Log(EAL_LOG_WARNING, LOG_FILE, 581,
                         "[Z4::Z4::Thread] EAL_LOG_WARNING: Thread:%s is detached and Run() is not yet invoked. "
                         "Thread::BlockUntilStarted() should be called prior to destroying the thread.",
                         m_name);
        }
        return ERR_UNREACHABLE;
    }
    const Error result = WaitForTheSystem();
    m_threadId = INVALID_THREAD_ID;
    m_handle = nullptr;
    m_stackBase = 0;
    m_stackSize = 0;
    SetState(THREAD_JOINED);
    if (m_beingDestroyed) {
        Private::Log(EAL_LOG_WARNING, LOG_FILE, 564,
                     "[Z4::Z4::Thread] EAL_LOG_WARNING: Thread:%s is not detached. Thread::JoinThread() must be called "
                     "prior to destroying the thread.",
                     m_name);
    }
    return result;
}

Error Thread::WaitForTheSystem() {
    if (m_threadId == GetCurrentThreadId()) {
        CloseHandle(m_handle); // The object goes on its own thread's way out, which nobody can wait for here.
        return ERR_UNREACHABLE;
    }
    void* const handle = m_handle;
    m_joining = true;
    m_monitor.Unlock();
    const Error result = Private::JoinOtherThread(handle);
    m_monitor.Lock();
    m_joining = false;
    return result;
}

bool Thread::Begin() {
    const Guard guard(m_monitor);
    unsigned int committed = 0;
    ThreadGetCurrentStackAttributes(m_stackBase, committed);
    if (m_startSuspended) {
        SetState(THREAD_SUSPENDED);
        while (m_startSuspended) {
            m_monitor.Wait(INFINITE);
        }
    }
    return m_detached;
}

void Thread::CallRun() {
    m_monitor.Lock();
    SetState(THREAD_RUNNING);
    Thread* const runner = m_beingDestroyed ? nullptr : m_owner;
    m_monitor.Unlock();
    if (runner != nullptr) {
        runner->Run();
    }
}

void Thread::Enter(void* argument) {
    Thread& thread = *static_cast<Thread*>(argument);
    if (thread.Begin()) {
        const DetachedRun run(thread);
        thread.CallRun();
        return;
    }
    thread.CallRun();
    const Guard guard(thread.m_monitor);
    thread.SetState(THREAD_ENDED);
}

} // namespace Z4
