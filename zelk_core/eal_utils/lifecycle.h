/// @file
/// Start-up and shut-down of the helpers over the host's files and threads; base/lifecycle.h tells how all pairs work.
#pragma once

#include <zelk_core/base/api.h>

namespace Z4 {

/// Starts the core, then the host's file and thread tables. There is no count: each call starts both tables again and
/// each ShutdownEalUtils() shuts them down again, thread table first, so these tables count for themselves.
Z4_API void InitializeEalUtils();
Z4_API void ShutdownEalUtils();

} // namespace Z4
