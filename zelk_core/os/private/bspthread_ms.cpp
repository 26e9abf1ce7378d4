#include <windows.h>

#include <winternl.h>
#include <zelk_core/os/nativethread.h>

namespace Z4 {

namespace {

constexpr THREADINFOCLASS BASIC_INFORMATION = static_cast<THREADINFOCLASS>(0);

/// The system's answer to BASIC_INFORMATION.
struct BasicInformation {
    NTSTATUS exitStatus;
    void* environmentBlock;
    HANDLE processId;
    HANDLE threadId;
    ULONG_PTR affinity;
    LONG priority;
    LONG basePriority;
};
static_assert(sizeof(BasicInformation) == 28);

/// False for threads that have ended or belong to another process, whose block is not in our memory.
bool ReadThreadBlock(HANDLE thread, NT_TIB& block) {
    BasicInformation info{};
    // The block is copied by the system, which fails where the thread is just ending and our own access would fault.
    return WaitForSingleObject(thread, 0) == WAIT_TIMEOUT &&
           NtQueryInformationThread(thread, BASIC_INFORMATION, &info, sizeof(info), nullptr) == 0 &&
           reinterpret_cast<ULONG_PTR>(info.processId) == GetCurrentProcessId() &&
           ReadProcessMemory(GetCurrentProcess(), info.environmentBlock, &block, sizeof(block), nullptr) != 0;
}

} // namespace

Error BSP::ThreadGetId(const ThreadInfo& thread, unsigned long& id) {
    const DWORD answer = GetThreadId(thread.handle);
    if (answer == 0) {
        return ERR_DEVICE_NOT_READY;
    }
    id = answer;
    return ERR_OK;
}

Error BSP::ThreadGetPriority(const ThreadInfo& thread, ThreadPriority& priority) {
    const int answer = GetThreadPriority(thread.handle);
    if (answer == THREAD_PRIORITY_ERROR_RETURN) {
        return ERR_DEVICE_NOT_READY;
    }
    priority = answer;
    return ERR_OK;
}

Error BSP::ThreadGetPriorityBoostState(const ThreadInfo& thread, bool& enabled) {
    BOOL disabled = FALSE;
    if (GetThreadPriorityBoost(thread.handle, &disabled) == 0) {
        return ERR_DEVICE_NOT_READY;
    }
    enabled = disabled == FALSE;
    return ERR_OK;
}

Error BSP::ThreadGetStackSize(const ThreadInfo& thread, unsigned int& size) {
    NT_TIB block;
    MEMORY_BASIC_INFORMATION region;
    if (!ReadThreadBlock(thread.handle, block) || VirtualQuery(block.StackLimit, &region, sizeof(region)) == 0) {
        return ERR_DEVICE_NOT_READY;
    }
    size = reinterpret_cast<ULONG_PTR>(block.StackBase) - reinterpret_cast<ULONG_PTR>(region.AllocationBase);
    return ERR_OK;
}

Error BSP::ThreadJoin(ThreadInfo& thread, unsigned long timeoutMs) {
    if (GetThreadId(thread.handle) == GetCurrentThreadId()) {
        return ERR_UNREACHABLE;
    }
    switch (WaitForSingleObject(thread.handle, timeoutMs)) {
    case WAIT_OBJECT_0:
        CloseHandle(thread.handle);
        thread = {};
        return ERR_OK;
    case WAIT_TIMEOUT:
        return ERR_TIMEOUT;
    default:
        return ERR_INVALID;
    }
}

} // namespace Z4
