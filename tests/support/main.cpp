#include "testhost.h"

#include <cstdio>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>

namespace {

/// Fails a test that leaves library memory behind.
class BalanceCheck : public testing::EmptyTestEventListener {
    void OnTestEnd(const testing::TestInfo&) override {
        EXPECT_EQ(ZelkTest::OutstandingMemory().blocks, ZelkTest::LeftBehind().blocks) << "blocks left behind";
    }
};

} // namespace

int main(int argc, char** argv) {
    testing::InitGoogleMock(&argc, argv);
    using ZelkTest::Guard;
    const std::string option = argc > 1 ? argv[1] : "--guard=end"; // GoogleTest has taken its own
    std::printf("Compiled by %s, %u-bit, %s\n", __VERSION__, static_cast<unsigned>(8 * sizeof(void*)), option.c_str());
    ZelkTest::InstallHost(option == "--guard=start"  ? Guard::START
                          : option == "--guard=none" ? Guard::NONE
                                                     : Guard::END);
    // Appended listeners see a test's end before the printer does, so a failure here still counts for that test.
    testing::UnitTest::GetInstance()->listeners().Append(new BalanceCheck);
    return RUN_ALL_TESTS();
}
