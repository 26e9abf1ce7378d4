#include <zelk_core/base/private/core.h>
#include <zelk_core/generics/lifecycle.h>

void Z4::InitializeGenerics() {
    Private::TakeCore();
}

void Z4::ShutdownGenerics() {
    Private::ReleaseCore();
}
