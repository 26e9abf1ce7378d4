/// @file
/// Start-up and shut-down of the debug services; base/lifecycle.h tells how all pairs work.
#pragma once

#include <zelk_core/base/api.h>

namespace Z4 {

/// @param loadSymbols whether the symbols of all modules are read, on the loader thread of WinDbgHelp.
Z4_API void InitializeDbgHelpService(bool loadSymbols);
/// With symbols.
Z4_API void InitializeDbgHelpService();
Z4_API void ShutdownDbgHelpService();

} // namespace Z4
