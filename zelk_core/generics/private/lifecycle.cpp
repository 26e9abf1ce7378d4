#include <zelk_core/base/private/core.h>
#include <zelk_core/generics/lifecycle.h>

void Z4::InitializeGenerics() {
    Private::AddCoreUser();
}

void Z4::ShutdownGenerics() {
    Private::RemoveCoreUser();
}
