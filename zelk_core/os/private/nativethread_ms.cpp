#include <windows.h>

#include <cerrno>
#include <cstddef>
#include <cstring>
#include <new>
#include <process.h>
#include <winternl.h>
#include <zelk_core/base/assert.h>
#include <zelk_core/base/hostnew.h>
#include <zelk_core/base/log.h>
#include <zelk_core/base/private/threadobserver.h>
#include <zelk_core/os/nativethread.h>
#include <zelk_core/os/private/debuggername.h>
#include <zelk_core/os/private/nativethread.h>

namespace Z4 {

static_assert(sizeof(ThreadPriority) == 4);
static_assert(sizeof(ThreadAffinity) == 8 && alignof(ThreadAffinity) == 4);
static_assert(offsetof(ThreadAttributes, priority) == 4);
static_assert(offsetof(ThreadAttributes, affinity) == 8);
static_assert(offsetof(ThreadAttributes, schedulingPolicy) == 16);
static_assert(offsetof(ThreadAttributes, name) == 20);
static_assert(offsetof(ThreadAttributes, detached) == 24);
static_assert(sizeof(ThreadAttributes) == 28);
static_assert(sizeof(BSP::ThreadInfo) == 8);

namespace {

constexpr char LOG_FILE[] = "os/private/nativethread_ms";
constexpr Private::Message<int> UNKNOWN_FAILURE{EAL_LOG_WARNING, LOG_FILE, 41,
                                                "Unknown error. GetLastError returns %d\n"};
constexpr Private::Message<int> UNKNOWN_REFUSAL{EAL_LOG_WARNING, LOG_FILE, 217,
                                                "_beginthreadex failed. Unknown error: %d\n"};
constexpr std::size_t NAME_CAPACITY = 64;
constexpr long MAX_PRIORITY = 15;

Error TranslateLastError() {
    const DWORD number = GetLastError();
    switch (number) {
    case ERROR_SUCCESS:
        return ERR_OK;
    case ERROR_INVALID_HANDLE:
        return ERR_NOT_FOUND;
    case ERROR_INVALID_PARAMETER:
        return ERR_INVALID;
    default:
        Private::Log(UNKNOWN_FAILURE, static_cast<int>(number));
        return ERR_UNHANDLED;
    }
}

Error TranslateCreationError(int number) {
    switch (number) {
    case EAGAIN:
    case ENOMEM:
    case EACCES:
        return ERR_OUT_OF_RESOURCES;
    case EINVAL:
        return ERR_INVALID;
    default:
        Private::Log(UNKNOWN_REFUSAL, number);
        return ERR_UNHANDLED;
    }
}

bool IsNameTooLong(const char* name) {
    return name != nullptr && std::memchr(name, '\0', NAME_CAPACITY) == nullptr;
}

/// The system's entry has another calling convention and a result, and takes but one word along: this record.
struct StartRecord : HostNew<StartRecord> {
    ThreadEntry entry;
    void* argument;
};

unsigned __stdcall EnterThread(void* argument) {
    const auto* const started = static_cast<const StartRecord*>(argument);
    const StartRecord record = *started;
    delete started;
    Private::ObserveThread();
    record.entry(record.argument);
    return 0;
}

// A new thread has all cores of the process and priority 0. What asks for just that is not worth a system call.

Error ApplyAffinity(HANDLE thread, ThreadAffinity affinity) {
    ThreadAffinity available;
    if (const Error error = System::GetAvailableCoreMask(available)) {
        return error;
    }
    return affinity == available && affinity != 0 ? ERR_OK : ThreadChangeAffinity(thread, affinity);
}

Error ApplySettings(HANDLE thread, const ThreadAttributes& attributes, bool allCores) {
    if (const Error error = ThreadChangeSchedulingPolicy(thread, attributes.schedulingPolicy)) {
        return error;
    }
    if (!allCores) {
        if (const Error error = ApplyAffinity(thread, attributes.affinity)) {
            return error;
        }
    }
    return attributes.priority == 0 ? ERR_OK : ThreadChangePriority(thread, attributes.priority);
}

} // namespace

Error System::GetAvailableCoreMask(ThreadAffinity& mask) {
    DWORD_PTR process = 0;
    DWORD_PTR system = 0;
    if (GetProcessAffinityMask(GetCurrentProcess(), &process, &system) == 0) {
        return ERR_UNHANDLED;
    }
    mask = process;
    return ERR_OK;
}

Error Private::CreateNativeThread(const ThreadAttributes& attributes, bool allCores, ThreadEntry entry, void* argument,
                                  void*& handle, unsigned long& threadId) {
    handle = nullptr;
    threadId = INVALID_THREAD_ID;
    if (entry == nullptr || IsNameTooLong(attributes.name)) {
        return ERR_INVALID;
    }
    Z4_ASSERT(attributes.stackSize == 0 || attributes.stackSize >= MIN_THREAD_STACK_SIZE,
              "A thread's stack size is in bytes: 0 for the default, else at least MIN_THREAD_STACK_SIZE.");
    auto* const record = new StartRecord{{}, entry, argument};
    if (record == nullptr) {
        return ERR_OUT_OF_RESOURCES;
    }

    unsigned id = 0;
    const std::uintptr_t created =
        _beginthreadex(nullptr, attributes.stackSize, EnterThread, record, CREATE_SUSPENDED, &id);
    if (created == 0 || created == UINTPTR_MAX) {
        const int number = errno;
        delete record;
        return TranslateCreationError(number);
    }
    const HANDLE thread = reinterpret_cast<HANDLE>(created);
    if (const Error error = ApplySettings(thread, attributes, allCores)) {
        // The record stays with the suspended thread: who finds and resumes it, as debuggers do, lets it run.
        CloseHandle(thread);
        return error;
    }

    // Both results stand before the thread can look for them, and before a detached one can take their place away.
    threadId = id;
    handle = attributes.detached ? nullptr : thread;
    ResumeThread(thread);
    Private::AnnounceDebuggerName(attributes.name, id);
    if (attributes.detached) {
        CloseHandle(thread);
    }
    return ERR_OK;
}

Error ThreadCreate(const ThreadAttributes& attributes, ThreadEntry entry, void* argument, void*& handle,
                   unsigned long& threadId) {
    return Private::CreateNativeThread(attributes, false, entry, argument, handle, threadId);
}

Error ThreadCreate(const ThreadAttributes& attributes, ThreadEntry entry, void* argument, void*& handle) {
    unsigned long threadId = 0;
    return ThreadCreate(attributes, entry, argument, handle, threadId);
}

Error ThreadJoin(void* handle) {
    unsigned long id = 0;
    if (const Error error = ThreadGetId(handle, id)) {
        return error;
    }
    if (id == GetCurrentThreadId()) {
        return ERR_UNREACHABLE;
    }
    return Private::JoinOtherThread(handle);
}

Error Private::JoinOtherThread(void* handle) {
    if (WaitForSingleObject(handle, INFINITE) != WAIT_OBJECT_0) {
        return TranslateLastError();
    }
    CloseHandle(handle);
    return ERR_OK;
}

Error ThreadGetId(void* handle, unsigned long& id) {
    id = GetThreadId(handle);
    if (id != 0) {
        return ERR_OK;
    }
    id = INVALID_THREAD_ID;
    return TranslateLastError();
}

Error ThreadGetPriority(void* handle, ThreadPriority& priority) {
    const int value = GetThreadPriority(handle);
    if (value == THREAD_PRIORITY_ERROR_RETURN) {
        return TranslateLastError();
    }
    priority = value;
    return ERR_OK;
}

Error ThreadChangePriority(void* handle, ThreadPriority priority) {
    if (handle == nullptr) {
        return ERR_NOT_FOUND;
    }
    if (!ThreadIsValidPriority(priority, THREAD_SCHEDULING_DYNAMIC_BOOST)) {
        return ERR_INVALID;
    }
    return SetThreadPriority(handle, priority) != 0 ? ERR_OK : TranslateLastError();
}

Error ThreadChangeAffinity(void* handle, ThreadAffinity affinity) {
    if (handle == nullptr) {
        return ERR_NOT_FOUND;
    }
    ThreadAffinity available;
    if (const Error error = System::GetAvailableCoreMask(available)) {
        return error;
    }
    if ((affinity & ~std::uint64_t{available}) != 0) {
        return ERR_INVALID;
    }
    return SetThreadAffinityMask(handle, static_cast<DWORD_PTR>(std::uint64_t{affinity})) != 0 ? ERR_OK
                                                                                               : TranslateLastError();
}

Error ThreadGetSchedulingPolicy(void* handle, ThreadSchedulingPolicy& policy) {
    BOOL boostDisabled = FALSE;
    policy = THREAD_SCHEDULING_DYNAMIC_BOOST;
    if (GetThreadPriorityBoost(handle, &boostDisabled) == 0) {
        return TranslateLastError();
    }
    if (boostDisabled) {
        policy = THREAD_SCHEDULING_FIXED_PRIORITY;
    }
    return ERR_OK;
}

Error ThreadChangeSchedulingPolicy(void* handle, ThreadSchedulingPolicy policy) {
    return SetThreadPriorityBoost(handle, policy != THREAD_SCHEDULING_DYNAMIC_BOOST) != 0 ? ERR_OK
                                                                                          : TranslateLastError();
}

Error ThreadChangeName(void* handle, const char* name) {
    if (handle == nullptr) {
        return ERR_NOT_FOUND;
    }
    if (IsNameTooLong(name)) {
        return ERR_INVALID;
    }
    unsigned long id = 0;
    const Error error = ThreadGetId(handle, id);
    if (error == ERR_OK) {
        Private::AnnounceDebuggerName(name, id);
    }
    return error;
}

ThreadPriority ThreadGetPriorityMax(ThreadSchedulingPolicy) {
    return MAX_PRIORITY;
}

ThreadPriority ThreadGetPriorityMin(ThreadSchedulingPolicy) {
    return -MAX_PRIORITY;
}

bool ThreadIsValidPriority(ThreadPriority priority, ThreadSchedulingPolicy) {
    return priority >= -MAX_PRIORITY && priority <= MAX_PRIORITY;
}

Error ThreadGetCurrentStackAttributes(unsigned int& base, unsigned int& size) {
    const NT_TIB* const tib = reinterpret_cast<const NT_TIB*>(NtCurrentTeb());
    base = reinterpret_cast<std::uintptr_t>(tib->StackBase);
    size = base - reinterpret_cast<std::uintptr_t>(tib->StackLimit);
    return ERR_OK;
}

} // namespace Z4
