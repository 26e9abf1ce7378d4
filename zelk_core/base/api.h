/// @file
/// What differs between compilers and platforms, and nothing else: every compiler test of the library stands here.
///
/// Users of the DLL define nothing. `ZELK_CORE_BUILD` is defined while the DLL itself is compiled, `ZELK_CORE_STATIC`
/// where the portable sources are linked straight into a program.
#pragma once

#if (defined(_MSVC_LANG) ? _MSVC_LANG : __cplusplus) < 202002L
#    error "zelk_core needs C++20: compile with -std=c++20 or later"
#endif
#if !defined(__SSE2_MATH__) && !(defined(_M_IX86_FP) && _M_IX86_FP >= 2) && !defined(_M_X64)
#    error "zelk_core computes in SSE2 registers: compile for an x86 processor with -msse2 -mfpmath=sse"
#endif
#if defined(__FAST_MATH__) || defined(_M_FP_FAST)
#    error "zelk_core promises exact floating point: compile without -ffast-math, -Ofast or /fp:fast"
#endif

#if defined(_MSC_VER)
#    define Z4_NOINLINE __declspec(noinline)
#    define Z4_ALWAYS_INLINE __forceinline
/// Lays out a class with more than one empty base as the other ABI does: no such base takes room.
#    define Z4_EMPTY_BASES __declspec(empty_bases)
/// Whether the compiler's own thread-local variables are the system's; else they are a run-time library's.
#    define Z4_NATIVE_THREAD_LOCAL 1
#else
#    define Z4_NOINLINE __attribute__((noinline))
#    define Z4_ALWAYS_INLINE __attribute__((always_inline)) inline
#    define Z4_EMPTY_BASES
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

namespace Z4::Private {

/// Where `value` is `expected`, stores `replacement`; else takes the value into `expected`. Sequentially consistent, at
/// any address on 32-bit processors.
/// @return whether it was stored.
#if defined(_MSC_VER) && !defined(__clang__)
extern "C" long long _InterlockedCompareExchange64(volatile long long*, long long, long long);
#    pragma intrinsic(_InterlockedCompareExchange64)
inline bool CompareExchange(volatile long long& value, long long& expected, long long replacement) {
    const long long wanted = expected;
    expected = _InterlockedCompareExchange64(&value, replacement, wanted);
    return expected == wanted;
}
#else
inline bool CompareExchange(volatile long long& value, long long& expected, long long replacement) {
    return __atomic_compare_exchange_n(&value, &expected, replacement, false, __ATOMIC_SEQ_CST, __ATOMIC_SEQ_CST);
}
#endif

} // namespace Z4::Private

/// For a function that reads, on purpose and harmlessly, past the end of an object within an aligned block of memory.
#if defined(_MSC_VER) && !defined(__clang__)
#    define Z4_NO_SANITIZE_ADDRESS __declspec(no_sanitize_address)
#else
#    define Z4_NO_SANITIZE_ADDRESS __attribute__((no_sanitize_address))
#endif

/// Whether the compiler knows `value` already, as it does the length of a literal; never, with some compilers.
#if defined(__GNUC__) || defined(__clang__)
#    define Z4_IS_CONSTANT(value) __builtin_constant_p(value)
#else
#    define Z4_IS_CONSTANT(value) false
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

/// Calling convention of every function that the library and its host pass to each other by pointer. GCC and clang take
/// this one where none is written, as long as `-mrtd` does not tell them otherwise. Where it is written, GCC makes it a
/// part of exported names and clang does not, so that neither would find what the other one has exported.
#if defined(_MSC_VER)
#    define Z4_CDECL __cdecl
#else
#    define Z4_CDECL
#endif
/// The system's own, for functions that are handed on to it.
#if defined(_WIN32)
#    define Z4_STDCALL __stdcall
#else
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
#    define Z4_API_ALWAYS_INLINE Z4_ALWAYS_INLINE __declspec(dllexport)
#else
#    define Z4_API_INLINE inline
/// The same where a call would cost about as much as the function, which the compiler is not to decide.
#    define Z4_API_ALWAYS_INLINE Z4_ALWAYS_INLINE
#endif
