#include <zelk_core/base/assert.h>
#include <zelk_core/base/private/core.h>
#include <zelk_core/os/lifecycle.h>
#include <zelk_core/services/random/lifecycle.h>
#include <zelk_core/services/random/random.h>

namespace Z4 {

namespace {
constinit unsigned g_randomCount = 0;
} // namespace

void InitializeRandomService() {
    if (++g_randomCount != 1) {
        return;
    }
    Private::AddCoreUser();
    InitializeOS();
    Random::SingletonInit();
}

void ShutdownRandomService() {
    Z4_ASSERT(g_randomCount != 0, Private::SHUTDOWN_DUTY);
    if (--g_randomCount != 0) {
        return;
    }
    Random::SingletonShutdown();
    Private::RemoveCoreUser();
    ShutdownOS();
}

} // namespace Z4
