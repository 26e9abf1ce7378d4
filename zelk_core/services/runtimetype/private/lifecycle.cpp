#include <zelk_core/base/assert.h>
#include <zelk_core/base/private/core.h>
#include <zelk_core/services/runtimetype/classfactory.h>
#include <zelk_core/services/runtimetype/lifecycle.h>

namespace Z4 {

namespace {

constinit unsigned g_serviceCount = 0;

// Three underlying services come up.
constexpr unsigned CORE_COUNTS = 3;

} // namespace

void InitializeRuntimeTypeService() {
    if (++g_serviceCount != 1) {
        return;
    }
    for (unsigned i = 0; i < CORE_COUNTS; ++i) {
        Private::AddCoreUser();
    }
    ClassFactory::SingletonInit();
}

void ShutdownRuntimeTypeService() {
    Z4_ASSERT(g_serviceCount != 0, Private::SHUTDOWN_DUTY);
    if (--g_serviceCount != 0) {
        return;
    }
    ClassFactory::SingletonShutdown();
    for (unsigned i = 0; i < CORE_COUNTS; ++i) {
        Private::RemoveCoreUser();
    }
}

} // namespace Z4
