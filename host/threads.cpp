#include <host/internal.h>
#include <memory>
#include <new>
#include <process.h>

namespace ZelkHost {

namespace {

struct Start {
    Z4::eal_thread_entry entry;
    void* argument;
    int priority;
};

int SystemPriority(Z4::eal_thread_priority priority) {
    static constexpr int PRIORITIES[] = {
        THREAD_PRIORITY_IDLE,         THREAD_PRIORITY_LOWEST,  THREAD_PRIORITY_BELOW_NORMAL, THREAD_PRIORITY_NORMAL,
        THREAD_PRIORITY_ABOVE_NORMAL, THREAD_PRIORITY_HIGHEST, THREAD_PRIORITY_TIME_CRITICAL};
    const auto index = static_cast<std::size_t>(priority);
    return index < std::size(PRIORITIES) ? PRIORITIES[index] : THREAD_PRIORITY_NORMAL;
}

// The system calls this with a stack aligned to 4 bytes only; the compiler is told so and realigns it for `entry`.
unsigned __stdcall Run(void* parameter) {
    const std::unique_ptr<Start> start(static_cast<Start*>(parameter));
    SetThreadPriority(GetCurrentThread(), start->priority);
    start->entry(start->argument);
    return 0;
}

int Z4_CDECL Init(unsigned version) {
    return CheckVersion("thread", version, Z4::EAL_THREAD_VERSION);
}

int Z4_CDECL Shutdown() {
    return 0;
}

Z4::eal_thread_handle Z4_CDECL Create(int, std::size_t stackSize, Z4::eal_thread_priority priority,
                                      Z4::eal_thread_entry entry, void* argument) {
    if (entry == nullptr) {
        return nullptr;
    }
    std::unique_ptr<Start> start(new (std::nothrow) Start{entry, argument, SystemPriority(priority)});
    if (start == nullptr) {
        return nullptr;
    }
    // A stack's size means its address space: committed at once, it would take memory that no thread may ever touch.
    const std::uintptr_t handle =
        _beginthreadex(nullptr, stackSize, Run, start.get(), STACK_SIZE_PARAM_IS_A_RESERVATION, nullptr);
    if (handle == 0) {
        return nullptr;
    }
    static_cast<void>(start.release());
    return reinterpret_cast<Z4::eal_thread_handle>(handle);
}

void Z4_CDECL Join(Z4::eal_thread_handle handle) {
    if (handle == nullptr) {
        return;
    }
    // A thread that joins itself would wait for ever: it only lets its handle go.
    if (GetThreadId(handle) != GetCurrentThreadId()) {
        WaitForSingleObject(handle, INFINITE);
    }
    CloseHandle(handle);
}

} // namespace

const Z4::eal_thread_dll_interface& ThreadTable() {
    static constexpr Z4::eal_thread_dll_interface TABLE{
        .init = Init, .shutdown = Shutdown, .create = Create, .join = Join};
    return TABLE;
}

} // namespace ZelkHost
