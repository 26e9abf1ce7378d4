/// @file
/// Start-up and shut-down of the containers; base/lifecycle.h tells how all pairs work.
#pragma once

#include <zelk_core/base/api.h>

namespace Z4 {

Z4_API void InitializeGenerics();
Z4_API void ShutdownGenerics();

} // namespace Z4
