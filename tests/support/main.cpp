#include "testhost.h"

#include <cstdio>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>

namespace {

/// Fails a test that leaves library memory behind.
class BalanceCheck : public testing::EmptyTestEventListener {
    void OnTestEnd(const testing::TestInfo&) override { ZelkTest::LeaveBehind(0); }
};

} // namespace

int main(int argc, char** argv) {
    testing::InitGoogleMock(&argc, argv);
    using ZelkHost::MemoryMode;
    const std::string option = argc > 1 ? argv[1] : "--guard=end"; // GoogleTest has taken its own
    std::printf("Compiled by %s, %u-bit, %s\n", __VERSION__, static_cast<unsigned>(8 * sizeof(void*)), option.c_str());
    ZelkTest::InstallHost(option == "--guard=start"  ? MemoryMode::GUARD_START
                          : option == "--guard=none" ? MemoryMode::PLAIN
                                                     : MemoryMode::GUARD_END);
    // Appended listeners see a test's end before the printer does, so a failure here still counts for that test.
    testing::UnitTest::GetInstance()->listeners().Append(new BalanceCheck);
    return RUN_ALL_TESTS();
}
