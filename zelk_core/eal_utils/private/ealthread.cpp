#include <windows.h>

#include <cstddef>
#include <zelk_core/base/assert.h>
#include <zelk_core/base/log.h>
#include <zelk_core/base/private/eal.h>
#include <zelk_core/base/private/threadobserver.h>
#include <zelk_core/eal_utils/ealthread.h>
#include <zelk_core/os/autolock.h>
#include <zelk_core/os/private/threadlife.h>

namespace Z4 {

template <>
struct Private::Layout<EalThread> {
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

constexpr Private::Message<> STILL_SUSPENDED{
    EAL_LOG_WARNING, LOG_FILE, 216,
    "[Z4::Z4::EalThread] EAL_LOG_WARNING: EAlThread still suspended. Thread::ResumeThread() must be called prior to "
    "destroying the thread."};
constexpr Private::Message<> NOT_JOINED{
    EAL_LOG_WARNING, LOG_FILE, 253,
    "[Z4::Z4::EalThread] EAL_LOG_WARNING: EalThread::JoinThread() must be called prior to destroying the thread."};

using Guard = AutoLock<Private::Monitor>;
using Life = Private::ThreadLife<EalThread>;

} // namespace

template <>
struct Private::ThreadKind<EalThread> {
    static bool IsDetached(const EalThread&) { return false; }
    static void NoteArrival(EalThread& thread) { thread.m_threadId = GetCurrentThreadId(); }
    static EalThread* RunnerOf(EalThread& thread) { return &thread; }

    static Error WaitForEnd(const EalThread& thread) {
        Z4_SLOT(g_thread.join)(thread.m_handle);
        return ERR_OK;
    }

    static void Forget(EalThread& thread) {
        thread.m_threadId = INVALID_THREAD_ID;
        thread.m_handle = nullptr;
    }

    static void WarnStillSuspended(const EalThread&) { Log(STILL_SUSPENDED); }
    static void WarnNotJoined(const EalThread&) { Log(NOT_JOINED); }
};

void EalThread::Finish() {
    const Guard guard(m_monitor);
    Z4_ASSERT(m_threadId != GetCurrentThreadId(), "A thread of the host's does not destroy its own object.");
    Life::FinishHeld(*this);
}

Error EalThread::CreateThread() {
    return CreateThread(0);
}

Error EalThread::CreateThread(unsigned int stackSize) {
    const Guard guard(m_monitor);
    return CreateHeld(stackSize);
}

Error EalThread::CreateThread(unsigned int stackSize, bool startSuspended) {
    const Guard guard(m_monitor);
    m_startSuspended = startSuspended;
    return CreateHeld(stackSize);
}

Error EalThread::StartThread(unsigned long stackSize, eal_thread_priority priority) {
    const Guard guard(m_monitor);
    m_priority = priority;
    return CreateHeld(stackSize);
}

Error EalThread::SetThreadPriority(eal_thread_priority priority) {
    const Guard guard(m_monitor);
    if (Life::IsLiveHeld(*this)) {
        return ERR_IN_PROGRESS;
    }
    m_priority = priority;
    return ERR_OK;
}

Error EalThread::ResumeThread() {
    return Life::Resume(*this);
}

Error EalThread::JoinThread() {
    return Life::Join(*this);
}

ThreadErrorCodeWrapper EalThread::BlockUntilStarted(unsigned long timeoutMs) {
    return Life::WaitUntilStarted(*this, timeoutMs);
}

ThreadErrorCodeWrapper EalThread::BlockUntilStopped(unsigned long timeoutMs) {
    return Life::WaitUntilEnded(*this, timeoutMs);
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

Error EalThread::CreateHeld(unsigned int stackSize) {
    if (!Life::MayCreateHeld(*this)) {
        return ERR_IN_PROGRESS;
    }
    Z4_ASSERT(stackSize == 0 || stackSize >= MIN_THREAD_STACK_SIZE,
              "A thread's stack size is in bytes: 0 for the default, else at least MIN_THREAD_STACK_SIZE.");
    Life::SetStateHeld(*this, THREAD_STARTING);
    m_handle = Z4_SLOT(Private::g_thread.create)(m_id.GetId(), stackSize, m_priority, Enter, this);
    return ERR_OK;
}

void EalThread::Enter(void* argument) {
    Private::ObserveThread();
    EalThread& thread = *static_cast<EalThread*>(argument);
    Life::Arrive(thread);
    Life::CallRun(thread);
    Life::End(thread);
}

} // namespace Z4
