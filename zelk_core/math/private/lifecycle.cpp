#include <zelk_core/base/private/core.h>
#include <zelk_core/math/lifecycle.h>

void Z4::InitializeMath() {
    Private::AddCoreUser();
}

void Z4::ShutdownMath() {
    Private::RemoveCoreUser();
}
