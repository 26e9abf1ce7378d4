// Uses every room through the import library, on the reference host, with all services started.
#include "check.h"

#include <host/zelkhost.h>
#include <zelk_core/zelk_core.h>

namespace {

const struct {
    void (*start)();
    void (*stop)();
} SERVICES[] = {
    {Z4::InitializeBase, Z4::ShutdownBase},
    {Z4::InitializeOS, Z4::ShutdownOS},
    {Z4::InitializeEalUtils, Z4::ShutdownEalUtils},
    {Z4::InitializeGenerics, Z4::ShutdownGenerics},
    {Z4::InitializeMath, Z4::ShutdownMath},
    {Z4::InitializeEncryptionService, Z4::ShutdownEncryptionService},
    {Z4::InitializeCompressionService, Z4::ShutdownCompressionService},
    {Z4::InitializeRandomService, Z4::ShutdownRandomService},
    {Z4::InitializeRuntimeTypeService, Z4::ShutdownRuntimeTypeService},
    {Z4::InitializeDbgHelpService, Z4::ShutdownDbgHelpService},
};

} // namespace

int main() {
    ZelkHost::Options options;
    options.memoryMode = ZelkHost::MemoryMode::GUARD_END;
    ZelkHost::Install(options);
    for (const auto& service : SERVICES) {
        service.start();
    }

    CheckSlots();
    CheckBase();
    CheckThreads();
    CheckNew();
    CheckWideNew();
    CheckMath();
    CheckServices();
    CheckNetwork();
    CheckDebugHelp();

    for (auto service = std::end(SERVICES); service != std::begin(SERVICES);) {
        (--service)->stop();
    }
    CHECK(ZelkHost::ReportLeaks() == 0);
    std::printf("%d checks failed\n", g_failures);
    return g_failures == 0 ? 0 : 1;
}
