// The stand-in for the system: locks, condition variables and threads with the results that the platform documents,
// each operation a scheduling point. What the platform leaves undefined, such as leaving a lock that another thread
// holds or using a section that was deleted, is a fault here.
//
// AddressSanitizer watches this file as it does the library, so an object that is gone is noticed; ThreadSanitizer does
// not, and is told of the locks instead.
#include <process.h>
#include <proof/explorer.h>
#include <windows.h>
#include <zelk_core/base/platform.h>
#include <zelk_core/os/private/debuggername.h>

#include <cstring>

#if defined(PROOF_THREAD_SANITIZER)
#    include <sanitizer/tsan_interface.h>
#else
#    define __tsan_acquire(place)
#    define __tsan_release(place)
#    define __tsan_mutex_pre_lock(place, flags)
#    define __tsan_mutex_post_lock(place, flags, depth)
#    define __tsan_mutex_pre_unlock(place, flags)
#    define __tsan_mutex_post_unlock(place, flags)
#    define __tsan_mutex_destroy(place, flags)
#endif

using namespace Proof;

namespace {

constexpr unsigned SHARED = 1U << 3; ///< ThreadSanitizer's flag of a lock held for reading
constexpr unsigned EXCLUSIVE = 0;

void TellLocked([[maybe_unused]] void* lock, [[maybe_unused]] unsigned mode) {
    __tsan_mutex_pre_lock(lock, mode);
    __tsan_mutex_post_lock(lock, mode, 0);
}

void TellUnlocked([[maybe_unused]] void* lock, [[maybe_unused]] unsigned mode) {
    __tsan_mutex_pre_unlock(lock, mode);
    __tsan_mutex_post_unlock(lock, mode);
}

constexpr std::uint32_t ALIVE = 0x0A11FE;

void RequireAlive(const CRITICAL_SECTION* section) {
    Check(section->life == ALIVE, "a critical section is used that is deleted or was never initialised");
}

bool IsFree(const void* section) {
    RequireAlive(static_cast<const CRITICAL_SECTION*>(section));
    return static_cast<const CRITICAL_SECTION*>(section)->OwningThread == nullptr;
}

bool IsHeldHere(const CRITICAL_SECTION* section) {
    RequireAlive(section);
    return section->OwningThread == ULongToHandle(GetCurrentThreadId());
}

void Take(CRITICAL_SECTION* section) {
    section->OwningThread = ULongToHandle(GetCurrentThreadId());
    if (++section->RecursionCount == 1) {
        TellLocked(section, EXCLUSIVE);
    }
}

void GiveBack(CRITICAL_SECTION* section) {
    Check(IsHeldHere(section), "a critical section is left by a thread that does not hold it");
    if (--section->RecursionCount == 0) {
        section->OwningThread = nullptr;
        TellUnlocked(section, EXCLUSIVE);
    }
}

} // namespace

void InitializeCriticalSection(CRITICAL_SECTION* section) {
    *section = {ALIVE, 0, nullptr};
}

void DeleteCriticalSection(CRITICAL_SECTION* section) {
    Step("DeleteCriticalSection");
    Check(IsFree(section), "a critical section is deleted while it is held");
    section->life = 0;
    __tsan_mutex_destroy(section, 0);
}

void EnterCriticalSection(CRITICAL_SECTION* section) {
    if (!IsHeldHere(section)) {
        BlockUntil("EnterCriticalSection", IsFree, section);
    }
    Take(section);
}

BOOL TryEnterCriticalSection(CRITICAL_SECTION* section) {
    Step("TryEnterCriticalSection");
    if (!IsFree(section) && !IsHeldHere(section)) {
        return 0;
    }
    Take(section);
    return 1;
}

void LeaveCriticalSection(CRITICAL_SECTION* section) {
    Step("LeaveCriticalSection");
    GiveBack(section);
    // Whatever the thread still does with the object, others can come first.
    Step("left the critical section");
}

namespace {

/// What a slim lock keeps in its word. A writer who waits holds up new readers.
struct SlimState {
    std::uint16_t readers;
    std::uint16_t waitingWriters;
    std::uint32_t writer; ///< its number, plus 1
};
static_assert(sizeof(SlimState) == sizeof(SRWLOCK));

SlimState State(const void* lock) {
    SlimState state;
    std::memcpy(&state, lock, sizeof(state));
    return state;
}

void SetState(SRWLOCK* lock, SlimState state) {
    std::memcpy(lock, &state, sizeof(state));
}

bool LetsReaderIn(const void* lock) {
    const SlimState state = State(lock);
    return state.writer == 0 && state.waitingWriters == 0;
}

bool LetsWriterIn(const void* lock) {
    const SlimState state = State(lock);
    return state.writer == 0 && state.readers == 0;
}

void Enter(SRWLOCK* lock, unsigned mode) {
    SlimState state = State(lock);
    if (mode == SHARED) {
        ++state.readers;
    } else {
        state.writer = Self() + 1;
    }
    SetState(lock, state);
    TellLocked(lock, mode);
}

} // namespace

void AcquireSRWLockShared(SRWLOCK* lock) {
    BlockUntil("AcquireSRWLockShared", LetsReaderIn, lock);
    Enter(lock, SHARED);
}

void AcquireSRWLockExclusive(SRWLOCK* lock) {
    Step("AcquireSRWLockExclusive");
    if (!LetsWriterIn(lock)) {
        SlimState state = State(lock);
        ++state.waitingWriters;
        SetState(lock, state);
        BlockUntil("AcquireSRWLockExclusive, behind others", LetsWriterIn, lock);
        state = State(lock);
        --state.waitingWriters;
        SetState(lock, state);
    }
    Enter(lock, EXCLUSIVE);
}

bool TryAcquireSRWLockShared(SRWLOCK* lock) {
    Step("TryAcquireSRWLockShared");
    const bool free = LetsReaderIn(lock);
    if (free) {
        Enter(lock, SHARED);
    }
    return free;
}

bool TryAcquireSRWLockExclusive(SRWLOCK* lock) {
    Step("TryAcquireSRWLockExclusive");
    const bool free = LetsWriterIn(lock);
    if (free) {
        Enter(lock, EXCLUSIVE);
    }
    return free;
}

void ReleaseSRWLockShared(SRWLOCK* lock) {
    Step("ReleaseSRWLockShared");
    SlimState state = State(lock);
    Check(state.readers != 0, "a slim lock is left by a reader while none is in");
    --state.readers;
    SetState(lock, state);
    TellUnlocked(lock, SHARED);
    Step("left the slim lock");
}

void ReleaseSRWLockExclusive(SRWLOCK* lock) {
    Step("ReleaseSRWLockExclusive");
    SlimState state = State(lock);
    Check(state.writer == Self() + 1, "a slim lock is left by a thread that is not the writer");
    state.writer = 0;
    SetState(lock, state);
    TellUnlocked(lock, EXCLUSIVE);
    Step("left the slim lock");
}

namespace {

/// What a thread waits for at a condition variable; one for each thread.
struct Sleeper {
    const CONDITION_VARIABLE* condition;
    bool woken;
};

Sleeper g_sleepers[MAX_THREADS];
DWORD g_lastErrors[MAX_THREADS];

/// The object is looked at, to notice one that is gone.
void RequireAlive(const CONDITION_VARIABLE* condition) {
    Check(condition->Ptr == nullptr, "a condition variable was overwritten");
}

} // namespace

BOOL SleepConditionVariableCS(CONDITION_VARIABLE* condition, CRITICAL_SECTION* section, DWORD ms) {
    Step("SleepConditionVariableCS");
    RequireAlive(condition);
    Check(IsHeldHere(section) && section->RecursionCount == 1, "a sleeping thread does not hold the lock exactly once");
    Sleeper& sleeper = g_sleepers[Self()];
    sleeper = {condition, false};
    GiveBack(section);
    if (ms == INFINITE) {
        BlockUntil(
            "sleep", [](const void* object) { return static_cast<const Sleeper*>(object)->woken; }, &sleeper, true);
    } else {
        Step("sleep for a time");
    }
    const bool timedOut = ms != INFINITE && !sleeper.woken;
    sleeper.condition = nullptr;
    EnterCriticalSection(section);
    g_lastErrors[Self()] = timedOut ? ERROR_TIMEOUT : ERROR_SUCCESS;
    return !timedOut;
}

void WakeConditionVariable(CONDITION_VARIABLE* condition) {
    Step("WakeConditionVariable");
    RequireAlive(condition);
    Sleeper* sleepers[MAX_THREADS];
    unsigned count = 0;
    for (Sleeper& sleeper : g_sleepers) {
        if (sleeper.condition == condition && !sleeper.woken) {
            sleepers[count++] = &sleeper;
        }
    }
    if (count != 0) {
        sleepers[Choose(count)]->woken = true;
    }
}

void WakeAllConditionVariable(CONDITION_VARIABLE* condition) {
    Step("WakeAllConditionVariable");
    RequireAlive(condition);
    for (Sleeper& sleeper : g_sleepers) {
        sleeper.woken = sleeper.woken || sleeper.condition == condition;
    }
}

namespace {

struct SystemThread {
    unsigned number;
    unsigned (*entry)(void*);
    void* argument;
    bool resumed;
    bool isOpen; ///< the one handle, which is the address of this record
};

SystemThread g_threads[MAX_THREADS];
unsigned g_threadCount = 0;

SystemThread& ThreadOf(HANDLE handle) {
    SystemThread* const thread = static_cast<SystemThread*>(handle);
    Check(thread != nullptr && thread->isOpen, "a thread's handle is used that is null or closed");
    return *thread;
}

void RunThread(void* argument) {
    const SystemThread& thread = *static_cast<SystemThread*>(argument);
    __tsan_acquire(argument);
    thread.entry(thread.argument);
}

} // namespace

std::uintptr_t _beginthreadex(void*, unsigned, unsigned (*entry)(void*), void* argument, unsigned flags, unsigned* id) {
    Step("_beginthreadex");
    SystemThread& thread = g_threads[g_threadCount++];
    thread = {0, entry, argument, (flags & CREATE_SUSPENDED) == 0, true};
    thread.number = Start(
        RunThread, &thread, [](const void* object) { return static_cast<const SystemThread*>(object)->resumed; },
        &thread);
    *id = thread.number + 1;
    return reinterpret_cast<std::uintptr_t>(&thread);
}

DWORD ResumeThread(HANDLE handle) {
    ThreadOf(handle).resumed = true;
    __tsan_release(handle);
    Step("ResumeThread");
    return 1;
}

DWORD WaitForSingleObject(HANDLE handle, DWORD) {
    Join(ThreadOf(handle).number);
    return WAIT_OBJECT_0;
}

BOOL CloseHandle(HANDLE handle) {
    Step("CloseHandle");
    ThreadOf(handle).isOpen = false;
    return 1;
}

DWORD GetThreadId(HANDLE handle) {
    return ThreadOf(handle).number + 1;
}

DWORD GetCurrentThreadId() {
    return Self() + 1;
}

DWORD GetLastError() {
    return g_lastErrors[Self()];
}

BOOL SwitchToThread() {
    Pause();
    Step("SwitchToThread");
    return 1;
}

void Proof::ResetSystem() {
    g_threadCount = 0;
    for (Sleeper& sleeper : g_sleepers) {
        sleeper = {};
    }
}

void Proof::CheckSystem() {
    for (unsigned i = 0; i < g_threadCount; ++i) {
        Check(!g_threads[i].isOpen, "a thread's handle is left open");
    }
}

// What the explored sources need of the library's sources that are bound to the platform and its processor.

void Z4::Private::AnnounceDebuggerName(const char*, DWORD) {}

Z4::Platform& Z4::Platform::GetRef() {
    Fail("the explored code asks for the machine");
}
