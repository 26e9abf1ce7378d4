#include <zelk_core/os/atomic.h>

namespace Z4 {

static_assert(sizeof(long) == 4);
static_assert(sizeof(long long) == 8);

Atomic& Atomic::operator=(const Atomic&) = default;
Atomic& Atomic::operator=(Atomic&&) noexcept = default;

SList& SList::operator=(const SList&) = default;
SList& SList::operator=(SList&&) noexcept = default;

} // namespace Z4
