#include <windows.h>

#include <dbghelp.h>

#include <atomic>
#include <cstddef>
#include <cstring>
#include <iterator>
#include <process.h>
#include <type_traits>
#include <zelk_core/base/assert.h>
#include <zelk_core/base/log.h>
#include <zelk_core/base/private/singleton.h>
#include <zelk_core/os/atomic.h>
#include <zelk_core/services/dbghelp/windbghelp.h>

namespace Z4 {

namespace {

constexpr char LOG_FILE[] = "services/dbghelp/private/windbghelp_ms_pc";
constexpr char LIBRARY[] = "dbghelp.dll";

// What the system answers when the list of modules changes while it is read; trying again helps.
constexpr DWORD LENGTH_MISMATCH = 0xC0000004;
constexpr int ATTEMPTS = 4;

// Lines of messages are fixed numbers; these two were free to choose.
constexpr unsigned long NO_VERSION_LINE = 655;
constexpr unsigned long VERSION_TOO_LARGE_LINE = 662;

/// The platform's lock inside a BlockingLock, directly: the calls that it guards are as short as one layer more.
class Guard {
public:
    explicit Guard(BlockingLock& lock) : m_section(reinterpret_cast<CRITICAL_SECTION*>(&lock)) {
        EnterCriticalSection(m_section);
    }
    ~Guard() { LeaveCriticalSection(m_section); }
    Guard(const Guard&) = delete;
    Guard& operator=(const Guard&) = delete;

private:
    CRITICAL_SECTION* m_section;
};

constinit Private::Singleton<WinDbgHelp> g_instance;
constinit std::atomic<bool> g_loadSymbols{true};
constinit std::atomic<bool> g_systemLibraryOnly{false};

enum Slot : int {
    SYM_INITIALIZE,
    SYM_CLEANUP,
    SYM_REFRESH_MODULE_LIST,
    SYM_GET_OPTIONS,
    SYM_SET_OPTIONS,
    SYM_GET_MODULE_INFO,
    STACK_WALK,
    SYM_FUNCTION_TABLE_ACCESS,
    ENUMERATE_LOADED_MODULES,
    SYM_SET_SEARCH_PATH,
    SYM_GET_SYM_FROM_ADDR,
    SYM_GET_LINE_FROM_ADDR,
    SYM_LOAD_MODULE,
    SYM_UNLOAD_MODULE,
    SYM_FIND_FILE_IN_PATH,
    MINI_DUMP_WRITE_DUMP,
    IMAGE_NT_HEADER,
};

/// In the order in which they are looked up, which is not that of the slots.
constexpr struct {
    Slot slot;
    const char* name;
} ENTRY_POINT_NAMES[] = {
    {SYM_INITIALIZE, "SymInitialize"},
    {SYM_REFRESH_MODULE_LIST, "SymRefreshModuleList"},
    {SYM_GET_OPTIONS, "SymGetOptions"},
    {SYM_SET_OPTIONS, "SymSetOptions"},
    {SYM_CLEANUP, "SymCleanup"},
    {SYM_GET_MODULE_INFO, "SymGetModuleInfo64"},
    {STACK_WALK, "StackWalk64"},
    {SYM_FUNCTION_TABLE_ACCESS, "SymFunctionTableAccess64"},
    {ENUMERATE_LOADED_MODULES, "EnumerateLoadedModules64"},
    {SYM_SET_SEARCH_PATH, "SymSetSearchPath"},
    {SYM_GET_SYM_FROM_ADDR, "SymGetSymFromAddr64"},
    {SYM_GET_LINE_FROM_ADDR, "SymGetLineFromAddr64"},
    {SYM_LOAD_MODULE, "SymLoadModule64"},
    {SYM_UNLOAD_MODULE, "SymUnloadModule64"},
    {SYM_FIND_FILE_IN_PATH, "SymFindFileInPath"},
    {MINI_DUMP_WRITE_DUMP, "MiniDumpWriteDump"},
    {IMAGE_NT_HEADER, "ImageNtHeader"},
};

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

/// Appends what `read` gives for a buffer and its size, behind a semicolon; nothing when it gives nothing or too much.
template <std::size_t SIZE, class Read>
void AppendToPath(char (&path)[SIZE], Read read) {
    const std::size_t used = std::strlen(path);
    const std::size_t begin = used == 0 ? 0 : used + 1;
    if (begin + 1 >= SIZE) {
        return;
    }
    const DWORD room = static_cast<DWORD>(SIZE - begin);
    const DWORD length = read(path + begin, room);
    if (length == 0 || length >= room) {
        path[used] = '\0';
    } else if (used != 0) {
        path[used] = ';';
    }
}

} // namespace

/// Under the lock. The null result of an entry point that is missing comes with a reason.
template <class Function, class... Arguments>
auto WinDbgHelp::Call(int slot, Arguments... arguments) {
    using Result = std::invoke_result_t<Function*, Arguments...>;
    Function* const function = reinterpret_cast<Function*>(m_entryPoints[slot]);
    if (function == nullptr) {
        SetLastError(ERROR_PROC_NOT_FOUND);
        return Result{};
    }
    return function(arguments...);
}

void WinDbgHelp::PrepareCall() {
    Z4_ASSERT(!m_observers.IsInside(GetCurrentThreadId()), "An observer calls no function of the debug-help library.");
    if (!IsReady()) {
        WaitUntilReady();
    }
}

template <class Function, class... Arguments>
auto WinDbgHelp::Forward(int slot, Arguments... arguments) {
    PrepareCall();
    const Guard guard(m_lock);
    return Call<Function>(slot, arguments...);
}

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
    m_symbolPath[0] = '\0';
    AppendToPath(m_symbolPath, [](char* to, DWORD room) { return GetCurrentDirectoryA(room, to); });
    for (const char* variable : {"_NT_SYMBOL_PATH", "_NT_ALTERNATE_SYMBOL_PATH"}) {
        AppendToPath(m_symbolPath, [=](char* to, DWORD room) { return GetEnvironmentVariableA(variable, to, room); });
    }
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
        const Guard guard(m_lock);
        const DWORD options = Call<decltype(::SymGetOptions)>(SYM_GET_OPTIONS);
        Call<decltype(::SymSetOptions)>(SYM_SET_OPTIONS,
                                        (options & ~DWORD{SYMOPT_UNDNAME | SYMOPT_DEFERRED_LOADS}) | SYMOPT_LOAD_LINES);
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
    static_assert(std::size(ENTRY_POINT_NAMES) == ENTRY_POINTS && IMAGE_NT_HEADER == ENTRY_POINTS - 1);
    for (const auto& entry : ENTRY_POINT_NAMES) {
        m_entryPoints[entry.slot] =
            reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(m_library.GetDLLHandle()), entry.name));
    }
}

bool WinDbgHelp::StartSymbolHandler() {
    const HANDLE process = GetCurrentProcess();
    for (int attempt = 0; attempt < ATTEMPTS; ++attempt) {
        DWORD error = 0;
        {
            const Guard guard(m_lock);
            if (Call<decltype(::SymInitialize)>(SYM_INITIALIZE, process, m_symbolPath, m_invadeProcess) != 0) {
                return true;
            }
            error = GetLastError();
            if (error == ERROR_INVALID_PARAMETER) {
                // Somebody else has started the handler of this process.
                if (Call<decltype(::SymRefreshModuleList)>(SYM_REFRESH_MODULE_LIST, process) != 0) {
                    return false;
                }
                error = GetLastError();
                Private::Log(EAL_LOG_ERROR, LOG_FILE, 412,
                             "[Z4::WinDbgHelp] EAL_LOG_ERROR: Could not load the symbols table. "
                             "SymRefreshModuleList returns:0x%x.\n",
                             error);
                return false;
            }
        }
        if (error != LENGTH_MISMATCH) {
            return false;
        }
        Private::Log(EAL_LOG_INFO, LOG_FILE, 419,
                     "[Z4::W32DebugSymbolDataBase] EAL_LOG_INFO: SymInitialize failed with error "
                     "STATUS_INFO_LENGTH_MISMATCH(0xC0000004). Retrying...\n");
    }
    return false;
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
    if (IsReady() || IsLoaderThread() || m_thread == nullptr) {
        return;
    }
    DWORD suspensions = 0;
    do {
        suspensions = ResumeThread(m_thread);
    } while (suspensions != 0 && suspensions != static_cast<DWORD>(-1));
    WaitForSingleObject(m_thread, INFINITE);
}

bool WinDbgHelp::SymInitialize(void* process, const char* searchPath, bool invade) {
    return Forward<decltype(::SymInitialize)>(SYM_INITIALIZE, process, searchPath, invade) != 0;
}

bool WinDbgHelp::SymCleanup(void* process) {
    return Forward<decltype(::SymCleanup)>(SYM_CLEANUP, process) != 0;
}

bool WinDbgHelp::SymRefreshModuleList(void* process) {
    return Forward<decltype(::SymRefreshModuleList)>(SYM_REFRESH_MODULE_LIST, process) != 0;
}

unsigned long WinDbgHelp::SymGetOptions() {
    return Forward<decltype(::SymGetOptions)>(SYM_GET_OPTIONS);
}

unsigned long WinDbgHelp::SymSetOptions(unsigned long options) {
    return Forward<decltype(::SymSetOptions)>(SYM_SET_OPTIONS, options);
}

bool WinDbgHelp::SymGetModuleInfo64(void* process, unsigned long long address, _IMAGEHLP_MODULE64* module) {
    return Forward<decltype(::SymGetModuleInfo64)>(SYM_GET_MODULE_INFO, process, address, module) != 0;
}

bool WinDbgHelp::StackWalk64(unsigned long machineType, void* process, void* thread, _tagSTACKFRAME64* frame,
                             void* context, ReadMemoryCallback readMemory,
                             FunctionTableAccessCallback functionTableAccess, GetModuleBaseCallback getModuleBase,
                             TranslateAddressCallback translateAddress) {
    return Forward<decltype(::StackWalk64)>(STACK_WALK, machineType, process, thread, frame, context, readMemory,
                                            functionTableAccess, getModuleBase, translateAddress) != 0;
}

void* WinDbgHelp::SymFunctionTableAccess64(void* process, unsigned long long address) {
    return Forward<decltype(::SymFunctionTableAccess64)>(SYM_FUNCTION_TABLE_ACCESS, process, address);
}

void* WinDbgHelp::GetAddressOfSymFunctionTableAccess64() {
    WaitUntilReady();
    return m_entryPoints[SYM_FUNCTION_TABLE_ACCESS];
}

bool WinDbgHelp::EnumerateLoadedModules64(void* process, EnumerateModulesCallback callback, void* context) {
    PrepareCall();
    for (int attempt = 0; attempt < ATTEMPTS; ++attempt) {
        DWORD error = 0;
        {
            const Guard guard(m_lock);
            if (Call<decltype(::EnumerateLoadedModules64)>(ENUMERATE_LOADED_MODULES, process, callback, context) != 0) {
                return true;
            }
            error = GetLastError();
        }
        if (error != LENGTH_MISMATCH) {
            return false;
        }
        Private::Log(EAL_LOG_INFO, LOG_FILE, 614,
                     "[Z4::WinDbgHelp] EAL_LOG_INFO: EnumerateLoadedModules64 failed with error "
                     "STATUS_INFO_LENGTH_MISMATCH(0xC0000004). Retrying...\n");
    }
    return false;
}

bool WinDbgHelp::SymSetSearchPath(void* process, const char* path) {
    return Forward<decltype(::SymSetSearchPath)>(SYM_SET_SEARCH_PATH, process, path) != 0;
}

bool WinDbgHelp::SymGetSymFromAddr64(void* process, unsigned long long address, unsigned long long* displacement,
                                     _IMAGEHLP_SYMBOL64* symbol) {
    return Forward<decltype(::SymGetSymFromAddr64)>(SYM_GET_SYM_FROM_ADDR, process, address, displacement, symbol) != 0;
}

bool WinDbgHelp::SymGetLineFromAddr64(void* process, unsigned long long address, unsigned long* displacement,
                                      _IMAGEHLP_LINE64* line) {
    return Forward<decltype(::SymGetLineFromAddr64)>(SYM_GET_LINE_FROM_ADDR, process, address, displacement, line) != 0;
}

unsigned long long WinDbgHelp::SymLoadModule64(void* process, void* file, const char* imageName, const char* moduleName,
                                               unsigned long long base, unsigned long size) {
    return Forward<decltype(::SymLoadModule64)>(SYM_LOAD_MODULE, process, file, imageName, moduleName, base, size);
}

bool WinDbgHelp::SymUnloadModule64(void* process, unsigned long long base) {
    return Forward<decltype(::SymUnloadModule64)>(SYM_UNLOAD_MODULE, process, base) != 0;
}

bool WinDbgHelp::SymFindFileInPath(void* process, const char* path, const char* name, void* id, unsigned long two,
                                   unsigned long three, unsigned long flags, char* found, FindFileCallback callback,
                                   void* context) {
    return Forward<decltype(::SymFindFileInPath)>(SYM_FIND_FILE_IN_PATH, process, path, name, id, two, three, flags,
                                                  found, callback, context) != 0;
}

bool WinDbgHelp::MiniDumpWriteDump(void* process, unsigned long processId, void* file, int dumpType,
                                   _MINIDUMP_EXCEPTION_INFORMATION* exception,
                                   _MINIDUMP_USER_STREAM_INFORMATION* userStream,
                                   _MINIDUMP_CALLBACK_INFORMATION* callback) {
    return Forward<decltype(::MiniDumpWriteDump)>(MINI_DUMP_WRITE_DUMP, process, processId, file,
                                                  static_cast<MINIDUMP_TYPE>(dumpType), exception, userStream,
                                                  callback) != 0;
}

_IMAGE_NT_HEADERS* WinDbgHelp::ImageNtHeader(void* base) {
    return Forward<decltype(::ImageNtHeader)>(IMAGE_NT_HEADER, base);
}

bool WinDbgHelp::GetVersionInfo(const char* name, unsigned short (&version)[4]) {
    constexpr DWORD LARGEST = 65536;
    // As data only: no code of the file runs.
    const HMODULE file = LoadLibraryExA(name, nullptr, LOAD_LIBRARY_AS_DATAFILE);
    const HRSRC found = file != nullptr ? FindResourceA(file, MAKEINTRESOURCEA(1), RT_VERSION) : nullptr;
    const DWORD size = found != nullptr ? SizeofResource(file, found) : 0;
    // A version record is a header of three words and the key L"VS_VERSION_INFO", then the fixed information.
    struct VersionRecord {
        WORD header[3];
        wchar_t key[17];
        VS_FIXEDFILEINFO fixed;
    };
    static_assert(offsetof(VersionRecord, fixed) == 40);
    const auto* const record = size >= sizeof(VersionRecord)
                                   ? static_cast<const VersionRecord*>(LockResource(LoadResource(file, found)))
                                   : nullptr;
    constexpr DWORD SIGNATURE = 0xFEEF04BD;
    const bool read = size <= LARGEST && record != nullptr && record->fixed.dwSignature == SIGNATURE;
    if (size > LARGEST) {
        Private::Log(EAL_LOG_WARNING, LOG_FILE, VERSION_TOO_LARGE_LINE,
                     "[Z4::WinDbgHelp] EAL_LOG_WARNING: Reading the version info of %s would require a size of %d "
                     "bytes\n",
                     name, static_cast<int>(size));
    } else if (read) {
        const DWORD high = record->fixed.dwFileVersionMS;
        const DWORD low = record->fixed.dwFileVersionLS;
        version[0] = HIWORD(high);
        version[1] = LOWORD(high);
        version[2] = HIWORD(low);
        version[3] = LOWORD(low);
    } else {
        Private::Log(EAL_LOG_WARNING, LOG_FILE, NO_VERSION_LINE,
                     "[Z4::WinDbgHelp] EAL_LOG_WARNING: Cannot read the version info of %s\n", name);
    }
    if (file != nullptr) {
        FreeLibrary(file);
    }
    return read;
}

} // namespace Z4
