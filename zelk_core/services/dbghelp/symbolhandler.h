/// @file
/// From an address of code to the names that a programmer gave it.
#pragma once

#include <zelk_core/base/api.h>
#include <zelk_core/base/hostnew.h>

namespace Z4 {

namespace Private {
template <class T>
class Singleton;
} // namespace Private

/// What is known of an address. Texts are empty, numbers 0, where nothing is; longer texts are cut.
struct SymbolInfo {
    char module[260];           ///< its file, with or without a path
    char function[256];         ///< undecorated only if the symbol's source has it so
    unsigned long displacement; ///< bytes from the function's beginning
    char file[260];             ///< source file
    unsigned long line;         ///< in it
};

/// Where symbols come from.
class Z4_API SymbolDataBase : public HostNew<SymbolDataBase> {
public:
    virtual ~SymbolDataBase();

    /// Fills function and displacement, and file and line, as far as they are known.
    /// @return true when the function is.
    virtual bool FindSymbol(const void* address, SymbolInfo& info) = 0;
    /// Gives the object up; it destroys itself.
    virtual void Release() = 0;

protected:
    SymbolDataBase() = default;
};

/// Answers from the modules of ProgramModuleDB and the symbols that WinDbgHelp finds. Any thread; the first question
/// waits until WinDbgHelp is ready. Ask nothing inside the system's loader, where WinDbgHelp must not be called, and
/// nothing while the service is being shut down. Between its shut-down and its next start everything is unknown.
class SymbolHandler {
public:
    Z4_API static void SingletonInit();
    Z4_API static SymbolHandler& Instance();

    SymbolHandler(const SymbolHandler&) = delete;
    SymbolHandler& operator=(const SymbolHandler&) = delete;

    /// @return true when at least the module is known; `info` is filled in any case.
    Z4_API bool Resolve(const void* address, SymbolInfo& info);

    /// The symbols to use, null for none. The handler does not own them: what was set before must last until the calls
    /// of Resolve() that have begun are over.
    Z4_API void SetDataBase(SymbolDataBase* dataBase);
    /// From now on, or no longer, nothing is resolved: what it rests on is going.
    Z4_API void SetShuttingDown(bool shuttingDown);

private:
    friend class Private::Singleton<SymbolHandler>;

    SymbolHandler() = default;
    ~SymbolHandler() = default;

    SymbolDataBase* m_dataBase = nullptr;
    long m_shuttingDown = 0;
};

} // namespace Z4
