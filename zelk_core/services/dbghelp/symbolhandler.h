/// @file
/// From the address of some code to the names that its programmer gave it: module, function, source file and line.
#pragma once

#include <zelk_core/base/api.h>
#include <zelk_core/base/hostnew.h>

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
    char file[260];             ///< the source file
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

/// Names code by its address, from the modules of ProgramModuleDB and from a SymbolDataBase; one object for the
/// process. InitializeDbgHelpService() makes the object and gives it a data base that asks WinDbgHelp.
///
/// Every function may be called by any thread. Do not call Resolve() inside the system's loader, where WinDbgHelp must
/// not be called, nor while the debug services are being shut down. After their shut-down, until the next start, every
/// address is unknown.
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

    /// The same from what lies in memory alone, for code that may run at any time, after a crash or with other threads
    /// stopped: it takes no lock, allocates nothing and does not ask WinDbgHelp. It knows no file and no line. `module`
    /// is the name that the module has among its exports, without a path, and is empty where there are none.
    /// @return true when `address` lies in a module; the function may still be unknown.
    Z4_API bool ResolveQuick(const void* address, SymbolInfo& info);

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
};

} // namespace Z4
