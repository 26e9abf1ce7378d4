// Uses the library through the import library, on the reference host.
#include "check.h"

#include <host/zelkhost.h>
#include <zelk_core/zelk_core.h>

int main() {
    ZelkHost::Options options;
    options.memoryMode = ZelkHost::MemoryMode::GUARD_END;
    ZelkHost::Install(options);
    Z4::InitializeRuntimeTypeService();
    Z4::InitializeDbgHelpService();
    CheckSlots();
    CheckThreads();
    CheckNew();
    CheckWideNew();
    CheckRooms();
    Z4::ShutdownDbgHelpService();
    Z4::ShutdownRuntimeTypeService();
    CHECK(ZelkHost::ReportLeaks() == 0);
    std::printf("%d checks failed\n", g_failures);
    return g_failures == 0 ? 0 : 1;
}
