/// @file
/// Start-up and shut-down of what the containers need of the library: the host's log and memory tables.
/// base/lifecycle.h tells how all such pairs work. Any other service will do as well.
#pragma once

#include <zelk_core/base/api.h>

namespace Z4 {

/// Takes one start of the core.
Z4_API void InitializeGenerics();
/// Gives it back. Containers that hold memory must be gone or cleared before the last service is shut down.
Z4_API void ShutdownGenerics();

} // namespace Z4
