#include <windows.h>

#include <zelk_core/os/autolock.h>
#include <zelk_core/os/concurrentaccessguard.h>
#include <zelk_core/os/spinlock.h>

namespace Z4::Private {

namespace {

struct Access {
    const void* guard;
    const void* access;
    unsigned long threadId;
};

constexpr unsigned MAX_ACCESSES = 256;

constinit NonRecursiveSpinLock g_lock;
constinit Access g_accesses[MAX_ACCESSES] = {};
constinit unsigned g_accessCount = 0;

} // namespace

bool BeginAccess(const void* guard, const void* access) {
    const unsigned long self = GetCurrentThreadId();
    const AutoLock hold(g_lock);
    bool isAlone = true;
    for (unsigned i = 0; i < g_accessCount; ++i) {
        isAlone = isAlone && (g_accesses[i].guard != guard || g_accesses[i].threadId == self);
    }
    if (g_accessCount != MAX_ACCESSES) {
        g_accesses[g_accessCount++] = {guard, access, self};
    }
    return isAlone;
}

void EndAccess(const void* access) {
    const unsigned long self = GetCurrentThreadId();
    const AutoLock hold(g_lock);
    for (unsigned i = 0; i < g_accessCount; ++i) {
        if (g_accesses[i].access == access && g_accesses[i].threadId == self) {
            g_accesses[i] = g_accesses[--g_accessCount];
            return;
        }
    }
}

} // namespace Z4::Private
