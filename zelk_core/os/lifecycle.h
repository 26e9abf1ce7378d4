/// @file
/// Start-up and shut-down of the operating-system room, with the host's network; base/lifecycle.h tells how all pairs
/// work.
#pragma once

#include <zelk_core/base/api.h>

namespace Z4 {

/// Starts the room, once for all who call: the first call starts the core (the host's log and memory tables, unless
/// they are up) and then the host's network table, further calls are only counted. Any thread. Whoever calls while
/// another thread starts the room, or shuts it down, waits until that is done. The host's network table must not call
/// this or ShutdownOS().
Z4_API void InitializeOS();
/// Takes back one InitializeOS(). The call that takes back the last one shuts down the host's network table and then
/// gives back its start of the core. Any thread, under the same rules.
Z4_API void ShutdownOS();

} // namespace Z4
