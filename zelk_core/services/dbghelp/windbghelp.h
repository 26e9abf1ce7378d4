/// @file
/// The one way to the system's debug-help library, `dbghelp.dll`. That library may be called by one thread at a time
/// only; whoever calls it through WinDbgHelp need not care. InitializeDbgHelpService() makes the object.
///
/// The library is loaded, and its symbol handler started, on a thread of its own, the loader thread, so that the
/// start-up does not wait for it. A call that needs the library before that is done waits for the end of that thread.
///
/// The loader thread and the library take the lock of the system's loader. Some code runs while that lock is held:
/// `DllMain`, constructors and destructors of a DLL's globals, thread-local call-backs, and the observers of modules
/// below. If such code waited for the loader thread, neither would ever go on. So there, call nothing of this class but
/// SingletonInit(), Instance(), IsReady(), GetSymbolPath(), RegisterDllNotificationCallback() and
/// UnregisterDllNotificationCallback(), none of which waits for that thread.
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

/// The debug-help library, one object for the process. Every function may be called by any thread at any time, except
/// SingletonShutdown(). Where `dbghelp.dll` or one of its functions is missing, a call that needs it returns false,
/// null or 0 and sets the thread's last system error to 127 (procedure not found).
///
/// The library is loaded by its bare name, and the system looks beside the program before it looks in its own folders.
/// So whoever can write to the program's folder can plant another library there. SetSystemLibraryOnly() restricts the
/// search to the system's folder.
class WinDbgHelp {
public:
    /// What an observer learns of a module that was loaded or is about to be unloaded. The names are valid until the
    /// observer returns.
    struct DllNotificationData {
        long long timeStamp; ///< the system's performance counter when the notification came
        void* baseAddress;
        unsigned long size;      ///< in bytes
        const wchar_t* baseName; ///< the file, cut after 259 characters
        const wchar_t* fullName; ///< the file with its path, cut after 1023 characters
        bool unloaded;           ///< true when it is about to be unloaded, false when it was loaded
    };

    /// An observer of modules. It is called on the thread that loads or unloads one, inside the system's loader, which
    /// notifies one thread at a time. It must return soon. It must not load or free modules, call the forwarding
    /// operations below, or wait for another thread. A lock that it takes must never be held by a thread that waits for
    /// the loader, as every load of a module does.
    using DllNotificationCallback = void(Z4_CDECL*)(const DllNotificationData& data, void* context);

    static constexpr unsigned long MAX_OBSERVERS = 32; ///< that can be registered at a time

    /// Makes the object, if there is none, and starts its loader thread. Waits for nothing.
    Z4_API static void SingletonInit();
    /// Waits for the end of the loader thread, ends the notifications, closes the symbol handler, frees the library and
    /// destroys the object, if there is one. When it returns, no observer runs, and those that were not removed are
    /// forgotten.
    ///
    /// No other thread may be in a call of this class or make one meanwhile. The caller must not be inside the system's
    /// loader, where this would never return, nor be an observer, nor hold a lock that an observer takes. Call it
    /// before the process ends: at its end the system kills all other threads where they stand, and the locks that they
    /// held stay locked.
    Z4_API static void SingletonShutdown();
    /// The object, made as by SingletonInit() if there is none.
    Z4_API static WinDbgHelp& Instance();

    /// Whether the symbol handler will read the symbols of all modules when it starts; true by default. The object
    /// reads this when it is made, so set it before; InitializeDbgHelpService() does.
    Z4_API static void SetLoadSymbols(bool load);
    Z4_API static bool GetLoadSymbols();

    /// Whether `dbghelp.dll` is taken from the system's own folder only; false by default. The loader thread reads
    /// this, so set it before the object is made.
    Z4_API static void SetSystemLibraryOnly(bool only);

    /// Reads the version of a file from its version resource. Needs no object and no `dbghelp.dll`, but takes the lock
    /// of the system's loader.
    /// @param name as the system's LoadLibraryEx takes it; not null.
    /// @param version gets the four numbers, the most significant first; is left alone when the result is false.
    /// @return false, with a warning in the log, when there is no such file, when it has no sound version resource, or
    /// when that is larger than 64 KiB.
    [[nodiscard]] Z4_API static bool GetVersionInfo(const char* name, unsigned short (&version)[4]);

    WinDbgHelp(const WinDbgHelp&) = delete;
    WinDbgHelp& operator=(const WinDbgHelp&) = delete;

    /// Where the symbol handler searches when it starts: the current directory and the values of the environment
    /// variables `_NT_SYMBOL_PATH` and `_NT_ALTERNATE_SYMBOL_PATH`, as they were when the object was made. They come in
    /// this order and are joined by semicolons. One that is empty or missing, or that would make the whole longer than
    /// 4095 characters, is left out. SymSetSearchPath() does not change this text. It lives as long as the object.
    const char* GetSymbolPath() const { return m_symbolPath; }

    /// Whether the loader thread is done; from then on no call waits for it. Never waits itself.
    Z4_API bool IsReady() const;
    /// Waits for the loader thread.
    /// @return whether it has started the symbol handler of this process. It has not where there is no `dbghelp.dll`,
    /// for example, or where somebody else had started the handler before.
    Z4_API bool IsLoaded();

    /// Adds an observer, which is called after those that are registered already. During a notification this may be
    /// called, too; that notification then reaches the new observer.
    ///
    /// An observer is told from others by the pair of its function and its context.
    /// @param context handed to `callback`; may be null.
    /// @return ERR_INVALID when `callback` is null, ERR_ALREADY_EXISTS when the pair is registered already,
    /// ERR_OUT_OF_RESOURCES when MAX_OBSERVERS are registered; the observer is then not added.
    [[nodiscard]] Z4_API Error RegisterDllNotificationCallback(DllNotificationCallback callback, void* context);
    /// Removes an observer. If another thread is inside it, this waits until the observer has returned. So when this
    /// returns, no other thread is inside the observer and none will be, and what it uses can be destroyed.
    ///
    /// The caller must hold no lock that the observer takes. It may be inside the system's loader, as the observer is
    /// there already and does not wait for it.
    ///
    /// An observer may remove itself or others. Its own call then goes on after this has returned, so what it uses must
    /// last until it returns.
    /// @return ERR_NOT_FOUND when the pair is not registered.
    Z4_API Error UnregisterDllNotificationCallback(DllNotificationCallback callback, void* context);

    /// @name Forwarding operations
    /// Each calls the system's function of the same name, with the arguments as they are, and returns its result; the
    /// system's documentation tells their meaning. One thread at a time is in any of them, the others wait. A callback
    /// that the system calls back during one may call them again. It must not wait for another thread that calls one,
    /// because that thread waits for the callback's end.
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
    /// The address of the system's SymFunctionTableAccess64(), to hand to StackWalk64(), which calls it while this
    /// thread holds the lock; null when there is none. Waits for the loader thread.
    Z4_API void* GetAddressOfSymFunctionTableAccess64();
    /// When the list of modules changes while the system reads it, this tries again, four times in all. So `callback`
    /// can be told of the same module several times.
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
    /// The one function that is looked up at its first call, not by the loader thread.
    Z4_API unsigned long UnDecorateSymbolName(const char* name, char* text, unsigned long size, unsigned long flags);
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
    void* m_unDecorate = nullptr; ///< under the lock
};

} // namespace Z4
