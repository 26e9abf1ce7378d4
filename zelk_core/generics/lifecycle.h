/// @file
/// Starts and shuts down what the containers need of the library; base/lifecycle.h tells how all such pairs work.
#pragma once

#include <zelk_core/base/api.h>

namespace Z4 {

Z4_API void InitializeGenerics();
Z4_API void ShutdownGenerics();

} // namespace Z4
