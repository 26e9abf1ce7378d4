/// @file
/// The modules that are loaded in this process at any moment.
#pragma once

#include <zelk_core/base/api.h>
#include <zelk_core/generics/ealallocator.h>
#include <zelk_core/generics/vector.h>
#include <zelk_core/os/blockinglock.h>
#include <zelk_core/services/dbghelp/windbghelp.h>

namespace Z4 {

/// Any thread may call anything, but for SingletonShutdown(). The list is read at the first question, which waits for
/// WinDbgHelp to be ready, and kept current by its notifications from then on; who asks while it is read waits for
/// nobody and reads it, too. Where the host refuses memory, or the system the list, the answer comes from what is known
/// and the next question reads the list anew.
///
/// So any question may call WinDbgHelp, and what is said there holds here: ask nothing inside the system's loader. The
/// host's memory table is called there, on each load; it must not wait for the loader.
class ProgramModuleDB {
public:
    struct Module {
        void* baseAddress;
        unsigned long size; ///< in bytes
        /// As the system tells it, with or without a path; longer ones are cut.
        char name[260];
    };

    Z4_API static void SingletonInit();
    /// Ends the observation and forgets the list. A notification that is under way is waited for, so the caller must
    /// hold no lock that the host's memory table takes. No other thread may be in a call or make one meanwhile.
    Z4_API static void SingletonShutdown();
    Z4_API static ProgramModuleDB& Instance();

    ProgramModuleDB(const ProgramModuleDB&) = delete;
    ProgramModuleDB& operator=(const ProgramModuleDB&) = delete;

    /// Begins to observe loads and unloads; InitializeDbgHelpService() does. Results are those of
    /// WinDbgHelp::RegisterDllNotificationCallback(). Without it the list stays as it was read.
    [[nodiscard]] Z4_API Error Subscribe();

    Z4_API unsigned long GetCount();
    /// @return false beyond the last; modules may come and go between two calls.
    [[nodiscard]] Z4_API bool GetModule(unsigned long index, Module& module);
    /// @return false when `address` lies in no module.
    [[nodiscard]] Z4_API bool FindModule(const void* address, Module& module);

    /// The observer: `context` is the object.
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
