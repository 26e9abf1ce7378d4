// Creating and joining a thread, beside the C run-time's own. Pin the program to one core: a thread that wakes
// elsewhere costs several times as much, now and then.
#include <benchmark/benchmark.h>
#include <host/zelkhost.h>
#include <process.h>
#include <windows.h>
#include <zelk_core/base/lifecycle.h>
#include <zelk_core/os/nativethread.h>
#include <zelk_core/os/thread.h>

namespace {

void Z4_CDECL Nothing(void*) {}

unsigned __stdcall NothingRaw(void*) {
    return 0;
}

class Brief : public Z4::Thread {
    void Run() override {}
};

void CreateRaw(benchmark::State& state) {
    for (auto _ : state) {
        const auto thread = reinterpret_cast<HANDLE>(_beginthreadex(nullptr, 0, NothingRaw, nullptr, 0, nullptr));
        WaitForSingleObject(thread, INFINITE);
        CloseHandle(thread);
    }
}

void CreateFree(benchmark::State& state) {
    Z4::ThreadAttributes attributes;
    bool worked = Z4::System::GetAvailableCoreMask(attributes.affinity) == Z4::ERR_OK;
    for (auto _ : state) {
        void* thread = nullptr;
        worked = worked && Z4::ThreadCreate(attributes, Nothing, nullptr, thread) == Z4::ERR_OK &&
                 Z4::ThreadJoin(thread) == Z4::ERR_OK;
    }
    if (!worked) {
        state.SkipWithError("no thread");
    }
}

void CreateObject(benchmark::State& state) {
    Brief thread;
    bool worked = true;
    for (auto _ : state) {
        worked = worked && thread.CreateThread() == Z4::ERR_OK && thread.JoinThread() == Z4::ERR_OK;
    }
    if (!worked) {
        state.SkipWithError("no thread");
    }
}

} // namespace

BENCHMARK(CreateFree)->Name("thread_functions_create_join/zelk")->UseRealTime();
BENCHMARK(CreateRaw)->Name("thread_functions_create_join/raw")->UseRealTime();
BENCHMARK(CreateObject)->Name("thread_object_create_join/zelk")->UseRealTime();
BENCHMARK(CreateRaw)->Name("thread_object_create_join/raw")->UseRealTime();

int main(int argc, char** argv) {
    // One core: times that wake a thread on another swing several-fold from run to run.
    SetProcessAffinityMask(GetCurrentProcess(), 1);
    benchmark::Initialize(&argc, argv);
    ZelkHost::Install();
    Z4::InitializeBase();
    benchmark::RunSpecifiedBenchmarks();
    Z4::ShutdownBase();
}
