#include <zelk_core/generics/vector.h>

#include <atomic>
#include <cstddef>
#include <zelk_core/base/log.h>

namespace Z4 {

template <>
struct Private::Layout<Private::VectorStorage<int, ZelkAllocator>> {
    using Ints = VectorStorage<int, ZelkAllocator>;
    static_assert(offsetof(Ints, m_storage) == 0);
    static_assert(offsetof(Ints, m_size) == 4);
    static_assert(offsetof(Ints, m_data) == 8);
    static_assert(sizeof(Vector<int>) == 12);
    static_assert(sizeof(Vector<char>) == 12);
    static_assert(sizeof(Vector<double>) == 12);
};

namespace {

constexpr Private::Message<> EXPENSIVE_MOVE{
    EAL_LOG_WARNING, "generics/vector", 1385,
    "[Z4::Vector] EAL_LOG_WARNING: Expensive move assignment.  Allocators don't match or destination is non-dynamic."};

} // namespace

void Private::WarnOfExpensiveMove() {
    static constinit std::atomic<bool> warned{false};
    if (!warned.exchange(true)) {
        Log(EXPENSIVE_MOVE);
    }
}

} // namespace Z4
