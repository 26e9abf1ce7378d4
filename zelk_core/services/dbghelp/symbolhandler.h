/// @file
/// From the address of some code to the names that its programmer gave it: module, function, source file and line.
#pragma once

#include <zelk_core/base/api.h>
#include <zelk_core/base/error.h>
#include <zelk_core/base/hostnew.h>
#include <zelk_core/os/spinlock.h>

namespace Z4 {

namespace Private {
template <class T>
class Singleton;
} // namespace Private

/// Where the name of a function comes from.
enum SymbolSource : unsigned long {
    SYMBOL_NONE = 0,        ///< it is not known
    SYMBOL_DEBUG_INFO = 1,  ///< the module's debug information, by WinDbgHelp
    SYMBOL_FILE = 2,        ///< a symbol file, see SymbolHandler::LoadSymbolFile()
    SYMBOL_OBJECT_ONLY = 3, ///< a symbol file, which knows no function there, but the object file; `function` is empty
    SYMBOL_EXPORT = 4,      ///< the module's exports: the function that begins last before the address
};

/// What is known of an address. What is unknown is an empty text or 0. A text that is too long for its field is cut; it
/// ends with a zero in any case.
struct SymbolInfo {
    char module[260];           ///< the module's file, with its path or without
    char function[256];         ///< as the module's symbols have it, so it can be decorated
    unsigned long displacement; ///< bytes from the function's beginning to the address
    char file[260];             ///< the source file; without `line` it can be the object file
    unsigned long line;         ///< its line, from 1
    SymbolSource source;        ///< of the function's name
};

/// A source of symbols for SymbolHandler, which several threads may ask at once. A program can derive its own, and make
/// it by `new` in the host's memory.
class Z4_API SymbolDataBase : public HostNew<SymbolDataBase> {
public:
    virtual ~SymbolDataBase();

    /// Fills `function` and `displacement` of `info`, and `file` and `line`, as far as they are known, and leaves the
    /// rest alone. SymbolHandler calls it on whatever thread asks, on several at the same time.
    /// @return true when the function is known.
    virtual bool FindSymbol(const void* address, SymbolInfo& info) = 0;
    /// Destroys the object. The owner calls this, once, when nobody uses the object any more; SymbolHandler never does.
    virtual void Release() = 0;

protected:
    SymbolDataBase() = default;
};

/// Names code by its address; one object for the process. InitializeDbgHelpService() makes the object and gives it a
/// data base that asks, one after the other, WinDbgHelp for debug information, the symbol files that LoadSymbolFile()
/// has read, and the exports of the module. Modules that come late are read by WinDbgHelp when they are first asked
/// for, if the service was started with symbols, and those that went are forgotten.
///
/// Every function may be called by any thread. Inside the system's loader, where WinDbgHelp must not be called, and
/// while the debug services are being shut down, call ResolveQuick() and DemangleQuick() only. After their shut-down,
/// until the next start, all others know nothing.
class SymbolHandler {
public:
    /// Makes the object, if there is none. It lives until the process ends.
    Z4_API static void SingletonInit();
    /// The object, made if there is none.
    Z4_API static SymbolHandler& Instance();

    SymbolHandler(const SymbolHandler&) = delete;
    SymbolHandler& operator=(const SymbolHandler&) = delete;

    /// Tells what is known of `address`, which may be any address. All of `info` is written in any case. The first call
    /// waits until WinDbgHelp is ready.
    /// @return true when `address` lies in a module; the function may still be unknown.
    Z4_API bool Resolve(const void* address, SymbolInfo& info);

    /// The same from what lies in memory alone, symbol files and exports, for code that may run at any time, after a
    /// crash or with other threads stopped: it takes no lock, allocates nothing and does not ask WinDbgHelp or the data
    /// base. It knows no source file and no line. `module` is the file's name without a path, where there is a symbol
    /// file, else the name that the module has among its exports; it is empty where there are none.
    /// @return true when `address` lies in a module; the function may still be unknown.
    Z4_API bool ResolveQuick(const void* address, SymbolInfo& info);

    /// Reads the functions of a module from a file that symbolmap.h knows, and keeps them until UnloadSymbolFile(), the
    /// end of the module or the shut-down of the debug services. What was read for the module before is replaced; after
    /// an error it stays. The module must stay loaded during the call. The file is read through the host's file table.
    /// @param moduleBase where the module begins in memory.
    /// @param path the file; null to try the map beside the module, by the names `lib.map` and `lib.dll.map` for
    /// `lib.dll`, then the module's own file with its COFF symbols, then the file of debug information that this names.
    /// @return ERR_NOT_FOUND when no module begins at `moduleBase` and when there is no file; ERR_OUT_OF_RESOURCES when
    /// 128 modules have files; ERR_NOT_READY after the shut-down; errors of the file table and of SymbolMap::Read().
    [[nodiscard]] Z4_API ErrorCodeWrapper LoadSymbolFile(const void* moduleBase, const char* path);
    /// Forgets what LoadSymbolFile() has read for the module.
    /// @return ERR_NOT_FOUND when there is nothing.
    Z4_API ErrorCodeWrapper UnloadSymbolFile(const void* moduleBase);

    /// Finds where a function begins, in symbol files and exports, not in debug information.
    /// @param module the file's name, with its path or without, in upper or lower case; null for all modules.
    /// @param function as SymbolMap::Symbol::function or the module's exports have it.
    /// @return false, with `address` as it was, when it is not known.
    [[nodiscard]] Z4_API bool FindFunction(const char* module, const char* function, const void*& address);

    /// Writes the readable form of `name` to `text`, which has room for `size` bytes, and returns true; it ends with a
    /// zero, cut where it does not fit. Returns false for a name that it does not know. It may be called on any thread.
    using Demangler = bool(Z4_CDECL*)(const char* name, char* text, unsigned long size, void* context);
    /// Sets a function for names that begin with `_Z` or `?`; null for none, as at first. The one that was set before
    /// can still be running, or be about to run, on another thread.
    Z4_API void SetDemangler(Demangler demangler, void* context);
    /// Writes the readable form of a function's name to `text`, which has room for `size` bytes; it is cut to fit and
    /// terminated. Names of C++ are made readable by the function of SetDemangler(), else those that begin with `?` by
    /// WinDbgHelp, else as by DemangleQuick(). Of those that the first two make longer than 4095 characters, the rest
    /// is lost.
    /// @return the length of the whole name; `size` or more says that it was cut.
    Z4_API unsigned long Demangle(const char* name, char* text, unsigned long size);
    /// The same without WinDbgHelp, lock and memory, after a crash, too: the qualified name without arguments,
    /// `Engine::Widget::Spin` of `_ZN6Engine6Widget4SpinEi`. Arguments of templates become `<>`. What is not decorated,
    /// or not understood, is copied.
    Z4_API static unsigned long DemangleQuick(const char* name, char* text, unsigned long size);

    /// Sets where symbols come from; null for nowhere, then only modules are told. The handler does not own the data
    /// base: the one that was set before must not be released until all calls of Resolve() that have begun are over.
    Z4_API void SetDataBase(SymbolDataBase* dataBase);
    /// With true, Resolve() knows nothing from now on, because what it rests on is about to go; with false it works
    /// again. The start-up and shut-down of the debug services call this.
    Z4_API void SetShuttingDown(bool shuttingDown);

private:
    friend class Private::Singleton<SymbolHandler>;

    SymbolHandler() = default;
    ~SymbolHandler() = default;

    SymbolDataBase* m_dataBase = nullptr;
    long m_shuttingDown = 0;
    NonRecursiveSpinLock m_demanglerLock;
    Demangler m_demangler = nullptr;
    void* m_demanglerContext = nullptr;
};

} // namespace Z4
