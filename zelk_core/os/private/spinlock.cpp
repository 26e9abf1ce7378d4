#include <emmintrin.h>
#include <zelk_core/os/spinlock.h>

namespace Z4 {

static_assert(sizeof(NonRecursiveSpinLock) == 4);
static_assert(alignof(NonRecursiveSpinLock) == 4);

void NonRecursiveSpinLock::RelaxCPU() {
    constexpr int PAUSES = 70;
    for (int i = 0; i < PAUSES; ++i) {
        _mm_pause();
    }
}

} // namespace Z4
