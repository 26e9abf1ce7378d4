#include <zelk_core/base/lifecycle.h>
#include <zelk_core/base/private/core.h>

void Z4::InitializeBase() {
    Private::AddCoreUser();
}

void Z4::ShutdownBase() {
    Private::RemoveCoreUser();
}
