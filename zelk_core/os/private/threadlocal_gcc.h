// Native thread-local storage for GCC, whose own thread_local is a run-time library on this platform: it calls on each
// access and takes memory from malloc on a thread's first.
//
// The system gives every thread a copy of the module's .tls section, also the threads that are older than the module,
// and the thread's own block points, at its offset 0x2C, to an array of those copies' addresses, one per module.
#pragma once

#include <cstdint>

extern "C" {
// Both from the compiler's start-up code: this module's place in the array, and the begin of the section.
extern unsigned long _tls_index;
extern char _tls_start;
}

/// Marks the variable of constant initial value whose copies ThisThreads() finds. The start-up code's end of the
/// section sorts behind this name.
#define Z4_THREAD_LOCAL_IMAGE __attribute__((section(".tls$A")))

namespace Z4::Private {

/// The calling thread's copy of the variable. It stays where it is for the thread's life.
template <class T>
inline T& ThisThreads(T& image) {
    char** copies;
    asm volatile("movl %%fs:0x2c, %0" : "=r"(copies));
    const std::uintptr_t offset =
        reinterpret_cast<std::uintptr_t>(&image) - reinterpret_cast<std::uintptr_t>(&_tls_start);
    return *reinterpret_cast<T*>(copies[_tls_index] + offset);
}

} // namespace Z4::Private
