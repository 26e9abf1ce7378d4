#include "tour.h"

#include <cstring>
#include <zelk_core/zelk_core.h>

namespace {

const char* const VENDORS[] = {"AMD",  "Intel",     "National Semiconductor", "UMC", "Cyrix", "NexGen", "Centaur",
                               "Rise", "Transmeta", "an unknown maker"};

void PrintSize(const char* what, unsigned long long bytes) {
    char text[32];
    Print("   %-24s %s\n", what, Z4::StrFormat::FormatSize(text, sizeof(text), bytes, "B", 1));
}

void PrintCache(const char* what, std::uint32_t bytes) {
    if (bytes == Z4::Platform::UNKNOWN_SIZE) {
        Print("   %-24s unknown\n", what);
    } else {
        PrintSize(what, bytes);
    }
}

} // namespace

void TourPlatform() {
    Chapter("base", "the machine, and the library's own banner through the host's log");
    const Z4::Platform& machine = Z4::Platform::GetRef();
    Print("   %-24s %s, family %u, model %u%s\n", "processor", VENDORS[static_cast<unsigned>(machine.GetVendor())],
          machine.GetFamily(), machine.GetModel(), machine.IsHypervisorPresent() ? ", under a hypervisor" : "");
    Print("   %-24s %u\n", "cores", machine.GetNbCore());
    PrintCache("level 1 data cache", machine.GetL1CacheSize());
    PrintCache("level 2 cache", machine.GetL2CacheSize());
    PrintCache("level 3 cache", machine.GetL3CacheSize());
    PrintSize("cache line", machine.GetCacheLineSize());
    PrintSize("reservation granularity", machine.GetRegionSize());
    Print("   %-24s 0x%08X to 0x%08X\n", "addresses", machine.GetMinAddress(), machine.GetMaxAddress());
    Print("   %-24s", "roots");
    for (const char* root = machine.GetDrivesNames(); *root != '\0'; root += std::strlen(root) + 1) {
        Print(" %s", root);
    }
    Print("\n");
    const Z4::MemoryInfo memory = Z4::Platform::GetMemoryInfo();
    PrintSize("physical memory", memory.totalPhysicalMemory);
    PrintSize("   of it in use", memory.usedPhysicalMemory);
    PrintSize("this process's pages", memory.workingSetSize);
    Z4::LogPlatformInfo();
}
