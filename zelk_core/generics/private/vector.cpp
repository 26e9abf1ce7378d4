#include <zelk_core/generics/vector.h>

#include <atomic>
#include <cstddef>
#include <zelk_core/base/log.h>

namespace Z4 {

struct VectorLayout {
    using Ints = Vector<int>;
    static_assert(sizeof(Ints) == 12 && sizeof(Vector<char>) == 12 && sizeof(Vector<double>) == 12);
    static_assert(offsetof(Ints, m_storage) == 0);
    static_assert(offsetof(Ints, m_size) == 4);
    static_assert(offsetof(Ints, m_data) == 8);
};

void Private::WarnOfExpensiveMove() {
    static constinit std::atomic<bool> warned{false};
    if (!warned.exchange(true)) {
        Log(EAL_LOG_WARNING, "generics/vector", 1385,
            "[Z4::Vector] EAL_LOG_WARNING: Expensive move assignment.  Allocators don't match or destination is "
            "non-dynamic.");
    }
}

} // namespace Z4
