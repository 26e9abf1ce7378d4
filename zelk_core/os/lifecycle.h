/// @file
/// Start-up and shut-down of the operating-system room, with the host's network; base/lifecycle.h tells how all pairs
/// work.
#pragma once

#include <zelk_core/base/api.h>

namespace Z4 {

/// The first of nested calls takes one start of the core and then starts the host's network table; the last
/// ShutdownOS() undoes both in reverse order. The count is atomic; a caller that is not the first does not wait for the
/// first one's work to end.
Z4_API void InitializeOS();
Z4_API void ShutdownOS();

} // namespace Z4
