/// @file
/// What differs between compilers and platforms, and nothing else: every compiler test of the library stands here.
///
/// Users of the DLL define nothing. `ZELK_CORE_BUILD` is defined while the DLL itself is compiled, `ZELK_CORE_STATIC`
/// where the portable sources are linked straight into a program.
#pragma once

#if defined(_MSC_VER)
#    define Z4_NOINLINE __declspec(noinline)
/// Whether the compiler's own thread-local variables are the system's; else they are a run-time library's.
#    define Z4_NATIVE_THREAD_LOCAL 1
#else
#    define Z4_NOINLINE __attribute__((noinline))
#    define Z4_NATIVE_THREAD_LOCAL 0
#endif

/// Lets the compiler check a format, the parameter number `formatAt`, against the arguments from number `firstAt` on;
/// `this` counts, too. The grammar is GCC's own, as the platform's does not know `ll`.
#if defined(__clang__)
#    define Z4_PRINTF(formatAt, firstAt) __attribute__((format(printf, formatAt, firstAt)))
#elif defined(__GNUC__)
#    define Z4_PRINTF(formatAt, firstAt) __attribute__((format(gnu_printf, formatAt, firstAt)))
#else
#    define Z4_PRINTF(formatAt, firstAt)
#endif

/// Stops in the debugger, or ends the program where there is none; a debugger can go on behind it.
#if defined(_MSC_VER)
#    define Z4_BREAK() __debugbreak()
#else
#    define Z4_BREAK() ::Z4::Private::Break()
namespace Z4::Private {
inline void Break() {
    __asm__ volatile("int3");
}
} // namespace Z4::Private
#endif

/// For a function that reads, on purpose and harmlessly, past the end of an object within an aligned block of memory.
#if defined(_MSC_VER) && !defined(__clang__)
#    define Z4_NO_SANITIZE_ADDRESS __declspec(no_sanitize_address)
#else
#    define Z4_NO_SANITIZE_ADDRESS __attribute__((no_sanitize_address))
#endif

/// Declares two overloads of one virtual function, so that they take their slots in the order written here: one ABI
/// numbers overloads as they come, the other from the last to the first.
#if defined(_MSC_VER)
#    define Z4_VIRTUAL_PAIR(first, second) \
        second;                            \
        first
#else
#    define Z4_VIRTUAL_PAIR(first, second) \
        first;                             \
        second
#endif

#if defined(_WIN32)
/// Calling convention of every function that the library and its host pass to each other by pointer.
#    define Z4_CDECL __cdecl
/// The system's own, for functions that are handed on to it.
#    define Z4_STDCALL __stdcall
#else
#    define Z4_CDECL
#    define Z4_STDCALL
#endif

#if defined(ZELK_CORE_STATIC)
#    define Z4_API
#elif defined(ZELK_CORE_BUILD)
#    define Z4_API __declspec(dllexport)
#else
#    define Z4_API __declspec(dllimport)
#endif

/// For a function of the interface that is short enough to be compiled into its callers: the DLL exports it all the
/// same.
#if defined(ZELK_CORE_BUILD) && !defined(ZELK_CORE_STATIC)
#    define Z4_API_INLINE inline __declspec(dllexport)
#else
#    define Z4_API_INLINE inline
#endif
