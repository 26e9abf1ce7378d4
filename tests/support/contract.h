// What the checks of the callers' duties report to the host.
#pragma once

#include <csetjmp>
#include <cstdlib>
#include <tests/support/testhost.h>

namespace ZelkTest {

/// Whether the library under test was built with its checks; the tests' own code, with the library's headers, always
/// is. `make checked` runs programs of another build.
inline const bool LIBRARY_CHECKS = ZELK_LIBRARY_CHECKS || std::getenv("ZELK_CHECKED_PROGRAMS") != nullptr;

/// While it lives, exactly `reports` broken contracts must be reported, by any thread, and none stops the program.
/// Outside such a scope a report fails the test. One at a time.
class ExpectContract {
public:
    explicit ExpectContract(unsigned reports);
    ~ExpectContract();
    ExpectContract(const ExpectContract&) = delete;
    ExpectContract& operator=(const ExpectContract&) = delete;

private:
    unsigned m_expected;
};

inline std::jmp_buf g_reported;

/// Whether `misuse()` breaks a contract. It is left at the report, by a jump, for what follows may not be survived: it
/// must not hold anything then that a destructor gives back.
template <class Misuse>
bool IsReported(const Misuse& misuse) {
    Z4::eal_log_dll_interface log{};
    log.assert_message = [](int, const char*, const char*, const char*, unsigned long, unsigned long,
                            unsigned long*) -> unsigned char { std::longjmp(g_reported, 1); };
    Z4::SetEalInterface(log);
    const bool isReported = setjmp(g_reported) != 0;
    if (!isReported) {
        misuse();
    }
    ReinstallHost();
    return isReported;
}

} // namespace ZelkTest
