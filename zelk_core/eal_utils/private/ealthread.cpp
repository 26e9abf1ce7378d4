#include <windows.h>

#include <cstddef>
#include <zelk_core/base/assert.h>
#include <zelk_core/base/log.h>
#include <zelk_core/base/private/eal.h>
#include <zelk_core/eal_utils/ealthread.h>
#include <zelk_core/os/autolock.h>

namespace Z4 {

struct EalThreadLayout {
    static_assert(offsetof(EalThread, m_monitor) == 4, "condition at 4, critical section at 8");
    static_assert(offsetof(EalThread, m_handle) == 32);
    static_assert(offsetof(EalThread, m_threadId) == 36);
    static_assert(offsetof(EalThread, m_id) == 40);
    static_assert(offsetof(EalThread, m_state) == 44);
    static_assert(offsetof(EalThread, m_priority) == 48);
    static_assert(offsetof(EalThread, m_startSuspended) == 52);
    static_assert(offsetof(EalThread, m_beingDestroyed) == 53);
    static_assert(offsetof(EalThread, m_joining) == 54);
    static_assert(sizeof(EalThread) == 56);
};

namespace {

constexpr char LOG_FILE[] = "eal_utils/private/ealthread";

using Guard = AutoLock<Private::Monitor>;

} // namespace

void EalThread::Finish() {
    const Guard guard(m_monitor);
    Z4_ASSERT(m_state != THREAD_RUNNING,
              "A thread is joined before its object is destroyed: the derived part, which Run() uses, goes first.");
    Z4_ASSERT(m_threadId != GetCurrentThreadId(), "A thread of the host's does not destroy its own object.");
    m_beingDestroyed = true;
    Resume();
    JoinHeld();
}

Error EalThread::CreateThread() {
    return CreateThread(0);
}

Error EalThread::CreateThread(unsigned int stackSize) {
    const Guard guard(m_monitor);
    return Create(stackSize);
}

Error EalThread::CreateThread(unsigned int stackSize, bool startSuspended) {
    const Guard guard(m_monitor);
    m_startSuspended = startSuspended;
    return Create(stackSize);
}

Error EalThread::StartThread(unsigned long stackSize, eal_thread_priority priority) {
    const Guard guard(m_monitor);
    m_priority = priority;
    return Create(stackSize);
}

Error EalThread::SetThreadPriority(eal_thread_priority priority) {
    const Guard guard(m_monitor);
    if (m_state >= THREAD_STARTING && m_state <= THREAD_RUNNING) {
        return ERR_IN_PROGRESS;
    }
    m_priority = priority;
    return ERR_OK;
}

Error EalThread::ResumeThread() {
    const Guard guard(m_monitor);
    return Resume();
}

Error EalThread::JoinThread() {
    const Guard guard(m_monitor);
    return m_threadId == GetCurrentThreadId() ? ERR_UNREACHABLE : JoinHeld();
}

ThreadErrorCodeWrapper EalThread::BlockUntilStarted(unsigned long timeoutMs) {
    return WaitForState(THREAD_RUNNING, timeoutMs);
}

ThreadErrorCodeWrapper EalThread::BlockUntilStopped(unsigned long timeoutMs) {
    return WaitForState(THREAD_ENDED, timeoutMs);
}

eal_thread_handle EalThread::GetHandle() const {
    const Guard guard(m_monitor);
    return m_handle;
}

eal_thread_handle EalThread::GetEalHandle() const {
    return GetHandle();
}

unsigned long EalThread::GetThreadId() const {
    const Guard guard(m_monitor);
    return m_threadId;
}

unsigned long EalThread::GetId() const {
    return GetThreadId();
}

EALId EalThread::GetEalId() const {
    return m_id;
}

EalThread::ThreadState EalThread::GetThreadState() const {
    const Guard guard(m_monitor);
    return m_state;
}

eal_thread_priority EalThread::GetThreadPriority() const {
    const Guard guard(m_monitor);
    return m_priority;
}

void EalThread::SetState(ThreadState state) {
    m_state = state;
    m_monitor.WakeAll();
}

Error EalThread::Create(unsigned int stackSize) {
    if (m_state != THREAD_IDLE && m_state != THREAD_JOINED) {
        return ERR_IN_PROGRESS;
    }
    Z4_ASSERT(stackSize == 0 || stackSize >= MIN_THREAD_STACK_SIZE,
              "A thread's stack size is in bytes: 0 for the default, else at least MIN_THREAD_STACK_SIZE.");
    SetState(THREAD_STARTING);
    m_handle = Z4_SLOT(Private::g_thread.create)(m_id.GetId(), stackSize, m_priority, Enter, this);
    return ERR_OK;
}

Error EalThread::Resume() {
    if (!m_startSuspended) {
        return ERR_CANNOT_ASSIGN;
    }
    m_startSuspended = false;
    m_monitor.WakeAll();
    if (m_beingDestroyed) {
        Private::Log(EAL_LOG_WARNING, LOG_FILE, 216,
                     "[Z4::Z4::EalThread] EAL_LOG_WARNING: EAlThread still suspended. Thread::ResumeThread() must be "
                     "called prior to destroying the thread.");
    }
    return ERR_OK;
}

Error EalThread::JoinHeld() {
    while (m_state != THREAD_ENDED || m_joining) {
        if (m_state == THREAD_STARTING && m_handle == nullptr) {
            SetState(THREAD_IDLE);
        }
        if (m_state == THREAD_IDLE || m_state == THREAD_JOINED) {
            return ERR_NOT_READY;
        }
        m_monitor.Wait(INFINITE);
    }
    WaitForTheHost();
    m_threadId = INVALID_THREAD_ID;
    m_handle = nullptr;
    SetState(THREAD_JOINED);
    if (m_beingDestroyed) {
        Private::Log(EAL_LOG_WARNING, LOG_FILE, 253,
                     "[Z4::Z4::EalThread] EAL_LOG_WARNING: EalThread::JoinThread() must be called prior to destroying "
                     "the thread.");
    }
    return ERR_OK;
}

void EalThread::WaitForTheHost() {
    const eal_thread_handle handle = m_handle;
    m_joining = true;
    m_monitor.Unlock();
    Z4_SLOT(Private::g_thread.join)(handle);
    m_monitor.Lock();
    m_joining = false;
}

ThreadErrorCodeWrapper EalThread::WaitForState(ThreadState atLeast, unsigned long timeoutMs) {
    const Guard guard(m_monitor);
    while (m_state < atLeast) {
        if (!m_monitor.Wait(timeoutMs)) {
            return ERR_TIMEOUT;
        }
    }
    return ERR_OK;
}

void EalThread::Enter(void* argument) {
    EalThread& thread = *static_cast<EalThread*>(argument);
    bool skipRun = false;
    {
        const Guard guard(thread.m_monitor);
        thread.m_threadId = GetCurrentThreadId();
        while (thread.m_startSuspended) {
            thread.SetState(THREAD_SUSPENDED);
            thread.m_monitor.Wait(INFINITE);
        }
        thread.SetState(THREAD_RUNNING);
        skipRun = thread.m_beingDestroyed;
    }
    if (!skipRun) {
        thread.Run();
    }
    const Guard guard(thread.m_monitor);
    thread.SetState(THREAD_ENDED);
}

} // namespace Z4
