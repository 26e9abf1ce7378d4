#include <windows.h>
#include <zelk_core/base/private/singleton.h>

void Z4::Private::YieldThread() {
    SwitchToThread();
}
