#include <zelk_core/base/private/core.h>
#include <zelk_core/base/private/eal.h>
#include <zelk_core/base/private/startcount.h>
#include <zelk_core/os/lifecycle.h>

namespace Z4 {

namespace {
constinit Private::StartCount g_os;
} // namespace

void InitializeOS() {
    g_os.Take([] {
        Private::AddCoreUser();
        Z4_SLOT(Private::g_net.init)(EAL_NET_VERSION);
    });
}

void ShutdownOS() {
    g_os.Release([] {
        Z4_SLOT(Private::g_net.shutdown)();
        Private::RemoveCoreUser();
    });
}

} // namespace Z4
