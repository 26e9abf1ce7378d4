#include <tests/support/testhost.h>

#include <cstdint>
#include <gmock/gmock.h>
#include <memory>
#include <new>
#include <zelk_core/math/matrixsimd.h>

namespace {

bool IsAligned(const void* object) {
    return reinterpret_cast<std::uintptr_t>(object) % 16 == 0;
}

TEST(HostNew, PutsObjectsAndArraysIntoTheHostsMemory) {
    const auto before = ZelkTest::OutstandingMemory();
    {
        const std::unique_ptr<Z4::VectorSIMD4f> vector(new Z4::VectorSIMD4f(Z4::VectorSIMD4f::ONE));
        const std::unique_ptr<Z4::MatrixSIMD33f[]> matrices(new Z4::MatrixSIMD33f[3]);
        EXPECT_TRUE(IsAligned(vector.get()) && IsAligned(matrices.get()));
        const auto held = ZelkTest::OutstandingMemory();
        EXPECT_EQ(held.blocks - before.blocks, 2U);
        EXPECT_GE(held.bytes - before.bytes, 16U + 3 * 48U);
        for (unsigned i = 0; i < 3; ++i) {
            matrices[i] = Z4::MatrixSIMD33f::IDENTITY;
        }
        EXPECT_EQ(matrices[2], Z4::MatrixSIMD33f::IDENTITY);
    }
    EXPECT_EQ(ZelkTest::OutstandingMemory().blocks, before.blocks);
}

TEST(HostNew, LeavesPlacementToTheCaller) {
    alignas(16) unsigned char storage[sizeof(Z4::VectorSIMD3f)];
    const auto* const vector = new (storage) Z4::VectorSIMD3f(1, 2, 3);
    EXPECT_EQ(static_cast<const void*>(vector), storage);
    EXPECT_EQ(*vector, Z4::VectorSIMD3f(1, 2, 3));
}

void* Z4_CDECL Refuse(std::size_t, std::size_t, unsigned, int) {
    return nullptr;
}

TEST(HostNew, GivesNullWhereTheHostRefuses) {
    Z4::eal_mem_dll_interface refusing = {};
    refusing.alloc = Refuse;
    Z4::SetEalInterface(refusing);
    const auto* const one = new Z4::VectorSIMD4f(1, 2, 3, 4);
    const auto* const some = new Z4::MatrixSIMD44f[2];
    ZelkTest::ReinstallHost();
    EXPECT_EQ(one, nullptr);
    EXPECT_EQ(some, nullptr);
}

} // namespace
