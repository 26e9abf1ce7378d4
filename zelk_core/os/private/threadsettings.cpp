// What is set on a thread and asked of it; its life is in thread.cpp.
#include <windows.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <zelk_core/base/platform.h>
#include <zelk_core/os/autolock.h>
#include <zelk_core/os/private/nativethread.h>
#include <zelk_core/os/private/threadlife.h>
#include <zelk_core/os/thread.h>

namespace Z4 {

namespace {

using Guard = AutoLock<Private::Monitor>;
using Life = Private::ThreadLife<Thread>;

bool IsValid(ThreadPriority priority) {
    return ThreadIsValidPriority(priority, THREAD_SCHEDULING_DYNAMIC_BOOST);
}

ThreadPriority Clamp(ThreadPriority priority) {
    const ThreadPriority min = ThreadGetPriorityMin(THREAD_SCHEDULING_DYNAMIC_BOOST);
    const ThreadPriority max = ThreadGetPriorityMax(THREAD_SCHEDULING_DYNAMIC_BOOST);
    return priority < min ? min : priority > max ? max : priority;
}

} // namespace

Error Thread::SetThreadPriority(ThreadPriority priority) {
    const Guard guard(m_monitor);
    Error result = IsValid(priority) ? ERR_OK : ERR_INVALID;
    if (Life::IsLiveHeld(*this)) {
        result = ThreadChangePriority(m_handle, priority);
        if (result != ERR_OK) {
            return result;
        }
    }
    m_priority = priority;
    return result;
}

ThreadErrorCodeWrapper Thread::SetPriority(ThreadPriority priority) {
    return SetThreadPriority(priority);
}

Error Thread::SetThreadRelativePriority(const Thread& other, ThreadPriority delta) {
    const ThreadPriority priority = other.GetThreadPriority();
    if (!IsValid(priority) || !IsValid(delta)) {
        return ERR_INVALID;
    }
    return SetThreadPriority(MiddlePriority(priority, priority + delta));
}

Error Thread::SetRelativePriority(const Thread& other, ThreadPriority delta) {
    return SetThreadRelativePriority(other, delta);
}

Error Thread::SetThreadRelativePriority(const Thread& a, const Thread& b) {
    const ThreadPriority priorityA = a.GetThreadPriority();
    const ThreadPriority priorityB = b.GetThreadPriority();
    if (!IsValid(priorityA) || !IsValid(priorityB)) {
        return ERR_INVALID;
    }
    return SetThreadPriority(MiddlePriority(priorityA, priorityB));
}

Error Thread::SetRelativePriority(const Thread& a, const Thread& b) {
    return SetThreadRelativePriority(a, b);
}

ThreadPriority Thread::MiddlePriority(ThreadPriority a, ThreadPriority b) {
    const long sum = Clamp(a) + Clamp(b);
    return (sum < 0 ? sum - 1 : sum + 1) / 2;
}

Error Thread::SetThreadAffinity(ThreadAffinity affinity) {
    const Guard guard(m_monitor);
    ThreadAffinity available;
    if (const Error error = System::GetAvailableCoreMask(available)) {
        return error;
    }
    if (Life::IsLiveHeld(*this)) {
        const Error result = ThreadChangeAffinity(m_handle, Private::MeansAllCores(affinity) ? available : affinity);
        if (result == ERR_OK) {
            m_affinity = affinity;
        }
        return result;
    }
    m_affinity = affinity;
    return (affinity & ~std::uint64_t{available}) == 0 ? ERR_OK : ERR_INVALID;
}

Error Thread::SetAffinity(long mask) {
    return SetThreadAffinity(static_cast<unsigned long>(mask));
}

Error Thread::SetThreadCoreNumber(unsigned long core) {
    return SetThreadAffinity(core < 64 ? std::uint64_t{1} << core : 0);
}

Error Thread::SetCoreNumber(unsigned long core) {
    return SetThreadCoreNumber(core);
}

Error Thread::SetThreadSchedulingPolicy(ThreadSchedulingPolicy policy) {
    const Guard guard(m_monitor);
    if (Life::IsLiveHeld(*this)) {
        if (const Error error = ThreadChangeSchedulingPolicy(m_handle, policy)) {
            return error;
        }
    }
    m_schedulingPolicy = policy != THREAD_SCHEDULING_DYNAMIC_BOOST;
    return ERR_OK;
}

ThreadErrorCodeWrapper Thread::SetPriorityBoost(bool enable) {
    return SetThreadSchedulingPolicy(enable ? THREAD_SCHEDULING_DYNAMIC_BOOST : THREAD_SCHEDULING_FIXED_PRIORITY);
}

Error Thread::SetThreadName(const char* name) {
    constexpr std::size_t MAX_LENGTH = sizeof(m_name) - 1;
    const char* const text = name != nullptr ? name : "";
    const std::size_t length = std::strlen(text);
    const std::size_t kept = length < MAX_LENGTH ? length : MAX_LENGTH;
    const Error stored = length > MAX_LENGTH ? ERR_INVALID : ERR_OK;

    const Guard guard(m_monitor);
    std::memmove(m_name, text, kept);
    std::memset(m_name + kept, 0, sizeof(m_name) - kept);
    if (Life::IsLiveHeld(*this)) {
        if (const Error error = ThreadChangeName(m_handle, m_name)) {
            return error;
        }
    }
    return stored;
}

const char* Thread::GetThreadName() const {
    return m_name;
}

unsigned long Thread::GetThreadId() const {
    const Guard guard(m_monitor);
    return m_threadId;
}

void* Thread::GetThreadNativeHandle() const {
    const Guard guard(m_monitor);
    return m_handle;
}

void** Thread::GetNativeThread() {
    return &m_handle;
}

Thread::ThreadState Thread::GetThreadState() const {
    const Guard guard(m_monitor);
    return m_state;
}

ThreadPriority Thread::GetThreadPriority() const {
    const Guard guard(m_monitor);
    return m_priority;
}

ThreadPriority Thread::GetCurrentPriority() const {
    return GetThreadPriority();
}

ThreadAffinity Thread::GetThreadAffinity() const {
    const Guard guard(m_monitor);
    return m_affinity;
}

long Thread::GetCurrentAffinity() const {
    const ThreadAffinity affinity = GetThreadAffinity();
    return affinity == 0 ? -1 : static_cast<long>(affinity & 0xFFFFFFFF);
}

ThreadSchedulingPolicy Thread::GetThreadSchedulingPolicy() const {
    const Guard guard(m_monitor);
    return static_cast<ThreadSchedulingPolicy>(m_schedulingPolicy);
}

unsigned int Thread::GetThreadStackSize() const {
    const Guard guard(m_monitor);
    return m_stackSize;
}

unsigned int Thread::GetStackSize() const {
    return GetThreadStackSize();
}

unsigned int Thread::GetThreadStackAddress() const {
    const Guard guard(m_monitor);
    return m_stackBase;
}

unsigned int Thread::GetStackAddress() const {
    return GetThreadStackAddress();
}

bool Thread::IsDetached() const {
    const Guard guard(m_monitor);
    return m_detached;
}

bool Thread::IsStarting() const {
    return GetThreadState() == THREAD_STARTING;
}

bool Thread::IsRunning() const {
    return GetThreadState() == THREAD_RUNNING;
}

bool Thread::IsEnded() const {
    return GetThreadState() >= THREAD_ENDED;
}

bool Thread::IsStopped() const {
    const ThreadState state = GetThreadState();
    return state == THREAD_IDLE || state >= THREAD_ENDED;
}

Error Thread::GetThreadCommittedStackSize(unsigned int& size) const {
    size = 0;
    if (GetThreadId() != GetCurrentThreadId()) {
        return ERR_CANNOT_ASSIGN;
    }
    unsigned int base = 0;
    return ThreadGetCurrentStackAttributes(base, size);
}

unsigned int Thread::GetNumberOfCore() {
    return Platform::GetRef().GetNbCore();
}

long Thread::GetAffinityMask() {
    ThreadAffinity available;
    if (System::GetAvailableCoreMask(available) == ERR_OK) {
        return static_cast<long>(available & 0xFFFFFFFF);
    }
    return static_cast<long>((std::uint64_t{1} << (std::min)(GetNumberOfCore(), 32U)) - 1);
}

} // namespace Z4
