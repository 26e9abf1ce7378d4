/// @file
/// Start-up and shut-down of the debug services: the debug-help library, modules, symbols and stack sizes.
/// base/lifecycle.h tells how all pairs work.
///
/// The start-up waits for nothing but, as it reads the list of modules, for whoever is inside the system's loader. So
/// it may be called even there, for example in `DllMain`, provided that the host's tables may be called there.
///
/// The last shut-down waits for the end of a thread that needs the loader. So it must not be called inside the loader:
/// it would never return. Call it before the process ends, when no other thread uses a debug service any more, and
/// without holding a lock that an observer of modules takes.
#pragma once

#include <zelk_core/base/api.h>

namespace Z4 {

/// The first call starts the OS and EAL services, too, and makes WinDbgHelp, ProgramModuleDB, SymbolHandler and
/// StackSizeMonitorDb. Nested calls only count; their argument is ignored.
/// @param loadSymbols true to have the debug information of all modules read in the background. With false,
/// SymbolHandler still names functions from symbol files and exports, but from debug information only in modules that
/// are loaded by WinDbgHelp::SymLoadModule64().
Z4_API void InitializeDbgHelpService(bool loadSymbols);
/// InitializeDbgHelpService(true).
Z4_API void InitializeDbgHelpService();
/// The last call takes down what the first InitializeDbgHelpService() started; see above for where it may be called.
Z4_API void ShutdownDbgHelpService();

} // namespace Z4
