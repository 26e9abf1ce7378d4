/// @file
/// Start-up and shut-down of the class factory; base/lifecycle.h tells how all pairs work.
#pragma once

#include <zelk_core/base/api.h>

namespace Z4 {

/// The first call makes the factory, into which goes what was registered before (see classfactory.h).
Z4_API void InitializeRuntimeTypeService();
/// The last call destroys the factory with all its registrations and sinks.
Z4_API void ShutdownRuntimeTypeService();

} // namespace Z4
