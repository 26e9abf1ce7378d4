#include <gtest/gtest.h>
#include <map>
#include <set>
#include <string>
#include <type_traits>
#include <zelk_core/base/error.h>

using namespace Z4;
using Private::ErrorCodeWrapper;

TEST(Error, EveryCodeHasItsOwnTextAndTheRestShareOne) {
    std::set<std::string> texts;
    for (int code = ERR_OK; code <= ERR_CORRUPTED_DATA; ++code) {
        texts.insert(GetErrorString(static_cast<Error>(code)));
    }
    EXPECT_EQ(texts.size(), 25u);
    EXPECT_STREQ(GetErrorString(ERR_OK), "Everything worked fine");
    EXPECT_STREQ(GetErrorString(ERR_EAL_SPECIFIC), "EAL implementation-specific error");
    EXPECT_STREQ(GetErrorString(ERR_CORRUPTED_DATA), "Invalid or corrupted data");
    for (const int code : {25, -1, 1 << 30, INT32_MIN}) {
        EXPECT_STREQ(GetErrorString(static_cast<Error>(code)),
                     "Invalid or unmanaged error code passed to Z4::GetErrorString");
    }
}

TEST(ErrorCodeWrapper, CarriesCodesUnchanged) {
    EXPECT_TRUE(!ErrorCodeWrapper());
    EXPECT_FALSE(!ErrorCodeWrapper(ERR_TIMEOUT));
    const ErrorCodeWrapper raw(10035L);
    EXPECT_EQ(static_cast<long>(raw), 10035);
    EXPECT_TRUE(raw != ERR_NOT_READY);
    EXPECT_TRUE(raw == ErrorCodeWrapper(10035L));
    EXPECT_TRUE(ErrorCodeWrapper(ERR_RESET) == ERR_RESET);
    EXPECT_TRUE(ErrorCodeWrapper(ERR_RESET) != ErrorCodeWrapper());
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

// Listed by result, the other way round than the library's own tables, over every number in reach.
template <class Translate>
void ExpectTranslation(const std::map<Error, std::set<int>>& expected, int first, int last, Translate translate) {
    for (int number = first; number <= last; ++number) {
        Error wanted = ERR_UNHANDLED;
        for (const auto& [error, numbers] : expected) {
            if (numbers.count(number) != 0) {
                wanted = error;
            }
        }
        EXPECT_EQ(translate(number), wanted) << number;
    }
}

TEST(TranslateError, SocketNumbers) {
    const std::map<Error, std::set<int>> expected = {
        {ERR_OK, {0}},
        {ERR_ACCESS_DENIED, {10013}},
        {ERR_INVALID, {10022, 10038, 10039, 10041, 10042, 10047}},
        {ERR_OUT_OF_RESOURCES, {10024, 10055}},
        {ERR_NOT_READY, {10035}},
        {ERR_IN_PROGRESS, {10036, 10037}},
        {ERR_OVERFLOW, {10040}},
        {ERR_UNSUPPORTED, {10043, 10045}},
        {ERR_ADDRESS_IN_USE, {10048}},
        {ERR_CANNOT_ASSIGN, {10049}},
        {ERR_NETWORK_DOWN, {10050}},
        {ERR_UNREACHABLE, {10051, 10065}},
        {ERR_RESET, {10052, 10054}},
        {ERR_ABORTED, {10053}},
        {ERR_ALREADY_EXISTS, {10056}},
        {ERR_NOT_CONNECTED, {10057}},
        {ERR_TIMEOUT, {10060}},
        {ERR_CONNECTION_REFUSED, {10061}},
        {ERR_HOST_DOWN, {10064}},
        {ERR_DEVICE_NOT_READY, {10093}},
    };
    ExpectTranslation(expected, -2, 11010, Private::TranslateSocketError);
}

TEST(TranslateError, FileStatuses) {
    const std::map<Error, std::set<int>> expected = {
        {ERR_OK, {0}},
        {ERR_TIMEOUT, {1}},
        {ERR_NOT_FOUND, {2, 21}},
        {ERR_ACCESS_DENIED, {3, 4, 5, 51, 52}},
        {ERR_UNSUPPORTED, {6, 56, 101}},
        {ERR_INVALID, {8, 20, 22, 23}},
        {ERR_OVERFLOW, {24}},
        {ERR_ALREADY_EXISTS, {50}},
        {ERR_OUT_OF_RESOURCES, {53, 54}},
        {ERR_NOT_READY, {55}},
        {ERR_EAL_SPECIFIC, {100}},
    };
    ExpectTranslation(expected, -3, 300, [](int number) {
        return static_cast<Error>(EalFile::TranslateError(static_cast<eal_file_status>(number)));
    });
}
