/// @file
/// Start-up and shut-down of the base services: messages, memory, module loading.
///
/// How every pair of the library works: the host installs its six tables (see ealinterface.h), calls the Initialize
/// function of each service that it wants, and at the end the matching Shutdown functions in reverse order. The first
/// start of any service starts the host's log and memory tables, the last shut-down shuts them down. Calls nest and
/// must balance; there is no guard against a Shutdown too many. Except for InitializeOS and ShutdownOS, they come from
/// one thread at a time.
#pragma once

#include <zelk_core/base/api.h>

namespace Z4 {

Z4_API void InitializeBase();
Z4_API void ShutdownBase();

} // namespace Z4
