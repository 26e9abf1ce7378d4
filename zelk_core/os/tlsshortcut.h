/// @file
/// The platform's thread-local slots, bare: one 32-bit value per slot and thread.
///
/// Slots are few (1088 in a process), so one is taken for the life of a module rather than of an object. Any thread. An
/// index must come from Alloc() and not have been freed; only one that cannot be a slot, such as a failed Alloc()'s, is
/// sure to be harmless: Set() and Free() do nothing then, and Get() returns 0.
#pragma once

#include <cstdint>
#include <zelk_core/base/api.h>

namespace Z4::TlsShortCut {

/// Takes a slot, in which every thread has the value 0.
/// @return its index, or 0xFFFFFFFF when no slot is left.
[[nodiscard]] Z4_API std::uint32_t Alloc();

/// Gives the slot back, with the values of all threads.
Z4_API void Free(std::uint32_t index);

/// Sets the calling thread's value.
Z4_API void Set(std::uint32_t index, std::uint32_t value);

/// The calling thread's value, 0 if it never set one.
[[nodiscard]] Z4_API std::uint32_t Get(std::uint32_t index);

} // namespace Z4::TlsShortCut
