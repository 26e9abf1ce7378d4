// Begin and end of the hardware breakpoints, for the life of the service.
#pragma once

namespace Z4::Private {

void StartHardwareBreakpoints();
/// Clears all and takes the handler of hits away.
void StopHardwareBreakpoints();

} // namespace Z4::Private
