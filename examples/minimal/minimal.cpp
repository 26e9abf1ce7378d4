#include <cstdio>
#include <host/zelkhost.h>
#include <zelk_core/zelk_core.h>

int main() {
    ZelkHost::Install();  // fills and installs the six tables; an engine installs its own
    Z4::InitializeBase(); // the first service starts the host's log and memory
    char line[80];
    Z4::StrFormat::Print(line, sizeof(line), "CRC-32 0x%08X, %u processors", Z4::Hash::CRC("The quick brown fox"),
                         Z4::Platform::GetRef().GetNbProcessors());
    std::puts(line);
    Z4::ShutdownBase(); // the last one shuts the tables down; the host reports what was left behind
}
