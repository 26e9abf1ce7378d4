// The count of started services that all start-up pairs share: the first take starts the host's log and memory
// tables, the last release shuts them down. Any thread; whoever comes back from a take finds the tables started.
#pragma once

namespace Z4::Private {

/// What a Shutdown too many breaks, in each service.
inline constexpr char SHUTDOWN_DUTY[] = "Every Shutdown call of a service follows an Initialize call of its own.";

void TakeCore();
void ReleaseCore();

} // namespace Z4::Private
