/// @file
/// Start-up and shut-down of the base services: messages, memory, module loading.
///
/// How every pair of the library works: the host installs its six tables (see ealinterface.h), calls the Initialize
/// function of each service that it wants, and at the end the matching Shutdown functions in reverse order. The first
/// start of any service starts the host's log and memory tables, the last shut-down shuts them down.
///
/// Calls nest and must balance. A Shutdown too many is reported where contracts are checked; its count then wraps
/// around, so that the next Initialize starts nothing.
///
/// InitializeOS and ShutdownOS may come from any thread at any time; all others come from one thread at a time. Whoever
/// comes back from an Initialize function finds the host's tables started, whichever thread started them: while one
/// thread is in a first start or a last shut-down, the others wait, giving up the processor. Hence the host's `init`,
/// `shutdown` and `name_id` slots must not call any Initialize or Shutdown function, nor wait for a thread that does:
/// they would wait for ever.
#pragma once

#include <zelk_core/base/api.h>

namespace Z4 {

Z4_API void InitializeBase();
Z4_API void ShutdownBase();

} // namespace Z4
