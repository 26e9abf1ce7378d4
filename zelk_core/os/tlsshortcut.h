/// @file
/// The system's thread-local slots, bare: each slot has a 32-bit value for every thread.
///
/// A process has 1088 slots only, so take one for the life of a module rather than of an object. Any thread may call
/// anything. The index must come from Alloc() and must not have been freed: a wrong one can hit somebody else's slot.
/// The index of a failed Alloc() does no harm: Set() and Free() do nothing with it, and Get() returns 0.
#pragma once

#include <cstdint>
#include <zelk_core/base/api.h>

namespace Z4::TlsShortCut {

/// Takes a slot. Its value is 0 for every thread.
/// @return its index, or 0xFFFFFFFF when no slot is left.
[[nodiscard]] Z4_API std::uint32_t Alloc();

/// Gives the slot back. The values of all threads are lost.
Z4_API void Free(std::uint32_t index);

/// Sets the calling thread's value.
Z4_API void Set(std::uint32_t index, std::uint32_t value);

/// The calling thread's value; 0 where it has set none.
[[nodiscard]] Z4_API std::uint32_t Get(std::uint32_t index);

} // namespace Z4::TlsShortCut
