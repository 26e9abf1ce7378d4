/// @file
/// The list of the modules (programs and DLLs) that are loaded in this process.
#pragma once

#include <zelk_core/base/api.h>
#include <zelk_core/base/error.h>
#include <zelk_core/services/dbghelp/windbghelp.h>

namespace Z4 {

/// The list of modules, one object for the process. InitializeDbgHelpService() makes it and lets it observe. Every
/// function may be called by any thread at any time, except SingletonShutdown().
///
/// GetCount(), GetModule(), FindModule() and ToText() are the questions. The first question reads the system's list,
/// for which it waits for whoever is inside the system's loader; so does each further one until WinDbgHelp is ready.
/// From then on the notifications of WinDbgHelp keep the list current, and a question waits for nothing but, at times,
/// for the few instructions in which another thread changes the list. If the system refuses its list, the answer comes
/// from what is known so far, and the next question reads again.
///
/// The list lies in memory of the library's own: nothing is allocated but by Prepare().
class ProgramModuleDB {
public:
    static constexpr unsigned long MAX_MODULES = 512; ///< that the list has room for

    /// A module, as the system told of it.
    struct Module {
        void* baseAddress;
        unsigned long size; ///< in bytes
        /// The file as the system tells it, with its path or without, in the system's ANSI code page. A name that is
        /// too long loses its path or is cut.
        char name[260];
        unsigned long timeStamp; ///< that its linker gave it, often seconds since 1970; 0 when unknown
    };

    /// Makes the object, if there is none. Reads nothing.
    Z4_API static void SingletonInit();
    /// Ends the observation and destroys the object and the list, if there is one. This waits for a notification that
    /// is under way on another thread. No other thread may be in a call of this class or capture a call stack, nor
    /// begin to meanwhile. Call it before WinDbgHelp::SingletonShutdown().
    Z4_API static void SingletonShutdown();
    /// The object, made if there is none.
    Z4_API static ProgramModuleDB& Instance();

    ProgramModuleDB(const ProgramModuleDB&) = delete;
    ProgramModuleDB& operator=(const ProgramModuleDB&) = delete;

    /// Registers UpdateModulesList() with WinDbgHelp and reads the list. InitializeDbgHelpService() calls this. Without
    /// it the list stays as it was at the first question.
    /// @return what WinDbgHelp::RegisterDllNotificationCallback() returns; when that is not ERR_OK, nothing changes.
    [[nodiscard]] Z4_API Error Subscribe();

    /// Makes captures of call stacks fast (see callstack.h): sorts, of each module that came since the last call, the
    /// functions of its unwind table, 8 bytes of the host's memory and some 30 ns for each. Without it, every frame
    /// costs a search of its module's whole table. What was made for modules that are gone is freed. Do not call it
    /// inside the system's loader.
    /// @return ERR_OUT_OF_MEMORY when the host refused memory; the modules concerned stay slow until the next call.
    Z4_API Error Prepare();

    /// How many modules are known.
    Z4_API unsigned long GetCount();
    /// Copies the module of number `index`, from 0. The numbers say nothing about addresses or the order of loading,
    /// and change whenever a module comes or goes: whoever walks the list can miss one or meet one twice.
    /// @return false, with `module` as it was, when `index` is GetCount() or more.
    [[nodiscard]] Z4_API bool GetModule(unsigned long index, Module& module);
    /// Copies the module that `address` lies in: from its base address up to, but not including, that plus its size.
    /// @return false, with `module` as it was, when `address` lies in no module.
    [[nodiscard]] Z4_API bool FindModule(const void* address, Module& module);
    /// How often a module was left out since the start, because MAX_MODULES others were in the list; 0 when the list is
    /// complete.
    Z4_API unsigned long GetLost();
    /// Writes one line for each module, in the order of their addresses: the first address, the one behind the last,
    /// the time stamp, all in hexadecimal digits, and the name.
    /// @param size of `text` in characters. The first `size` - 1 are stored and terminated; nothing is with a size of
    /// 0.
    /// @return the length of the whole text, whether it was stored or not.
    Z4_API unsigned long ToText(char* text, unsigned long size);

    /// The observer that Subscribe() registers, for whoever passes on notifications of his own. `context` is the
    /// ProgramModuleDB. A load replaces what is known at its base address, an unload removes it.
    Z4_API static void Z4_CDECL UpdateModulesList(const WinDbgHelp::DllNotificationData& data, void* context);

private:
    friend class Private::Singleton<ProgramModuleDB>;

    ProgramModuleDB() = default;
    ~ProgramModuleDB();

    void ReadModulesOnce();

    unsigned long m_subscribed = 0; ///< 1 when it is
    unsigned long m_wanted = 1;     ///< the number of the reading that is asked for
    unsigned long m_read = 0;       ///< that of the last one that is complete
};

} // namespace Z4
