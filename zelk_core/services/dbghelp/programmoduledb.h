/// @file
/// The modules that are loaded in this process at any moment.
#pragma once

#include <zelk_core/base/api.h>
#include <zelk_core/generics/ealallocator.h>
#include <zelk_core/generics/vector.h>
#include <zelk_core/os/blockinglock.h>
#include <zelk_core/services/dbghelp/windbghelp.h>

namespace Z4 {

/// Any thread may call anything. The list is read at the first question, which waits for WinDbgHelp to be ready, and
/// kept current by its notifications from then on. Where memory runs out, modules are missing in it.
class ProgramModuleDB {
public:
    struct Module {
        void* baseAddress;
        unsigned long size; ///< in bytes
        /// As the system tells it, with or without a path; longer ones are cut.
        char name[260];
    };

    Z4_API static void SingletonInit();
    /// Ends the observation and forgets the list.
    Z4_API static void SingletonShutdown();
    Z4_API static ProgramModuleDB& Instance();

    ProgramModuleDB(const ProgramModuleDB&) = delete;
    ProgramModuleDB& operator=(const ProgramModuleDB&) = delete;

    /// Begins to observe loads and unloads; InitializeDbgHelpService() does.
    Z4_API Error Subscribe();

    Z4_API unsigned long GetCount();
    /// @return false beyond the last; modules may come and go between two calls.
    Z4_API bool GetModule(unsigned long index, Module& module);
    /// @return false when `address` lies in no module.
    Z4_API bool FindModule(const void* address, Module& module);

    /// The observer: `context` is the object.
    Z4_API static void Z4_CDECL UpdateModulesList(const WinDbgHelp::DllNotificationData& data, void* context);

private:
    friend class Private::Singleton<ProgramModuleDB>;

    ProgramModuleDB() = default;
    ~ProgramModuleDB();

    static int Z4_STDCALL AddEnumerated(const char* name, unsigned long long base, unsigned long size, void* context);
    void ReadOnce();
    void Add(const Module& module);
    void Remove(const void* baseAddress);

    BlockingLock m_lock;
    Vector<Module, ZelkAllocator> m_modules;
    unsigned long m_unloads = 0;
    bool m_subscribed = false;
    bool m_read = false;
};

} // namespace Z4
