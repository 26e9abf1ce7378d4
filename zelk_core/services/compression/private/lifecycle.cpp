#include <zelk_core/base/private/core.h>
#include <zelk_core/services/compression/lifecycle.h>

void Z4::InitializeCompressionService() {
    // Two underlying services come up.
    Private::AddCoreUser();
    Private::AddCoreUser();
}

void Z4::ShutdownCompressionService() {
    Private::RemoveCoreUser();
    Private::RemoveCoreUser();
}
