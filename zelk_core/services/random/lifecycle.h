/// @file
/// Start-up and shut-down of the random numbers; base/lifecycle.h tells how all pairs work.
#pragma once

#include <zelk_core/base/api.h>

namespace Z4 {

/// The first of nested calls takes one start of the core, starts the operating-system room (os/lifecycle.h) and makes
/// the Random object; the last ShutdownRandomService() undoes all three in the order object, core, operating-system
/// room. When the host refuses the object's memory the service is up all the same: see Random.
Z4_API void InitializeRandomService();
/// Takes back one InitializeRandomService().
Z4_API void ShutdownRandomService();

} // namespace Z4
