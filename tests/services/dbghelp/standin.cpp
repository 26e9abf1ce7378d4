// A library with the names of the debug-help library's functions, which fails on demand and notes what it is asked.
#include "standin.h"

#include <dbghelp.h>

#include <atomic>

namespace {

StandIn::Script g_script;
std::atomic<int> g_inside;

template <class T>
unsigned long long Number(T value) {
    if constexpr (std::is_pointer_v<T>) {
        return reinterpret_cast<ULONG_PTR>(value);
    } else {
        return static_cast<unsigned long long>(value);
    }
}

/// Notes a call, and one that comes while another runs.
template <class... Arguments>
void Note(const char* name, Arguments... arguments) {
    if (++g_inside != 1) {
        ++g_script.overlaps;
    }
    SwitchToThread();
    g_script.calls.push_back({name, {Number(arguments)...}, GetCurrentThreadId()});
    --g_inside;
}

void WINAPI HoldEnd(void* event) {
    WaitForSingleObject(event, INFINITE);
}

BOOL Fail(int& failures) {
    if (failures == 0) {
        return TRUE;
    }
    --failures;
    SetLastError(g_script.error);
    return FALSE;
}

} // namespace

extern "C" {

StandIn::Script* __cdecl Script() {
    return &g_script;
}

BOOL WINAPI StandInSymInitialize(HANDLE process, PCSTR path, BOOL invade) {
    if (g_script.hold != nullptr) {
        WaitForSingleObject(g_script.hold, INFINITE);
    }
    if (g_script.holdEnd != nullptr) {
        static const DWORD slot = FlsAlloc(HoldEnd);
        FlsSetValue(slot, g_script.holdEnd);
    }
    g_script.searchPath = path;
    Note("SymInitialize", process, invade);
    return Fail(g_script.initializeFailures);
}

BOOL WINAPI StandInSymCleanup(HANDLE process) {
    Note("SymCleanup", process);
    return TRUE;
}

BOOL WINAPI StandInSymRefreshModuleList(HANDLE process) {
    Note("SymRefreshModuleList", process);
    SetLastError(0x1234);
    return !g_script.refreshFails;
}

DWORD WINAPI StandInSymGetOptions() {
    Note("SymGetOptions");
    return g_script.options;
}

DWORD WINAPI StandInSymSetOptions(DWORD options) {
    Note("SymSetOptions", options);
    g_script.options = options;
    return options;
}

BOOL WINAPI StandInSymGetModuleInfo64(HANDLE process, DWORD64 address, void* module) {
    Note("SymGetModuleInfo64", process, address, module);
    return TRUE;
}

BOOL WINAPI StandInStackWalk64(DWORD machine, HANDLE process, HANDLE thread, void* frame, void* context, void* read,
                               void* table, void* base, void* translate) {
    Note("StackWalk64", machine, process, thread, frame, context, read, table, base, translate);
    return TRUE;
}

PVOID WINAPI StandInSymFunctionTableAccess64(HANDLE process, DWORD64 address) {
    Note("SymFunctionTableAccess64", process, address);
    return &g_script;
}

BOOL WINAPI StandInEnumerateLoadedModules64(HANDLE process, PENUMLOADED_MODULES_CALLBACK64 callback, void* context) {
    Note("EnumerateLoadedModules64", process, callback, context);
    for (const unsigned long long base : g_script.modules) {
        if (g_script.meanwhile) {
            g_script.meanwhile();
        }
        callback("module", base, 16, context);
    }
    return Fail(g_script.enumerateFailures);
}

BOOL WINAPI StandInSymSetSearchPath(HANDLE process, const void* path) {
    Note("SymSetSearchPath", process, path);
    return TRUE;
}

BOOL WINAPI StandInSymGetSymFromAddr64(HANDLE process, DWORD64 address, void* displacement, void* symbol) {
    Note("SymGetSymFromAddr64", process, address, displacement, symbol);
    return TRUE;
}

BOOL WINAPI StandInSymGetLineFromAddr64(HANDLE process, DWORD64 address, void* displacement, void* line) {
    Note("SymGetLineFromAddr64", process, address, displacement, line);
    return TRUE;
}

DWORD64 WINAPI StandInSymLoadModule64(HANDLE process, HANDLE file, const void* image, const void* module, DWORD64 base,
                                      DWORD size) {
    Note("SymLoadModule64", process, file, image, module, base, size);
    return 0x123456789ull;
}

BOOL WINAPI StandInSymUnloadModule64(HANDLE process, DWORD64 base) {
    Note("SymUnloadModule64", process, base);
    return TRUE;
}

BOOL WINAPI StandInSymFindFileInPath(HANDLE process, const void* path, const void* name, void* id, DWORD two,
                                     DWORD three, DWORD flags, void* found, void* callback, void* context) {
    Note("SymFindFileInPath", process, path, name, id, two, three, flags, found, callback, context);
    return TRUE;
}

BOOL WINAPI StandInMiniDumpWriteDump(HANDLE process, DWORD id, HANDLE file, DWORD type, const void* exception,
                                     const void* stream, const void* callback) {
    Note("MiniDumpWriteDump", process, id, file, type, exception, stream, callback);
    return TRUE;
}

void* WINAPI StandInImageNtHeader(void* base) {
    Note("ImageNtHeader", base);
    return base;
}
}
