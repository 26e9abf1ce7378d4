/// @file
/// Contract checks: what a header asks of its callers, tested in checked builds and free in all others.
///
/// Define `ZELK_CHECKS` before the first include, for all sources of a program alike, and the library's headers check
/// their callers there. The library's own sources check theirs where it was built with that option; a program and the
/// DLL need not agree, as no layout depends on it.
#pragma once

#include <zelk_core/base/api.h>

#include <cstddef>
#include <cstdint>

namespace Z4::Private {

/// Reports a broken contract to the host's assert slot, under the library's context, unless `*ignore` is set. Any
/// thread.
/// @param ignore handed to the host, which sets it to hear no more of this place.
/// @return whether to stop in the debugger: the host's answer, and true when no log table is installed.
Z4_API bool ContractBroken(const char* expression, const char* file, unsigned long line, const char* sentence,
                           unsigned long* ignore);

/// Whether an address is a multiple of `alignment`. It is read anew, for compilers believe that an object lies where
/// its type wants it.
inline bool IsAligned(const void* address, std::size_t alignment) {
    const volatile auto value = reinterpret_cast<std::uintptr_t>(address);
    return value % alignment == 0;
}

} // namespace Z4::Private

/// Says that the caller kept a duty; `sentence` states the duty. A broken one is reported to the host's assert slot and
/// stops in the debugger where the host answers true. Whoever goes on gets the result that the function documents for
/// the misuse. Without `ZELK_CHECKS` nothing is evaluated. In a constant expression a broken duty does not compile.
#if defined(ZELK_CHECKS)
#    define Z4_ASSERT(condition, sentence)                                                            \
        ((condition) || !::Z4::Private::ContractBroken(#condition, __FILE__, __LINE__, sentence,      \
                                                       [] {                                           \
                                                           static constinit unsigned long ignore = 0; \
                                                           return &ignore;                            \
                                                       }())                                           \
             ? static_cast<void>(0)                                                                   \
             : Z4_BREAK())
#else
#    define Z4_ASSERT(condition, sentence) static_cast<void>(0)
#endif
