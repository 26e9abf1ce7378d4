/// @file
/// The host's tables as the explored library sees them. A slot that is called too early, too late or twice fails, and
/// so does a run that leaves a table up or memory behind.
#pragma once

namespace Proof {

void InstallHost();
/// At the end of every scenario's run.
void CheckHost();

bool IsMemoryUp();
bool IsNetworkUp();

} // namespace Proof
