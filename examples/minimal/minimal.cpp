#include <cstdio>
#include <host/zelkhost.h>
#include <zelk_core/zelk_core.h>

int main() {
    ZelkHost::Install();  // fills and installs the six tables; an engine installs its own
    Z4::InitializeBase(); // the first service starts the host's log and memory

    const char text[] = "The quick brown fox jumps over the lazy dog";
    char line[80];
    Z4::StrFormat::Print(line, sizeof(line), "CRC-32 of \"%.9s...\" is 0x%08X", text, Z4::Hash::CRC(text));
    std::puts(line);

    const Z4::Platform& machine = Z4::Platform::GetRef();
    Z4::StrFormat::Print(line, sizeof(line), "%u processors, cache lines of %u bytes", machine.GetNbProcessors(),
                         machine.GetCacheLineSize());
    std::puts(line);

    Z4::ShutdownBase(); // the last one shuts the tables down; the host reports what was left behind
}
