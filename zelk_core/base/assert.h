/// @file
/// Contract checks: the duties that headers lay on their callers are tested in checked builds, and cost nothing in
/// others.
///
/// To check the code that headers bring into your program, define `ZELK_CHECKS` for all its sources alike. To check
/// what is compiled into the DLL, use a DLL that was built with the CMake option of that name. The two need not agree:
/// no layout depends on it.
#pragma once

#include <zelk_core/base/api.h>

#include <cstddef>
#include <cstdint>

namespace Z4::Private {

/// Reports a broken contract to the host's `assert_message`, under the library's context. Any thread.
/// @param ignore one number for each place, 0 at first. It is handed to the host, which sets it to hear no more of this
/// place: then nothing is reported.
/// @return whether to stop in the debugger: the host's answer; false when `*ignore` is set, true when no log table is
/// installed.
Z4_API bool ContractBroken(const char* expression, const char* file, unsigned long line, const char* sentence,
                           unsigned long* ignore);

/// Whether `address` is a multiple of `alignment`. Compilers take that for granted of an object's own address; here it
/// is computed all the same.
inline bool IsAligned(const void* address, std::size_t alignment) {
    const volatile auto value = reinterpret_cast<std::uintptr_t>(address);
    return value % alignment == 0;
}

} // namespace Z4::Private

/// Checks that the caller kept a duty: `condition` is true then, and `sentence` states the duty for people. With
/// `ZELK_CHECKS`, a broken duty is reported to the host's `assert_message`, and the program stops in the debugger when
/// the host answers so. If it goes on, the function does what its contract says of that misuse. Without `ZELK_CHECKS`,
/// `condition` is not evaluated. In a constant expression a broken duty does not compile.
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
