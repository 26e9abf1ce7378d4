// The registers of the calling function.
#pragma once

#include <zelk_core/services/dbghelp/private/unwindtable.h>

namespace Z4::Private {

extern "C" {
/// Writes what the caller's registers are when this returns, but for eax, ecx and edx, which are nobody's. The eip is
/// that behind the call.
void ZelkReadRegisters(StackRegisters* registers);
/// The caller's ebp: in a function that keeps a frame pointer, where the caller of that kept its own, with the address
/// behind its call above.
const std::uint32_t* ZelkReadFramePointer();
}

} // namespace Z4::Private
