// The count of started services that all start-up pairs share: the first take starts the host's log and memory
// tables, the last release shuts them down. Not synchronised: services start and stop on one thread at a time.
#pragma once

namespace Z4::Private {

void TakeCore();
void ReleaseCore();

} // namespace Z4::Private
