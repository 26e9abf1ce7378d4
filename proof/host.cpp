#include <process.h>
#include <proof/explorer.h>
#include <proof/host.h>
#include <windows.h>
#include <zelk_core/base/ealid.h>
#include <zelk_core/base/ealinterface.h>

#include <cstdlib>

using namespace Z4;

namespace Proof {

namespace {

/// A table between `init` and `shutdown`. Each of the two takes a while, in which others can run.
struct Service {
    bool changing = false;
    bool up = false;

    void Turn(bool on) {
        Check(!changing && up != on, "a host table's init and shutdown do not alternate");
        changing = true;
        Step(on ? "host: init" : "host: shutdown");
        changing = false;
        up = on;
    }
};

Service g_log;
Service g_memory;
Service g_network;
unsigned g_blocks = 0;

template <Service& service>
int Init(unsigned) {
    service.Turn(true);
    return 0;
}

template <Service& service>
int Shutdown() {
    service.Turn(false);
    return 0;
}

void RequireMemory() {
    Check(g_memory.up, "the host's memory is used while it is down");
}

void* Alloc(std::size_t size, std::size_t, unsigned, int) {
    RequireMemory();
    ++g_blocks;
    return std::malloc(size);
}

void* Realloc(void* block, std::size_t size, std::size_t) {
    RequireMemory();
    return std::realloc(block, size);
}

void Free(void* block) {
    RequireMemory();
    Check(block != nullptr, "the host's free is handed a null pointer");
    --g_blocks;
    std::free(block);
}

void NameId(int, const char*) {
    RequireMemory();
}

unsigned char IsEnabled(int, unsigned) {
    Check(g_log.up, "the host's log is used while it is down");
    return 1;
}

unsigned char AssertMessage(int, const char*, const char* message, const char*, unsigned long, unsigned long,
                            unsigned long*) {
    Fail(message);
}

void Print(int, unsigned, const char*, unsigned long, const char*, va_list) {
    Step("host: print");
}

struct HostThread {
    eal_thread_entry entry;
    void* argument;
    HANDLE thread;
};

unsigned EnterHostThread(void* argument) {
    const HostThread& thread = *static_cast<HostThread*>(argument);
    thread.entry(thread.argument);
    return 0;
}

eal_thread_handle CreateHostThread(int, std::size_t, eal_thread_priority, eal_thread_entry entry, void* argument) {
    HostThread* const thread = new HostThread{entry, argument, nullptr};
    unsigned id = 0;
    thread->thread = reinterpret_cast<HANDLE>(_beginthreadex(nullptr, 0, EnterHostThread, thread, 0, &id));
    return thread;
}

void JoinHostThread(eal_thread_handle handle) {
    HostThread* const thread = static_cast<HostThread*>(handle);
    WaitForSingleObject(thread->thread, INFINITE);
    CloseHandle(thread->thread);
    delete thread;
}

} // namespace

void InstallHost() {
    eal_log_dll_interface log{};
    log.init = Init<g_log>;
    log.shutdown = Shutdown<g_log>;
    log.is_enabled = IsEnabled;
    log.assert_message = AssertMessage;
    log.vprint = Print;
    SetEalInterface(log);

    eal_mem_dll_interface memory{};
    memory.init = Init<g_memory>;
    memory.shutdown = Shutdown<g_memory>;
    memory.alloc = Alloc;
    memory.realloc = Realloc;
    memory.free = Free;
    memory.name_id = NameId;
    SetEalInterface(memory);

    eal_net_dll_interface network{};
    network.init = Init<g_network>;
    network.shutdown = Shutdown<g_network>;
    SetEalInterface(network);

    eal_thread_dll_interface thread{};
    thread.create = CreateHostThread;
    thread.join = JoinHostThread;
    SetEalInterface(thread);
}

void CheckHost() {
    Check(!g_log.up && !g_memory.up && !g_network.up, "a host table is left up");
    Check(g_blocks == 0, "memory of the host's is left behind");
}

bool IsMemoryUp() {
    return g_memory.up && g_log.up;
}

bool IsNetworkUp() {
    return g_network.up;
}

} // namespace Proof
