// Hunted here: a constant with wrong bits or read before it is made; lanes that are exchanged where they are read,
// written or tested; the edges of normalisation. The operations themselves and the order of their sums are held to
// plain arithmetic by the digests.
#include <cstring>
#include <gmock/gmock.h>
#include <limits>
#include <zelk_core/math/vectorsimd.h>

using namespace Z4;

namespace {

const VectorSIMD4f g_early = And(VectorSIMD4f::ONE + VectorSIMD4f::BASE_L, VectorSIMD4f::MASK_3D);

template <class V>
void ExpectConstants(unsigned last) {
    const auto expect = [](const auto& constant, std::initializer_list<std::uint32_t> bits) {
        EXPECT_EQ(std::memcmp(&constant, bits.begin(), sizeof(V)), 0) << testing::PrintToString(bits);
    };
    constexpr std::uint32_t ONE = 0x3F800000;
    constexpr std::uint32_t ALL = 0xFFFFFFFF;
    expect(V::ZERO, {0, 0, 0, 0});
    expect(V::ONE, {ONE, ONE, ONE, last});
    expect(V::BASE_I, {ONE, 0, 0, 0});
    expect(V::BASE_J, {0, ONE, 0, 0});
    expect(V::BASE_K, {0, 0, ONE, 0});
    expect(V::MASK_2D, {ALL, ALL, 0, 0});
    expect(V::MASK_3D, {ALL, ALL, ALL, 0});
    if constexpr (std::is_same_v<V, VectorSIMD4f>) {
        expect(V::BASE_L, {0, 0, 0, ONE});
        expect(V::MASK_4D, {ALL, ALL, ALL, ALL});
    }
}
TEST(VectorSIMD, ConstantsHaveTheseBitsFromTheStart) {
    EXPECT_EQ(g_early, VectorSIMD4f(1, 1, 1, 0));
    ExpectConstants<VectorSIMD4f>(0x3F800000);
    ExpectConstants<VectorSIMD3f>(0);
}

TEST(VectorSIMD, LanesAreReadAndWrittenOneByOne) {
    const float memory[5] = {0, 1, 2, 3, 4};
    const VectorSIMD4f v = VectorSIMD4f::Load(memory + 1);
    float stored[5] = {};
    v.Store(stored + 1);
    EXPECT_THAT(stored, testing::ElementsAre(0, 1, 2, 3, 4));
    EXPECT_EQ(v.BroadcastX() * 1000.0F + v.BroadcastY() * 100.0F + v.BroadcastZ() * 10.0F + v.BroadcastW(),
              VectorSIMD4f::Broadcast(1234));
    void (VectorSIMD4f::*const setters[])(float) = {&VectorSIMD4f::SetX, &VectorSIMD4f::SetY, &VectorSIMD4f::SetZ,
                                                    &VectorSIMD4f::SetW};
    for (unsigned lane = 0; lane < 4; ++lane) {
        VectorSIMD4f byIndex = v;
        byIndex.Set(lane, -5);
        byIndex.Set(lane + 4, 99); // no lane
        VectorSIMD4f byName = v;
        (byName.*setters[lane])(-5);
        for (unsigned i = 0; i < 4; ++i) {
            EXPECT_TRUE(byIndex[i] == (i == lane ? -5 : memory[i + 1]) && byName[i] == byIndex[i]);
        }
    }
    EXPECT_EQ(VectorSIMD4f(ToVector4f(v)), v);
    EXPECT_EQ(VectorSIMD4f(ToVector3f(v), 9), VectorSIMD4f(1, 2, 3, 9));
    EXPECT_EQ(VectorSIMD3f(Vector3f(1, 2, 3)).W(), 0);
    EXPECT_EQ(ToVector2f(v), Vector2f(1, 2));
    EXPECT_TRUE(VectorSIMD3f(v.Native()) == VectorSIMD3f(1, 2, 3)) << "w does not count";
    EXPECT_FALSE(v == VectorSIMD4f(1, 2, 3, 9));
}

TEST(VectorSIMD, NormalisesAndCrosses) {
    using V = VectorSIMD4f;
    EXPECT_EQ(Cross3(V(1, 2, 3, 7), V(-4, 5, 6, 8)), V(-3, -18, 13, 0));
    const float infinity = std::numeric_limits<float>::infinity();
    for (const V& vanishing : {V(0, -0.0F, 0, 7), V(1e-30F, 0, 0, 0), V(3e38F, 3e38F, 0, 1)}) {
        EXPECT_EQ(Normalize3(vanishing), V::ZERO);
    }
    EXPECT_FALSE(Normalize3(V(infinity, 0, 0, 0)) == V::ZERO);
    EXPECT_EQ(VectorSIMD3f(Normalize3(VectorSIMD3f(0, 3, 4))), VectorSIMD3f(0, 0.6F, 0.8F));
}

} // namespace
