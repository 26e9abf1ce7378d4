#include <zelk_core/base/private/core.h>
#include <zelk_core/base/private/eal.h>
#include <zelk_core/base/private/startcount.h>

namespace Z4::Private {

namespace {
constinit StartCount g_coreUsers;
} // namespace

void AddCoreUser() {
    g_coreUsers.Take([] {
        // Logging is up first and down last, so that the memory table can use it.
        Z4_SLOT(g_log.init)(EAL_LOG_VERSION);
        Z4_SLOT(g_mem.init)(EAL_MEM_VERSION);
        Z4_SLOT(g_mem.name_id)(EAL_ID_VOID, "EAL_ID_VOID");
        Z4_SLOT(g_mem.name_id)(EAL_ID_ZELK_CORE, "QM Zelk");
    });
}

void RemoveCoreUser() {
    g_coreUsers.Release([] {
        Z4_SLOT(g_mem.shutdown)();
        Z4_SLOT(g_log.shutdown)();
    });
}

} // namespace Z4::Private
