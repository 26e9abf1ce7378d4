// Call stacks beside the system's ways to them, and the list of modules beside the debug-help library's.
#include <windows.h>

#include <atomic>
#include <benchmark/benchmark.h>
#include <host/zelkhost.h>
#include <thread>
#include <zelk_core/services/dbghelp/callstack.h>
#include <zelk_core/services/dbghelp/lifecycle.h>
#include <zelk_core/services/dbghelp/programmoduledb.h>
#include <zelk_core/services/dbghelp/windbghelp.h>

namespace {

/// Calls `body(state)` 32 frames deep, each of which keeps a frame pointer.
__attribute__((noinline, optimize("no-omit-frame-pointer"))) void AtDepth(int depth, void (*body)(benchmark::State&),
                                                                          benchmark::State& state) {
    if (depth == 0) {
        body(state);
    } else {
        AtDepth(depth - 1, body, state);
    }
    benchmark::ClobberMemory();
}

template <void (*body)(benchmark::State&)>
void Deep(benchmark::State& state) {
    AtDepth(31, body, state);
}

__attribute__((optimize("no-omit-frame-pointer"))) void QuickCapture(benchmark::State& state) {
    const void* addresses[32];
    for (auto _ : state) {
        benchmark::DoNotOptimize(Z4::CallStack::CaptureQuick(addresses, 32, 0));
    }
    state.counters["frames"] = Z4::CallStack::CaptureQuick(addresses, 32, 0);
}

__attribute__((optimize("no-omit-frame-pointer"))) void SystemsQuickCapture(benchmark::State& state) {
    void* addresses[32];
    for (auto _ : state) {
        benchmark::DoNotOptimize(RtlCaptureStackBackTrace(0, 32, addresses, nullptr));
    }
    state.counters["frames"] = RtlCaptureStackBackTrace(0, 32, addresses, nullptr);
}

void FullCapture(benchmark::State& state) {
    Z4::CallStack stack;
    for (auto _ : state) {
        benchmark::DoNotOptimize(stack.Capture(0));
    }
    state.counters["frames"] = static_cast<double>(stack.GetCount());
}

__attribute__((optimize("no-omit-frame-pointer"))) void StackWalkCapture(benchmark::State& state) {
    CONTEXT context;
    RtlCaptureContext(&context);
    Z4::CallStack stack;
    for (auto _ : state) {
        benchmark::DoNotOptimize(stack.CaptureThroughDebugHelp(&context));
    }
    state.counters["frames"] = static_cast<double>(stack.GetCount());
}

/// A thread that waits at a depth like that of others.
class Waiter {
public:
    Waiter()
        : m_event(CreateEventA(nullptr, TRUE, FALSE, nullptr)), m_thread([this] {
              m_id = GetCurrentThreadId();
              WaitForSingleObject(m_event, INFINITE);
          }) {
        Sleep(100);
    }
    ~Waiter() {
        SetEvent(m_event);
        m_thread.join();
        CloseHandle(m_event);
    }
    Waiter(const Waiter&) = delete;
    Waiter& operator=(const Waiter&) = delete;

    DWORD Id() const { return m_id; }

private:
    HANDLE m_event;
    std::atomic<DWORD> m_id{0};
    std::thread m_thread;
};

void ThreadCapture(benchmark::State& state) {
    const Waiter waiter;
    Z4::CallStack stack;
    for (auto _ : state) {
        benchmark::DoNotOptimize(stack.CaptureThread(waiter.Id()));
    }
    state.counters["frames"] = static_cast<double>(stack.GetCount());
}

void SuspendAndResume(benchmark::State& state) {
    const Waiter waiter;
    const HANDLE thread = OpenThread(THREAD_ALL_ACCESS, FALSE, waiter.Id());
    CONTEXT context{};
    context.ContextFlags = CONTEXT_CONTROL | CONTEXT_INTEGER;
    for (auto _ : state) {
        SuspendThread(thread);
        GetThreadContext(thread, &context);
        ResumeThread(thread);
    }
    CloseHandle(thread);
}

void ListModules(benchmark::State& state) {
    Z4::ProgramModuleDB& modules = Z4::ProgramModuleDB::Instance();
    Z4::ProgramModuleDB::Module module;
    for (auto _ : state) {
        for (unsigned long i = 0; modules.GetModule(i, module); ++i) {
            benchmark::DoNotOptimize(module.baseAddress);
        }
    }
}

int __stdcall TakeModule(const char*, unsigned long long base, unsigned long, void*) {
    benchmark::DoNotOptimize(base);
    return TRUE;
}

void EnumerateModules(benchmark::State& state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            Z4::WinDbgHelp::Instance().EnumerateLoadedModules64(GetCurrentProcess(), TakeModule, nullptr));
    }
}

} // namespace

BENCHMARK(Deep<QuickCapture>)->Name("stack_quick_32/zelk");
BENCHMARK(Deep<SystemsQuickCapture>)->Name("stack_quick_32/RtlCaptureStackBackTrace");
BENCHMARK(Deep<FullCapture>)->Name("stack_full/zelk");
BENCHMARK(Deep<StackWalkCapture>)->Name("stack_full/StackWalk64");
BENCHMARK(ThreadCapture)->Name("stack_of_thread/zelk");
BENCHMARK(SuspendAndResume)->Name("stack_of_thread/suspend_and_resume");
BENCHMARK(ListModules)->Name("module_list/zelk");
BENCHMARK(EnumerateModules)->Name("module_list/EnumerateLoadedModules64");

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    ZelkHost::Install();
    Z4::InitializeDbgHelpService(false);
    Z4::WinDbgHelp::Instance().IsLoaded();
    Z4::ProgramModuleDB::Instance().Prepare();
    benchmark::RunSpecifiedBenchmarks();
    Z4::ShutdownDbgHelpService();
}
