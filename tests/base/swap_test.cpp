// Hunted here: bytes that land elsewhere, padding that changes, layouts that reach beyond their record.
#include <gtest/gtest.h>
#include <tests/support/random.h>
#include <zelk_core/base/structureswap.h>

namespace {

using Z4::GUID;
using Z4::StructureSwap;
using Z4::SwapField;
using Z4::SwapLayout;

TEST(ByteOrder, NumbersOfEverySizeBothWays) {
    enum class Kind : std::uint16_t {
        ONE = 0x0102
    };
    static_assert(Z4::ByteSwap(std::uint8_t{7}) == 7 && Z4::ByteSwap(Kind::ONE) == static_cast<Kind>(0x0201));
    static_assert(Z4::ByteSwap(-2) == -16777217 && Z4::ByteSwap(0x0102030405060708LL) == 0x0807060504030201LL);
    static_assert(Z4::ToLittle(5) == 5 && Z4::ToBig(Z4::ToBig(5)) == 5);
    const unsigned char bytes[] = {0xFF, 0xC0, 0xA0, 0x12, 0x34, 0x56, 0x78, 0x9A, 0xBC};
    EXPECT_EQ(Z4::LoadBig<std::int16_t>(bytes + 1), -16224);
    EXPECT_EQ(Z4::LoadLittle<std::uint32_t>(bytes + 1), 0x3412A0C0u);
    EXPECT_EQ(Z4::LoadBig<float>(bytes + 1), -0x1.402468p+2F);
    unsigned char stored[9] = {};
    Z4::StoreBig(stored + 1, Z4::LoadLittle<double>(bytes + 1));
    EXPECT_EQ(Z4::LoadBig<double>(stored + 1), Z4::LoadLittle<double>(bytes + 1));
    Z4::StoreLittle(stored + 1, Kind::ONE);
    EXPECT_EQ(stored[1], 2);
}

struct Inner {
    std::uint16_t low;
    std::uint8_t kind;
    std::uint8_t pad;
};
void SwapFields(Inner& inner) {
    StructureSwap::Fields<&Inner::low, &Inner::kind>(inner);
}
struct Outer {
    std::uint32_t id;
    float weights[20];
    double total;
    Inner inner[2];
    GUID guid;
    char name[5];
};

constexpr SwapField INNER_FIELDS[] = {{0, 1, 2, nullptr}, {2, 1, 1, nullptr}};
constexpr SwapLayout INNER{INNER_FIELDS, 2, sizeof(Inner)};
constexpr SwapField OUTER_FIELDS[] = {
    {offsetof(Outer, id), 1, 4, nullptr},    {offsetof(Outer, weights), 20, 4, nullptr},
    {offsetof(Outer, total), 1, 8, nullptr}, {offsetof(Outer, inner), 2, 0, &INNER},
    {offsetof(Outer, guid), 1, 16, nullptr}, {offsetof(Outer, name), 5, 1, nullptr}};
constexpr SwapLayout OUTER{OUTER_FIELDS, 6, sizeof(Outer)};

// Each of the two ways is written apart from the other.
TEST(StructureSwap, RecordsByLayoutAndByMembersAgree) {
    ASSERT_EQ(StructureSwap::Check(OUTER), Z4::ERR_OK);
    alignas(8) unsigned char original[3 * sizeof(Outer)];
    ZelkTest::Input(9).Fill(original, sizeof(original));
    unsigned char byLayout[sizeof(original)];
    StructureSwap::Record(byLayout, original, OUTER, 3);
    alignas(8) unsigned char byMembers[sizeof(original)];
    std::memcpy(byMembers, original, sizeof(original));
    for (unsigned i = 0; i < 3; ++i) {
        auto& record = reinterpret_cast<Outer*>(byMembers)[i];
        StructureSwap::Fields<&Outer::id, &Outer::weights, &Outer::total, &Outer::inner, &Outer::guid, &Outer::name>(
            record);
    }
    EXPECT_EQ(std::memcmp(byLayout, byMembers, sizeof(original)), 0);
    EXPECT_EQ(byLayout[offsetof(Outer, inner) + 3], original[offsetof(Outer, inner) + 3]) << "padding stays";
}

TEST(StructureSwap, LayoutsThatCheckRefuses) {
    static SwapField circle[] = {{0, 1, 0, nullptr}};
    static const SwapLayout round{circle, 1, 4};
    circle[0].nested = &round;
    const SwapField overlapping[] = {{0, 2, 4, nullptr}, {6, 1, 2, nullptr}};
    const SwapField touching[] = {{4, 1, 2, nullptr}, {0, 1, 4, nullptr}};
    const SwapField odd[] = {{0, 1, 3, nullptr}, {1, 2, 4, nullptr},       {0, 0, 4, nullptr}, {0, 1, 0, nullptr},
                             {0, 1, 4, &INNER},  {0, 0xFFFF, 16, nullptr}, {8, 1, 1, nullptr}, {0xFFFF, 1, 1, nullptr}};
    for (const SwapField& field : odd) {
        EXPECT_EQ(StructureSwap::Check({&field, 1, 8}), Z4::ERR_INVALID) << &field - odd;
    }
    for (const SwapLayout& refused : {round, {overlapping, 2, 8}, {nullptr, 1, 8}, {nullptr, 0, 0}}) {
        EXPECT_EQ(StructureSwap::Check(refused), Z4::ERR_INVALID) << refused.recordSize;
    }
    EXPECT_EQ(StructureSwap::Check({touching, 2, 8}), Z4::ERR_OK);
    EXPECT_EQ(StructureSwap::Check({nullptr, 0, 1}), Z4::ERR_OK);
}

} // namespace
