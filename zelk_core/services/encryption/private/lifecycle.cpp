#include <zelk_core/base/private/core.h>
#include <zelk_core/services/encryption/lifecycle.h>

void Z4::InitializeEncryptionService() {
    // Two underlying services come up.
    Private::AddCoreUser();
    Private::AddCoreUser();
}

void Z4::ShutdownEncryptionService() {
    Private::RemoveCoreUser();
    Private::RemoveCoreUser();
}
