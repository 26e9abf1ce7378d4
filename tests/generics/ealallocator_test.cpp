// Faults hunted: a number of bytes that wraps around, a request for nothing, and another alignment, flag or context
// than that of the allocator.
#include <cstdint>
#include <gtest/gtest.h>
#include <tests/support/testhost.h>
#include <zelk_core/generics/ealallocator.h>

namespace {

struct alignas(8) Element {
    char bytes[24];
};
constexpr int CONTEXT = 0x1234;
using Allocator = Z4::EalAllocator<CONTEXT, 0>;

TEST(EalAllocator, AsksTheHostForWhatCanBeAndForNothingElse) {
    static std::vector<std::size_t> requests;
    Z4::eal_mem_dll_interface table{};
    table.alloc = [](std::size_t size, std::size_t alignment, unsigned flags, int id) -> void* {
        EXPECT_EQ(alignment, alignof(Element));
        EXPECT_EQ(flags, 0U);
        EXPECT_EQ(id, CONTEXT);
        requests.push_back(size);
        return nullptr;
    };
    table.free = [](void*) { ADD_FAILURE() << "nothing was allocated"; };
    Z4::SetEalInterface(table);
    constexpr std::size_t MOST = SIZE_MAX / sizeof(Element);
    for (const std::size_t count : {std::size_t{0}, std::size_t{1}, MOST, MOST + 1, SIZE_MAX}) {
        Allocator::Free(Allocator::Allocate<Element>(count));
    }
    ZelkTest::ReinstallHost();
    EXPECT_EQ(requests, (std::vector{sizeof(Element), MOST * sizeof(Element)}));
}

} // namespace
