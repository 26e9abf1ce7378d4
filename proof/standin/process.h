// The C run-time's way to make a thread.
#pragma once

#include <cstdint>

std::uintptr_t _beginthreadex(void* security, unsigned stackSize, unsigned (*entry)(void*), void* argument,
                              unsigned flags, unsigned* id);
