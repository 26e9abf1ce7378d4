/// @file
/// Start-up and shut-down of the operating-system room, with the host's network; base/lifecycle.h tells how all pairs
/// work.
#pragma once

#include <zelk_core/base/api.h>

namespace Z4 {

/// The first of nested calls takes one start of the core and then starts the host's network table; the last
/// ShutdownOS() undoes both in reverse order. Any thread; a caller that is not the first waits until the first start is
/// complete, and until a shut-down under way is over. The host's network table must not call back into these two.
Z4_API void InitializeOS();
Z4_API void ShutdownOS();

} // namespace Z4
