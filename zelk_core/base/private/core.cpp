#include <zelk_core/base/private/core.h>
#include <zelk_core/base/private/eal.h>

namespace Z4::Private {

namespace {
constinit unsigned g_coreCount = 0;
} // namespace

void TakeCore() {
    if (++g_coreCount != 1) {
        return;
    }
    // Logging is up first and down last, so that the memory table can use it.
    g_log.init(EAL_LOG_VERSION);
    g_mem.init(EAL_MEM_VERSION);
    g_mem.name_id(EAL_ID_VOID, "EAL_ID_VOID");
    g_mem.name_id(EAL_ID_ZELK_CORE, "QM Zelk");
}

void ReleaseCore() {
    if (--g_coreCount != 0) {
        return;
    }
    g_mem.shutdown();
    g_log.shutdown();
}

} // namespace Z4::Private
