/// @file
/// Start-up and shut-down of the base services: messages, memory, module loading.
///
/// Every service of the library has such a pair of functions, and all pairs work alike. The host installs its six
/// tables (ealinterface.h), calls the Initialize function of each service that it wants, and at the end calls the
/// Shutdown functions in reverse order. Whichever service is started first starts the host's log and memory tables; the
/// shut-down of the last service shuts them down. Where these headers speak of the core, they mean these two tables
/// with the count of their starts. A service takes one start of the core or several and gives back as many; how many
/// they are makes no difference to its callers.
///
/// A service may be started several times: it stays up until it has been shut down as often. Never shut a service down
/// more often: a library built with ZELK_CHECKS reports it; in any library the service's count is then wrong, and its
/// next start does nothing.
///
/// InitializeOS() and ShutdownOS() may be called by any thread at any time. All other pairs are called by one thread at
/// a time. When an Initialize function returns, the host's tables are started, even if another thread is the one that
/// started them: a thread that comes while another starts or shuts down the tables waits for it. Therefore the host's
/// `init`, `shutdown` and `name_id` must neither call an Initialize or Shutdown function nor wait for a thread that
/// does: they would wait for ever.
#pragma once

#include <zelk_core/base/api.h>

namespace Z4 {

/// Starts the base services. Classes and functions of `base/` that log or take memory need it, or any other service.
Z4_API void InitializeBase();
/// Ends what one InitializeBase() started.
Z4_API void ShutdownBase();

} // namespace Z4
