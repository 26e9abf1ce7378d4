#include <atomic>
#include <zelk_core/base/private/core.h>
#include <zelk_core/base/private/eal.h>
#include <zelk_core/os/lifecycle.h>

namespace Z4 {

namespace {
constinit std::atomic<unsigned> g_osCount{0};
} // namespace

void InitializeOS() {
    if (g_osCount.fetch_add(1) != 0) {
        return;
    }
    Private::TakeCore();
    Private::g_net.init(EAL_NET_VERSION);
}

void ShutdownOS() {
    if (g_osCount.fetch_sub(1) != 1) {
        return;
    }
    Private::g_net.shutdown();
    Private::ReleaseCore();
}

} // namespace Z4
