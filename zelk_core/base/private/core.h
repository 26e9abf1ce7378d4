// The users of the host's log and memory tables, which all start-up pairs share: the first user starts the tables, the
// end of the last one shuts them down. Any thread; whoever comes back from AddCoreUser() finds the tables started.
#pragma once

namespace Z4::Private {

/// What a Shutdown too many breaks, in each service.
inline constexpr char SHUTDOWN_DUTY[] = "Every Shutdown call of a service follows an Initialize call of its own.";

void AddCoreUser();
void RemoveCoreUser();

} // namespace Z4::Private
