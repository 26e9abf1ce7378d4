#include <zelk_core/base/private/core.h>
#include <zelk_core/base/private/eal.h>
#include <zelk_core/eal_utils/lifecycle.h>

namespace Z4 {

void InitializeEalUtils() {
    Private::AddCoreUser();
    Z4_SLOT(Private::g_file.init)(EAL_FILE_VERSION);
    Z4_SLOT(Private::g_thread.init)(EAL_THREAD_VERSION);
}

void ShutdownEalUtils() {
    Z4_SLOT(Private::g_thread.shutdown)();
    Z4_SLOT(Private::g_file.shutdown)();
    Private::RemoveCoreUser();
}

} // namespace Z4
