// What the DLL calls in the program, and what it reads of it. Plain uses of each room are tests/consumer's part, and
// the sockets' examples/chat's, in both ABIs, too.
#include "check.h"

#include <cstring>
#include <host/zelkhost.h>
#include <zelk_core/zelk_core.h>

namespace {

constexpr unsigned THREADS = 4;

/// All that threads share, by the inline code of either compiler.
struct Shared {
    Z4::RWLock readersWriter;
    Z4::ThreadBarrier barrier{THREADS, "rounds"};
    unsigned written = 0; ///< under the readers-writer lock
    unsigned last = 0;    ///< who came last to the barrier
};

/// Takes and gives locks, and names itself, which raises an exception that must be handled.
struct Worker : Z4::Thread {
    Worker(Shared& all) : shared(all) { SetThreadName("worker"); }

    void Run() override {
        alignas(16) float aligned[4] = {};
        isWrong = reinterpret_cast<std::uintptr_t>(aligned) % 16 != 0;
        for (unsigned i = 0; i < 1000; ++i) {
            {
                // Read twice by the same thread: it is told from the others by thread-local storage.
                const Z4::AutoReaderLock outer(shared.readersWriter);
                const Z4::AutoReaderLock inner(shared.readersWriter);
                isWrong |= shared.readersWriter.IsWriterLockActive();
            }
            const Z4::AutoWriterLock guard(shared.readersWriter);
            ++shared.written;
        }
        if (shared.barrier.Wait()) {
            Z4::Atomic::Increment(shared.last);
        }
    }

    Shared& shared;
    bool isWrong = true;
};

void CheckThreads() {
    Shared shared;
    Worker workers[THREADS] = {shared, shared, shared, shared};
    for (Worker& worker : workers) {
        CHECK(worker.CreateThread() == Z4::ERR_OK);
    }
    for (Worker& worker : workers) {
        CHECK(worker.JoinThread() == Z4::ERR_OK && !worker.isWrong);
    }
    CHECK(shared.written == THREADS * 1000 && shared.last == 1);
}

/// The system's own library, checked by a virtual function that is implemented here and called from there.
struct CheckedDll : Z4::DllWrapper {
    bool ValidateDLL(const char* name) override { return isValidated = std::strcmp(name, "ws2_32.dll") == 0; }

    bool isValidated = false;
};

bool IsNamed(const void* address, const char* name) {
    Z4::SymbolInfo info;
    return Z4::SymbolHandler::Instance().Resolve(address, info) && std::strstr(info.function, name) != nullptr;
}

volatile long g_watched;
unsigned g_hits;

void CheckBreakpoints() {
    unsigned long slot = 0;
    const auto count = [](const Z4::HardwareBreakpoint::Hit& hit, void*) {
        g_hits += hit.address == const_cast<const long*>(&g_watched) ? 1u : 0u;
    };
    const Z4::Error result =
        Z4::HardwareBreakpoint::Set(const_cast<const long*>(&g_watched), sizeof g_watched, Z4::BREAK_ON_WRITE,
                                    Z4::HardwareBreakpoint::ALL_THREADS, count, nullptr, slot);
    if (result != Z4::ERR_UNSUPPORTED) {
        CHECK(result == Z4::ERR_OK);
        g_watched = 1;
        CHECK(Z4::HardwareBreakpoint::Clear(slot) == Z4::ERR_OK);
        g_watched = 2;
        CHECK(g_hits == 1);
    }
}

void CheckRooms() {
    CheckedDll dll;
    dll.LoadDLL("ws2_32.dll", true);
    CHECK(dll.IsDLLLoaded() && dll.isValidated);

    Z4::HostInfo local("localhost");
    CHECK(std::strcmp(local.GetAddress(), "127.0.0.1") == 0 && local.GetStatus() == Z4::ERR_OK);
    const Z4::NICInfo adapters;
    CHECK(adapters.GetCount() != 0 && adapters.begin()->GetIPAddressCount() <= 64);

    // By the debug databases of the program and of the DLL.
#if defined(_MSC_VER) // whose form of it alone the debug-help library is sure to read
    CHECK(IsNamed(reinterpret_cast<const void*>(&CheckRooms), "CheckRooms"));
#endif
    CHECK(IsNamed(reinterpret_cast<const void*>(&Z4::GetErrorString), "GetErrorString"));
    CHECK(Z4::StackSizeMonitorDb::Instance().Sample() > 0 && Z4::CallStack().Capture(0) >= 3);
    CheckBreakpoints();
}

} // namespace

int main() {
    ZelkHost::Options options;
    options.memoryMode = ZelkHost::MemoryMode::GUARD_END;
    ZelkHost::Install(options);
    Z4::InitializeRuntimeTypeService();
    Z4::InitializeDbgHelpService();
    CheckSlots();
    CheckThreads();
    CheckNew();
    CheckWideNew();
    CheckRooms();
    Z4::ShutdownDbgHelpService();
    Z4::ShutdownRuntimeTypeService();
    CHECK(ZelkHost::ReportLeaks() == 0);
    std::printf("%d checks failed\n", g_failures);
    return g_failures == 0 ? 0 : 1;
}
