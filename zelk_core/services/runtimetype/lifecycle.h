/// @file
/// Start-up and shut-down of the class factory; base/lifecycle.h tells how all pairs work.
#pragma once

#include <zelk_core/base/api.h>

namespace Z4 {

/// The first of nested calls takes three starts of the core and makes the class factory, which takes in what was
/// registered before (see classfactory.h).
Z4_API void InitializeRuntimeTypeService();
/// The last of nested calls destroys the factory with all its registrations and sinks and gives back the starts.
Z4_API void ShutdownRuntimeTypeService();

} // namespace Z4
