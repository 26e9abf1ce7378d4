// What the checks of the callers' duties report to the host.
#pragma once

namespace ZelkTest {

/// Whether the library under test was built with its checks; the tests' own code, with the library's headers, always
/// is.
#if defined(ZELK_LIBRARY_CHECKS)
inline constexpr bool LIBRARY_CHECKS = true;
#else
inline constexpr bool LIBRARY_CHECKS = false;
#endif

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

} // namespace ZelkTest
