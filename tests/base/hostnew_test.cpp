// Faults hunted: memory of the host that is not aligned as it was asked for, or refused, and becomes an object all the
// same. That objects of any alignment lie in it is what tests/program/new.cpp checks.
#include <tests/support/contract.h>
#include <tests/support/testhost.h>

#include <gtest/gtest.h>
#include <zelk_core/math/matrixsimd.h>

namespace {

class alignas(64) Component : public Z4::HostNew<Component> {};

TEST(HostNew, ReportsMisalignedMemoryBeforeItIsAnObject) {
    alignas(64) static unsigned char storage[64];
    {
        const ZelkTest::ExpectContract expected(4);
        EXPECT_EQ(Z4::VectorSIMD4f::operator new(16, storage + 8), storage + 8);
        EXPECT_EQ(Z4::VectorSIMD4f::operator new[](16, storage + 8), storage + 8);
        EXPECT_EQ(Component::operator new(4, std::align_val_t(64), storage + 16), storage + 16);
        EXPECT_EQ(Component::operator new[](4, std::align_val_t(64), storage + 16), storage + 16);
    }
    Z4::eal_mem_dll_interface careless = {};
    careless.alloc = [](std::size_t, std::size_t, unsigned, int) -> void* { return storage + 4; };
    Z4::SetEalInterface(careless);
    {
        // The library itself tests what it is asked for.
        const ZelkTest::ExpectContract expected(ZelkTest::LIBRARY_CHECKS ? 3 : 2);
        EXPECT_EQ(Z4::Private::AllocateFromHost(4, 12), storage + 4);
        EXPECT_EQ(Component::operator new(4), storage + 4);
        EXPECT_EQ(Component::operator new[](4, std::align_val_t(16)), storage + 4);
    }
    ZelkTest::ReinstallHost();
}

TEST(HostNew, GivesNullWhereTheHostRefuses) {
    ZelkTest::FailAllocations(1);
    const auto* const one = new Z4::VectorSIMD4f(1, 2, 3, 4);
    const auto* const some = new Z4::MatrixSIMD44f[2];
    const auto* const derived = new Component;
    ZelkTest::FailAllocations(0);
    EXPECT_TRUE(one == nullptr && some == nullptr && derived == nullptr);
}

} // namespace
