// The system calls that the thread classes, locks and start-up code make, as far as the explorer models them; see
// proof/system.cpp. This folder comes first on the include path of what is explored.
#pragma once

#include <cstdint>

#define __stdcall

using BOOL = int;
using DWORD = unsigned long;
using LONG = long;
using ULONG = unsigned long;
using DWORD_PTR = std::uintptr_t;
using ULONG_PTR = std::uintptr_t;
using HANDLE = void*;

inline HANDLE ULongToHandle(ULONG number) {
    return reinterpret_cast<HANDLE>(number);
}

struct CRITICAL_SECTION {
    std::uint32_t life; ///< tells a section that is initialised from any other memory
    std::int32_t RecursionCount;
    HANDLE OwningThread; ///< its id
};
struct SRWLOCK {
    void* Ptr; ///< null while free and not waited for
};
struct CONDITION_VARIABLE {
    void* Ptr; ///< always null: who waits is known to the threads
};
#define SRWLOCK_INIT \
    { nullptr }
#define CONDITION_VARIABLE_INIT \
    { nullptr }

constexpr BOOL FALSE = 0;
constexpr DWORD INFINITE = 0xFFFFFFFF;
constexpr DWORD WAIT_OBJECT_0 = 0;
constexpr DWORD CREATE_SUSPENDED = 4;
constexpr DWORD ERROR_SUCCESS = 0;
constexpr DWORD ERROR_INVALID_HANDLE = 6;
constexpr DWORD ERROR_INVALID_PARAMETER = 87;
constexpr DWORD ERROR_TIMEOUT = 1460;
constexpr int THREAD_PRIORITY_ERROR_RETURN = 0x7FFFFFFF;

void InitializeCriticalSection(CRITICAL_SECTION* section);
void DeleteCriticalSection(CRITICAL_SECTION* section);
void EnterCriticalSection(CRITICAL_SECTION* section);
BOOL TryEnterCriticalSection(CRITICAL_SECTION* section);
void LeaveCriticalSection(CRITICAL_SECTION* section);

void AcquireSRWLockShared(SRWLOCK* lock);
void AcquireSRWLockExclusive(SRWLOCK* lock);
bool TryAcquireSRWLockShared(SRWLOCK* lock);
bool TryAcquireSRWLockExclusive(SRWLOCK* lock);
void ReleaseSRWLockShared(SRWLOCK* lock);
void ReleaseSRWLockExclusive(SRWLOCK* lock);

BOOL SleepConditionVariableCS(CONDITION_VARIABLE* condition, CRITICAL_SECTION* section, DWORD ms);
void WakeConditionVariable(CONDITION_VARIABLE* condition);
void WakeAllConditionVariable(CONDITION_VARIABLE* condition);

DWORD GetLastError();
BOOL SwitchToThread();
DWORD GetCurrentThreadId();
DWORD GetThreadId(HANDLE thread);
DWORD ResumeThread(HANDLE thread);
DWORD WaitForSingleObject(HANDLE thread, DWORD ms);
BOOL CloseHandle(HANDLE thread);

// Settings of threads, which have no effect on what is explored.
inline HANDLE GetCurrentProcess() {
    return nullptr;
}
inline BOOL GetProcessAffinityMask(HANDLE, DWORD_PTR* process, DWORD_PTR* system) {
    *process = *system = 1;
    return 1;
}
inline DWORD_PTR SetThreadAffinityMask(HANDLE, DWORD_PTR) {
    return 1;
}
inline BOOL SetThreadPriority(HANDLE, int) {
    return 1;
}
inline int GetThreadPriority(HANDLE) {
    return 0;
}
inline BOOL SetThreadPriorityBoost(HANDLE, BOOL) {
    return 1;
}
inline BOOL GetThreadPriorityBoost(HANDLE, BOOL* disabled) {
    *disabled = 0;
    return 1;
}
inline void RaiseException(DWORD, DWORD, DWORD, const ULONG_PTR*) {}
