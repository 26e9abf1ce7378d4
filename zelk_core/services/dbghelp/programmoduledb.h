/// @file
/// The list of the modules (programs and DLLs) that are loaded in this process.
#pragma once

#include <zelk_core/base/api.h>
#include <zelk_core/generics/ealallocator.h>
#include <zelk_core/generics/vector.h>
#include <zelk_core/os/blockinglock.h>
#include <zelk_core/services/dbghelp/windbghelp.h>

namespace Z4 {

/// The list of modules, one object for the process. InitializeDbgHelpService() makes it and lets it observe. Every
/// function may be called by any thread at any time, except SingletonShutdown().
///
/// GetCount(), GetModule() and FindModule() are the questions. The first question waits until WinDbgHelp is ready and
/// reads the system's list; from then on the notifications of WinDbgHelp keep the list current. Threads that ask while
/// another reads do not wait for it: each reads for itself. If the host refuses memory or the system refuses the list,
/// the answer comes from what is known so far, and the next question reads again.
///
/// As a question can call WinDbgHelp, ask none inside the system's loader (see windbghelp.h). The notifications come
/// inside the loader and take memory from the host; so the host's memory table must never wait for the loader.
class ProgramModuleDB {
public:
    /// A module, as the system told of it.
    struct Module {
        void* baseAddress;
        unsigned long size; ///< in bytes
        /// The file as the system tells it, with its path or without, in the system's ANSI code page. A name that is
        /// too long loses its path or is cut.
        char name[260];
    };

    /// Makes the object, if there is none. Reads nothing.
    Z4_API static void SingletonInit();
    /// Ends the observation and destroys the object, if there is one. This waits for a notification that is under way
    /// on another thread, so the caller must hold no lock that the host's memory table takes. No other thread may be in
    /// a call of this class or make one meanwhile. Call it before WinDbgHelp::SingletonShutdown().
    Z4_API static void SingletonShutdown();
    /// The object, made if there is none.
    Z4_API static ProgramModuleDB& Instance();

    ProgramModuleDB(const ProgramModuleDB&) = delete;
    ProgramModuleDB& operator=(const ProgramModuleDB&) = delete;

    /// Registers UpdateModulesList() with WinDbgHelp, and lets the next question read the list anew.
    /// InitializeDbgHelpService() calls this. Without it the list stays as it was at the first question.
    /// @return what WinDbgHelp::RegisterDllNotificationCallback() returns; when that is not ERR_OK, nothing changes.
    [[nodiscard]] Z4_API Error Subscribe();

    /// How many modules are known.
    Z4_API unsigned long GetCount();
    /// Copies the module of number `index`, from 0. The numbers say nothing about addresses or the order of loading,
    /// and change whenever a module comes or goes: whoever walks the list can miss one or meet one twice.
    /// @return false, with `module` as it was, when `index` is GetCount() or more.
    [[nodiscard]] Z4_API bool GetModule(unsigned long index, Module& module);
    /// Copies the module that `address` lies in: from its base address up to, but not including, that plus its size.
    /// @return false, with `module` as it was, when `address` lies in no module.
    [[nodiscard]] Z4_API bool FindModule(const void* address, Module& module);

    /// The observer that Subscribe() registers, for whoever passes on notifications of his own. `context` is the
    /// ProgramModuleDB. A load replaces what is known at its base address, an unload removes it.
    Z4_API static void Z4_CDECL UpdateModulesList(const WinDbgHelp::DllNotificationData& data, void* context);

private:
    friend class Private::Singleton<ProgramModuleDB>;

    ProgramModuleDB() = default;
    ~ProgramModuleDB();

    void ReadModulesOnce();
    void Add(const Module& module);
    void NoteLoss();

    BlockingLock m_lock;
    Vector<Module, ZelkAllocator> m_modules;
    Vector<void*, ZelkAllocator> m_unloaded; ///< bases of modules that went while somebody reads the list
    unsigned long m_readers = 0;
    unsigned long m_losses = 0; ///< of notifications; a list that was being read meanwhile is not complete
    bool m_subscribed = false;
    bool m_read = false;
};

} // namespace Z4
