#include <zelk_core/services/dbghelp/windbghelp.h>

#include <windows.h>

#include <atomic>
#include <cstddef>
#include <cstring>
#include <iterator>
#include <process.h>
#include <zelk_core/base/assert.h>
#include <zelk_core/base/log.h>
#include <zelk_core/base/private/singleton.h>
#include <zelk_core/os/atomic.h>
#include <zelk_core/services/dbghelp/private/fileversion_ms_pc.h>
#include <zelk_core/services/dbghelp/private/symbolpath_ms_pc.h>
#include <zelk_core/services/dbghelp/private/windbghelpcall.h>

namespace Z4 {

template <>
struct Private::Layout<WinDbgHelp> {
    static_assert(offsetof(WinDbgHelp, m_lock) == 0);
    static_assert(offsetof(WinDbgHelp, m_library) == 24);
    static_assert(offsetof(WinDbgHelp, m_entryPoints) == 32);
    static_assert(sizeof(WinDbgHelp::m_entryPoints) == std::size(LOOKUP_ORDER) * sizeof(void*));
    static_assert(offsetof(WinDbgHelp, m_symbolPath) == 100);
    static_assert(offsetof(WinDbgHelp, m_invadeProcess) == 4196);
    static_assert(offsetof(WinDbgHelp, m_loaded) == 4200);
    static_assert(offsetof(WinDbgHelp, m_ready) == 4204);
    static_assert(offsetof(WinDbgHelp, m_thread) == 4208);
    static_assert(offsetof(WinDbgHelp, m_loaderThreadId) == 4212);
    static_assert(offsetof(WinDbgHelp, m_cookie) == 4216);
    static_assert(offsetof(WinDbgHelp, m_observers) == 4220);
};

namespace {

using Private::SectionGuard;

constexpr char LOG_FILE[] = "services/dbghelp/private/windbghelp_ms_pc";
constexpr Private::Message<unsigned> NO_SYMBOLS_TABLE{
    EAL_LOG_ERROR, LOG_FILE, 412,
    "[Z4::WinDbgHelp] EAL_LOG_ERROR: Could not load the symbols table. SymRefreshModuleList returns:0x%x.\n"};
constexpr Private::Message<> STARTING_AGAIN{
    EAL_LOG_INFO, LOG_FILE, 419,
    "[Z4::W32DebugSymbolDataBase] EAL_LOG_INFO: SymInitialize failed with error "
    "STATUS_INFO_LENGTH_MISMATCH(0xC0000004). Retrying...\n"};
constexpr Private::Message<> ENUMERATING_AGAIN{
    EAL_LOG_INFO, LOG_FILE, 614,
    "[Z4::WinDbgHelp] EAL_LOG_INFO: EnumerateLoadedModules64 failed with error "
    "STATUS_INFO_LENGTH_MISMATCH(0xC0000004). Retrying...\n"};
// Lines of messages are fixed numbers; these two were free to choose.
constexpr Private::Message<const char*> NO_VERSION{
    EAL_LOG_WARNING, LOG_FILE, 655, "[Z4::WinDbgHelp] EAL_LOG_WARNING: Cannot read the version info of %s\n"};
constexpr Private::Message<const char*, int> VERSION_TOO_LARGE{
    EAL_LOG_WARNING, LOG_FILE, 662,
    "[Z4::WinDbgHelp] EAL_LOG_WARNING: Reading the version info of %s would require a size of %d bytes\n"};

constexpr char LIBRARY[] = "dbghelp.dll";

constinit Private::Singleton<WinDbgHelp> g_instance;
constinit std::atomic<bool> g_loadSymbols{true};
constinit std::atomic<bool> g_systemLibraryOnly{false};

// The loader's notifications, which the system's headers do not declare.
using RegisterFunction = LONG(NTAPI*)(ULONG flags, void(Z4_STDCALL* callback)(ULONG, const void*, void*), void* context,
                                      void** cookie);
using UnregisterFunction = LONG(NTAPI*)(void* cookie);

template <class Function>
Function FindInNtdll(const char* name) {
    // Through void (*)(), the one pointer to function that converts to all others without a warning.
    return reinterpret_cast<Function>(
        reinterpret_cast<void (*)()>(GetProcAddress(GetModuleHandleA("ntdll.dll"), name)));
}

/// Tries until `attempt()`, called under `lock`, gives true, four times at most, and again only where the system's list
/// of modules changed while it was read.
template <class Attempt>
bool WhileModulesChange(BlockingLock& lock, const Private::Message<>& again, Attempt attempt) {
    constexpr DWORD LENGTH_MISMATCH = 0xC0000004;
    constexpr int ATTEMPTS = 4;
    for (int i = 0; i < ATTEMPTS; ++i) {
        DWORD error = 0;
        {
            const SectionGuard guard(lock);
            if (attempt()) {
                return true;
            }
            error = GetLastError();
        }
        if (error != LENGTH_MISMATCH) {
            return false;
        }
        Private::Log(again);
    }
    return false;
}

} // namespace

void WinDbgHelp::SingletonInit() {
    g_instance.Get();
}

void WinDbgHelp::SingletonShutdown() {
    g_instance.Destroy();
}

WinDbgHelp& WinDbgHelp::Instance() {
    return g_instance.Get();
}

void WinDbgHelp::SetLoadSymbols(bool load) {
    g_loadSymbols = load;
}

bool WinDbgHelp::GetLoadSymbols() {
    return g_loadSymbols;
}

void WinDbgHelp::SetSystemLibraryOnly(bool only) {
    g_systemLibraryOnly = only;
}

WinDbgHelp::WinDbgHelp() : m_invadeProcess(g_loadSymbols) {
    constexpr unsigned STACK_SIZE = 0x400000;
    Private::WriteSymbolPath(m_symbolPath);
    m_thread = reinterpret_cast<void*>(_beginthreadex(nullptr, STACK_SIZE, EnterLoader, this, 0, nullptr));
    if (m_thread == nullptr) {
        Load();
    }
}

WinDbgHelp::~WinDbgHelp() {
    Z4_ASSERT(!IsLoaderThread() && !m_observers.IsInside(GetCurrentThreadId()),
              "The shut-down is called neither on the loader thread nor by an observer.");
    WaitUntilReady();
    // Ready is not ended: the thread may still be in the library's code, which may be unloaded next.
    if (m_thread != nullptr && !IsLoaderThread()) {
        WaitForSingleObject(m_thread, INFINITE);
    }
    const auto unregister = FindInNtdll<UnregisterFunction>("LdrUnregisterDllNotification");
    if (m_cookie != nullptr && unregister != nullptr) {
        unregister(m_cookie);
    }
    if (m_loaded != 0) {
        SymCleanup(GetCurrentProcess());
    }
    if (m_thread != nullptr) {
        CloseHandle(m_thread);
    }
}

unsigned Z4_STDCALL WinDbgHelp::EnterLoader(void* object) {
    WinDbgHelp& self = *static_cast<WinDbgHelp*>(object);
    Atomic::Exchange(self.m_loaderThreadId, GetCurrentThreadId());
    self.Load();
    return 0;
}

void WinDbgHelp::Load() {
    ResolveEntryPoints();
    Atomic::Exchange(m_loaded, 1);
    {
        // Undecorated names and deferred loads off, lines on.
        const SectionGuard guard(m_lock);
        const DWORD options = Call(Private::SYM_GET_OPTIONS);
        Call(Private::SYM_SET_OPTIONS, (options & ~DWORD{SYMOPT_UNDNAME | SYMOPT_DEFERRED_LOADS}) | SYMOPT_LOAD_LINES);
    }
    if (!StartSymbolHandler()) {
        Atomic::Exchange(m_loaded, 0);
    }
    const auto subscribe = FindInNtdll<RegisterFunction>("LdrRegisterDllNotification");
    if (subscribe != nullptr) {
        subscribe(0, OnNotification, this, &m_cookie);
    }
    Atomic::Exchange(m_ready, 1);
}

void WinDbgHelp::ResolveEntryPoints() {
    char path[MAX_PATH + sizeof LIBRARY + 1];
    const char* name = LIBRARY;
    if (g_systemLibraryOnly) {
        const UINT length = GetSystemDirectoryA(path, MAX_PATH);
        if (length == 0 || length >= MAX_PATH) {
            return; // Rather none than one from elsewhere.
        }
        path[length] = '\\';
        std::memcpy(path + length + 1, LIBRARY, sizeof LIBRARY);
        name = path;
    }
    m_library.LoadDLL(name, true);
    if (!m_library.IsDLLLoaded()) {
        return;
    }
    for (const Private::EntryPointName& entry : Private::LOOKUP_ORDER) {
        m_entryPoints[entry.slot] =
            reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(m_library.GetDLLHandle()), entry.name));
    }
}

bool WinDbgHelp::StartSymbolHandler() {
    const HANDLE process = GetCurrentProcess();
    return WhileModulesChange(m_lock, STARTING_AGAIN, [&] {
        if (Call(Private::SYM_INITIALIZE, process, m_symbolPath, m_invadeProcess) != 0) {
            return true;
        }
        if (GetLastError() == ERROR_INVALID_PARAMETER) {
            // Somebody else has started the handler of this process.
            if (Call(Private::SYM_REFRESH_MODULE_LIST, process) == 0) {
                Private::Log(NO_SYMBOLS_TABLE, static_cast<unsigned>(GetLastError()));
            }
            SetLastError(ERROR_INVALID_PARAMETER); // Whatever came of that, there is no other attempt.
        }
        return false;
    });
}

bool WinDbgHelp::IsReady() const {
    return Atomic::Get(m_ready) != 0;
}

bool WinDbgHelp::IsLoaded() {
    WaitUntilReady();
    return Atomic::Get(m_loaded) != 0;
}

bool WinDbgHelp::IsLoaderThread() const {
    return Atomic::Get(m_loaderThreadId) == GetCurrentThreadId();
}

void WinDbgHelp::WaitUntilReady() {
    // The loader thread comes here when the host's log asks for symbols while the loader logs.
    if (IsReady() || IsLoaderThread()) {
        return;
    }
    DWORD suspensions = 0;
    do {
        suspensions = ResumeThread(m_thread);
    } while (suspensions != 0 && suspensions != static_cast<DWORD>(-1));
    WaitForSingleObject(m_thread, INFINITE);
}

bool WinDbgHelp::EnumerateLoadedModules64(void* process, EnumerateModulesCallback callback, void* context) {
    PrepareCall();
    return WhileModulesChange(m_lock, ENUMERATING_AGAIN,
                              [&] { return Call(Private::ENUMERATE_LOADED_MODULES, process, callback, context) != 0; });
}

bool WinDbgHelp::GetVersionInfo(const char* name, unsigned short (&version)[4]) {
    using Private::FileVersion;
    const FileVersion found = Private::ReadFileVersion(name);
    if (found.result == FileVersion::NONE) {
        Private::Log(NO_VERSION, name);
        return false;
    }
    if (found.result == FileVersion::TOO_LARGE) {
        Private::Log(VERSION_TOO_LARGE, name, static_cast<int>(found.size));
        return false;
    }
    std::memcpy(version, found.numbers, sizeof version);
    return true;
}

} // namespace Z4
