// The one call to the platform that portable rooms make, for programs that are not built for Windows.
#include <sched.h>
#include <zelk_core/base/private/singleton.h>

void Z4::Private::YieldThread() {
    sched_yield();
}
