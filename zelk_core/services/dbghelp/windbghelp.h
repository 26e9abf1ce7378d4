/// @file
/// The one way to the system's debug-help library, `dbghelp.dll`, which no two threads may call at once.
///
/// The library is loaded and its symbol handler started on a thread of its own, so that start-up does not wait for it;
/// the first call that comes earlier waits for the end of that thread. InitializeDbgHelpService() makes the object.
///
/// That thread, and the library itself, need the lock of the system's loader. Code that the loader calls (`DllMain`,
/// constructors and destructors of a DLL's globals, thread-local call-backs, observers of modules) must therefore wait
/// for neither: there, call nothing of this class but SingletonInit() and Instance(), which only start the thread,
/// IsReady(), GetSymbolPath() and the two functions that add and remove observers.
#pragma once

#include <zelk_core/base/api.h>
#include <zelk_core/base/dllwrapper.h>
#include <zelk_core/base/error.h>
#include <zelk_core/base/layout.h>
#include <zelk_core/os/blockinglock.h>
#include <zelk_core/services/dbghelp/observertable.h>

// The system's records, which only its own headers define.
struct _IMAGEHLP_LINE64;
struct _IMAGEHLP_MODULE64;
struct _IMAGEHLP_SYMBOL64;
struct _IMAGE_NT_HEADERS;
struct _MINIDUMP_CALLBACK_INFORMATION;
struct _MINIDUMP_EXCEPTION_INFORMATION;
struct _MINIDUMP_USER_STREAM_INFORMATION;
struct _tagADDRESS64;
struct _tagSTACKFRAME64;

namespace Z4 {

namespace Private {
template <class Function>
struct EntryPoint;
template <class T>
class Singleton;
} // namespace Private

/// Any thread may call anything, but for SingletonShutdown(). Without `dbghelp.dll`, or without one of its functions,
/// the calls that would need it return false, null or 0, and the thread's last system error is 127 (procedure not
/// found).
///
/// The library is asked for by its bare name, and the system looks beside the program before it looks in its own
/// folders: whoever can write there can plant another one. SetSystemLibraryOnly() looks in the system's folder alone.
class WinDbgHelp {
public:
    /// What an observer learns of a module that was loaded or is about to be unloaded. The names end with a zero and
    /// live until the observer returns; longer ones than 259 and 1023 characters are cut.
    struct DllNotificationData {
        long long timeStamp; ///< the performance counter when the notification came
        void* baseAddress;
        unsigned long size; ///< in bytes
        const wchar_t* baseName;
        const wchar_t* fullName;
        bool unloaded; ///< false when it was loaded
    };

    /// Called on the thread that loads or unloads, inside the system's loader, which notifies one thread at a time. It
    /// must return soon, and must neither load or free modules, nor call the forwarding operations below, nor wait for
    /// another thread. A lock that it takes must not be held by anyone who then waits for the loader.
    using DllNotificationCallback = void(Z4_CDECL*)(const DllNotificationData& data, void* context);

    static constexpr unsigned long MAX_OBSERVERS = 32;

    Z4_API static void SingletonInit();
    /// Waits for the end of the loader thread, ends the notifications, closes the symbol handler and frees the library.
    /// When it returns, no observer runs, and those that were not removed are forgotten.
    ///
    /// No other thread may be in a call or make one meanwhile. The caller must not be inside the loader, or the thread
    /// would never end; it must not be an observer or on the loader thread; and it must hold no lock that an observer
    /// takes. Once the process is ending it is too late to call this: the system has killed the other threads where
    /// they stood, with their locks.
    Z4_API static void SingletonShutdown();
    Z4_API static WinDbgHelp& Instance();

    /// Whether the symbol handler reads the symbols of all modules when it starts; true at first. Set it before the
    /// object is made: InitializeDbgHelpService() does.
    Z4_API static void SetLoadSymbols(bool load);
    Z4_API static bool GetLoadSymbols();

    /// Whether only the system's own folder is searched for `dbghelp.dll`; false at first. Set it before the object is
    /// made.
    Z4_API static void SetSystemLibraryOnly(bool only);

    /// The version of the file `name`, as its version resource has it, most significant number first.
    /// @return false, with a warning in the log, when there is none, or when it is beyond 64 KiB.
    [[nodiscard]] Z4_API static bool GetVersionInfo(const char* name, unsigned short (&version)[4]);

    WinDbgHelp(const WinDbgHelp&) = delete;
    WinDbgHelp& operator=(const WinDbgHelp&) = delete;

    /// Where symbols are searched: the current directory at construction, then `_NT_SYMBOL_PATH`, then
    /// `_NT_ALTERNATE_SYMBOL_PATH`, those that exist, joined by semicolons. A part that does not fit into 4095
    /// characters is left out.
    const char* GetSymbolPath() const { return m_symbolPath; }

    /// True once the loader thread is done; from then on no call waits for it. Never waits.
    Z4_API bool IsReady() const;
    /// True when the symbol handler is up. Waits for the loader thread.
    Z4_API bool IsLoaded();

    /// Adds an observer behind those registered. ERR_INVALID without a callback, ERR_ALREADY_EXISTS for the same pair
    /// once more, ERR_OUT_OF_RESOURCES beyond MAX_OBSERVERS. One added during a notification is called in it.
    [[nodiscard]] Z4_API Error RegisterDllNotificationCallback(DllNotificationCallback callback, void* context);
    /// Removes an observer. When this returns, no other thread is inside it and none will be, so that what it uses can
    /// be destroyed. ERR_NOT_FOUND when the pair is not registered.
    ///
    /// If another thread is inside the observer, this waits for its return. So the caller must hold no lock that the
    /// observer takes. Holding the loader's lock is no danger: the observer is in the loader already, and does not wait
    /// for it.
    ///
    /// An observer may remove itself or others while it is called. Its own call is not waited for: what it uses must
    /// last until it returns.
    Z4_API Error UnregisterDllNotificationCallback(DllNotificationCallback callback, void* context);

    /// @name Forwarding operations
    /// The system's functions of the same names, with their arguments and results, one at a time. A callback of theirs
    /// may call them again; it must not wait for another thread that calls one, as that waits for the callback's end.
    /// @{
    using EnumerateModulesCallback = int(Z4_STDCALL*)(const char* name, unsigned long long base, unsigned long size,
                                                      void* context);
    using FindFileCallback = int(Z4_STDCALL*)(const char* name, void* context);
    using ReadMemoryCallback = int(Z4_STDCALL*)(void* process, unsigned long long address, void* buffer,
                                                unsigned long size, unsigned long* read);
    using FunctionTableAccessCallback = void*(Z4_STDCALL*)(void* process, unsigned long long address);
    using GetModuleBaseCallback = unsigned long long(Z4_STDCALL*)(void* process, unsigned long long address);
    using TranslateAddressCallback = unsigned long long(Z4_STDCALL*)(void* process, void* thread,
                                                                     _tagADDRESS64* address);

    [[nodiscard]] Z4_API bool SymInitialize(void* process, const char* searchPath, bool invade);
    Z4_API bool SymCleanup(void* process);
    Z4_API bool SymRefreshModuleList(void* process);
    Z4_API unsigned long SymGetOptions();
    Z4_API unsigned long SymSetOptions(unsigned long options);
    [[nodiscard]] Z4_API bool SymGetModuleInfo64(void* process, unsigned long long address, _IMAGEHLP_MODULE64* module);
    [[nodiscard]] Z4_API bool StackWalk64(unsigned long machineType, void* process, void* thread,
                                          _tagSTACKFRAME64* frame, void* context, ReadMemoryCallback readMemory,
                                          FunctionTableAccessCallback functionTableAccess,
                                          GetModuleBaseCallback getModuleBase,
                                          TranslateAddressCallback translateAddress);
    Z4_API void* SymFunctionTableAccess64(void* process, unsigned long long address);
    /// The function itself, for walking stacks, where it is called without the lock of this class from inside
    /// StackWalk64(); null when there is none.
    Z4_API void* GetAddressOfSymFunctionTableAccess64();
    /// Begins anew, up to four times in all, when the list of modules changed while it was read; the callback then
    /// sees modules again.
    [[nodiscard]] Z4_API bool EnumerateLoadedModules64(void* process, EnumerateModulesCallback callback, void* context);
    Z4_API bool SymSetSearchPath(void* process, const char* path);
    [[nodiscard]] Z4_API bool SymGetSymFromAddr64(void* process, unsigned long long address,
                                                  unsigned long long* displacement, _IMAGEHLP_SYMBOL64* symbol);
    [[nodiscard]] Z4_API bool SymGetLineFromAddr64(void* process, unsigned long long address,
                                                   unsigned long* displacement, _IMAGEHLP_LINE64* line);
    [[nodiscard]] Z4_API unsigned long long SymLoadModule64(void* process, void* file, const char* imageName,
                                                            const char* moduleName, unsigned long long base,
                                                            unsigned long size);
    Z4_API bool SymUnloadModule64(void* process, unsigned long long base);
    [[nodiscard]] Z4_API bool SymFindFileInPath(void* process, const char* path, const char* name, void* id,
                                                unsigned long two, unsigned long three, unsigned long flags,
                                                char* found, FindFileCallback callback, void* context);
    /// `dumpType` is the system's `MINIDUMP_TYPE`.
    [[nodiscard]] Z4_API bool MiniDumpWriteDump(void* process, unsigned long processId, void* file, int dumpType,
                                                _MINIDUMP_EXCEPTION_INFORMATION* exception,
                                                _MINIDUMP_USER_STREAM_INFORMATION* userStream,
                                                _MINIDUMP_CALLBACK_INFORMATION* callback);
    Z4_API _IMAGE_NT_HEADERS* ImageNtHeader(void* base);
    /// @}

private:
    friend class Private::Singleton<WinDbgHelp>;
    friend struct Private::Layout<WinDbgHelp>;

    static constexpr int ENTRY_POINTS = 17;

    WinDbgHelp();
    ~WinDbgHelp();

    static unsigned Z4_STDCALL EnterLoader(void* object);
    static void Z4_STDCALL OnNotification(unsigned long reason, const void* data, void* object);

    void Load();
    void ResolveEntryPoints();
    bool StartSymbolHandler();
    bool IsLoaderThread() const;
    void WaitUntilReady();
    void PrepareCall();
    template <class Function, class... Arguments>
    auto Call(const Private::EntryPoint<Function>& entry, Arguments... arguments);
    template <class Function, class... Arguments>
    auto Forward(const Private::EntryPoint<Function>& entry, Arguments... arguments);

    BlockingLock m_lock;
    DllWrapper m_library;
    void* m_entryPoints[ENTRY_POINTS] = {};
    char m_symbolPath[4096];
    bool m_invadeProcess;
    long m_loaded = 0;
    long m_ready = 0;
    void* m_thread = nullptr;
    unsigned long m_loaderThreadId = 0;
    void* m_cookie = nullptr;

    Private::ObserverTable<DllNotificationCallback, MAX_OBSERVERS> m_observers;
};

} // namespace Z4
