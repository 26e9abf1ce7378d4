// Results that change their number on the way, or that compile where they should not. The texts and translations are
// pinned: see tables.cpp.
#include <type_traits>
#include <zelk_core/base/error.h>

using namespace Z4;
using Private::ErrorCodeWrapper;

static_assert(!ErrorCodeWrapper() && !!ErrorCodeWrapper(ERR_TIMEOUT) && ErrorCodeWrapper(ERR_RESET) == ERR_RESET);
static_assert(static_cast<long>(ErrorCodeWrapper(10035L)) == 10035 && ErrorCodeWrapper(10035L) != ERR_NOT_READY);
static_assert(ErrorCodeWrapper(10035L) == ErrorCodeWrapper(10035L) && ErrorCodeWrapper(10035L) != ErrorCodeWrapper());

template <class A, class B>
concept Comparable = requires(A a, B b) {
    a == b;
    a != b;
};

static_assert(Comparable<ThreadErrorCodeWrapper, Error> && Comparable<Error, ThreadErrorCodeWrapper>);
static_assert(!Comparable<ThreadErrorCodeWrapper, ErrorCodeWrapper>);
static_assert(!Comparable<ErrorCodeWrapper, ThreadErrorCodeWrapper>);
static_assert(!Comparable<ThreadErrorCodeWrapper, int> && !Comparable<ThreadErrorCodeWrapper, long>);
static_assert(!std::is_convertible_v<ThreadErrorCodeWrapper, Error>);
static_assert(!std::is_convertible_v<ThreadErrorCodeWrapper, ErrorCodeWrapper>);
static_assert(ThreadErrorCodeWrapper() == ERR_OK && ThreadErrorCodeWrapper(ERR_UNREACHABLE) != ERR_OK);
static_assert(static_cast<Error>(ThreadErrorCodeWrapper(ERR_UNREACHABLE)) == ERR_UNREACHABLE);
