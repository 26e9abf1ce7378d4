// Results that change their number on the way, or that compile where they should not. The texts and translations are
// pinned: see tables.cpp.
#include <gtest/gtest.h>
#include <type_traits>
#include <zelk_core/base/error.h>

using namespace Z4;
using Private::ErrorCodeWrapper;

TEST(Error, FarOffNumbersHaveTheTextOfTheOthers) {
    EXPECT_STREQ(GetErrorString(static_cast<Error>(1 << 30)), GetErrorString(static_cast<Error>(-1)));
    EXPECT_STREQ(GetErrorString(static_cast<Error>(INT32_MIN)), GetErrorString(static_cast<Error>(-1)));
}

TEST(ErrorCodeWrapper, CarriesCodesUnchanged) {
    EXPECT_TRUE(!ErrorCodeWrapper());
    EXPECT_FALSE(!ErrorCodeWrapper(ERR_TIMEOUT));
    const ErrorCodeWrapper raw(10035L);
    EXPECT_EQ(static_cast<long>(raw), 10035);
    EXPECT_TRUE(raw == ErrorCodeWrapper(10035L) && raw != ERR_NOT_READY && raw != ErrorCodeWrapper());
    EXPECT_TRUE(ErrorCodeWrapper(ERR_RESET) == ERR_RESET);
}

template <class A, class B>
concept Comparable = requires(A a, B b) {
    a == b;
    a != b;
};

TEST(ThreadErrorCodeWrapper, ConvertsOnlyExplicitlyAndComparesWithErrorsOnly) {
    static_assert(Comparable<ThreadErrorCodeWrapper, Error> && Comparable<Error, ThreadErrorCodeWrapper>);
    static_assert(!Comparable<ThreadErrorCodeWrapper, ErrorCodeWrapper>);
    static_assert(!Comparable<ErrorCodeWrapper, ThreadErrorCodeWrapper>);
    static_assert(!Comparable<ThreadErrorCodeWrapper, int> && !Comparable<ThreadErrorCodeWrapper, long>);
    static_assert(!std::is_convertible_v<ThreadErrorCodeWrapper, Error>);
    static_assert(!std::is_convertible_v<ThreadErrorCodeWrapper, ErrorCodeWrapper>);
    EXPECT_EQ(ThreadErrorCodeWrapper(), ERR_OK);
    EXPECT_NE(ThreadErrorCodeWrapper(ERR_UNREACHABLE), ERR_OK);
    EXPECT_EQ(static_cast<Error>(ThreadErrorCodeWrapper(ERR_UNREACHABLE)), ERR_UNREACHABLE);
}
