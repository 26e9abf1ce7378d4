// The variants of StructureSwap's arrays, each the whole of it.
#pragma once

#include <cstddef>

namespace Z4::Private {

/// `to` and `from` as StructureSwap::Array16() takes them. `size` of an element is 2, 4 or 8.
using SwapFunction = void (*)(void* to, const void* from, std::size_t count, unsigned size);

void SwapPlain(void* to, const void* from, std::size_t count, unsigned size);
void SwapSse2(void* to, const void* from, std::size_t count, unsigned size);
/// Only where HasSsse3().
void SwapSsse3(void* to, const void* from, std::size_t count, unsigned size);
/// Only where HasAvx2().
void SwapAvx2(void* to, const void* from, std::size_t count, unsigned size);

} // namespace Z4::Private
