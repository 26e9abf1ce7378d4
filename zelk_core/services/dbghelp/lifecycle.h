/// @file
/// Start-up and shut-down of the debug services; base/lifecycle.h tells how all pairs work.
///
/// The start-up waits for nothing: it may be called inside the system's loader, in `DllMain` for one, as far as the
/// host's tables may. The last shut-down waits for the end of a thread and so must not be: there it would never return.
/// It must also come before the process ends, while no other thread uses a debug service and the caller holds no lock
/// that an observer of modules takes.
#pragma once

#include <zelk_core/base/api.h>

namespace Z4 {

/// @param loadSymbols whether the symbols of all modules are read, on the loader thread of WinDbgHelp.
Z4_API void InitializeDbgHelpService(bool loadSymbols);
/// With symbols.
Z4_API void InitializeDbgHelpService();
Z4_API void ShutdownDbgHelpService();

} // namespace Z4
