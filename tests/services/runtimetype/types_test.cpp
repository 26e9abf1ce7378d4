#include <bit>
#include <cstring>
#include <gtest/gtest.h>
#include <limits>
#include <string>
#include <zelk_core/services/runtimetype/dynamictype.h>
#include <zelk_core/services/runtimetype/variabletype.h>

using namespace Z4;

namespace {

/// CRC-32 bit by bit, from a register to a register.
std::uint32_t BitwiseRegister(const std::string& text, std::uint32_t crc) {
    for (const char c : text) {
        crc ^= static_cast<unsigned char>(c);
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc >> 1) ^ ((crc & 1) != 0 ? 0xEDB88320 : 0);
        }
    }
    return crc;
}

class Animal : public DynamicType {
    Z4_DYNAMIC_TYPE(Animal, DynamicType)
    int legs = 4;
};

struct Named {
    virtual ~Named() = default;
    int name = 0;
};

/// The type queries lie in its second base.
class Dog : public Named, public Animal {
    Z4_DYNAMIC_TYPE(Dog, Animal)
};

/// Keeps silent about itself.
class Puppy : public Dog {};

class Stone : public DynamicType {
    Z4_DYNAMIC_TYPE(Stone, DynamicType)
};

} // namespace

TEST(TypeID, IsTheHashOfItsName) {
    EXPECT_EQ(TypeID("123456789", TypeID::STANDARD_SEED), TypeID(0xCBF43926));
    for (const std::uint32_t seed : {0xFFFFFFFFU, 0U, 0x12345678U}) {
        for (const char* const name : {"", "a", "Z4::ClassFactory", "\x80\xFF"}) {
            const TypeID type(name, seed);
            EXPECT_EQ(static_cast<unsigned long>(type), ~BitwiseRegister(name, seed));
            EXPECT_EQ(static_cast<const char*>(type), name);
        }
        const TypeID none(nullptr, seed);
        EXPECT_EQ(none, TypeID());
        EXPECT_EQ(static_cast<unsigned long>(none), 0u);
        EXPECT_EQ(static_cast<const char*>(none), nullptr);
    }
    EXPECT_EQ(static_cast<const char*>(TypeID(7)), nullptr);
}

TEST(TypeID, ComparesIdentifiersOnly) {
    const TypeID low(1);
    const TypeID high(0x80000000);
    EXPECT_TRUE(low < high && low <= high && high > low && high >= low && low != high);
    EXPECT_FALSE(low > high || low >= high || high < low || high <= low || low == high);
    EXPECT_TRUE(low <= TypeID(1) && low >= TypeID(1));
    // Two names with one CRC.
    EXPECT_EQ(TypeID("plumless", TypeID::STANDARD_SEED), TypeID("buckeroo", TypeID::STANDARD_SEED));
    EXPECT_TRUE(low == 1u && high > 1u);
}

TEST(DynamicType, AnswersForItsClassAndItsBases) {
    Dog dog;
    Puppy puppy;
    Stone stone;
    DynamicType plain;
    const TypeID types[] = {DynamicType::StaticType(), Animal::StaticType(), Dog::StaticType(), Stone::StaticType(),
                            TypeID()};
    const struct {
        DynamicType* object;
        const char* name;
        bool isA[5];
    } objects[] = {
        {&plain, "DynamicType", {true, false, false, false, false}},
        {&dog, "Dog", {true, true, true, false, false}},
        {&puppy, "Dog", {true, true, true, false, false}},
        {&stone, "Stone", {true, false, false, true, false}},
    };
    for (const auto& row : objects) {
        EXPECT_STREQ(row.object->GetTypeNameExt(), row.name);
        for (unsigned i = 0; i < 5; ++i) {
            EXPECT_EQ(row.object->IsAKindOf(types[i]), row.isA[i]) << row.name << " and type " << i;
        }
        EXPECT_EQ(DynamicType::DynamicCast(row.object), row.object);
        EXPECT_EQ(Animal::DynamicCast(row.object) != nullptr, row.isA[1]);
    }
    DynamicType* const asType = &dog;
    EXPECT_EQ(Dog::DynamicCast(asType), &dog);
    EXPECT_EQ(Stone::DynamicCast(asType), nullptr);
    EXPECT_EQ(Dog::DynamicCast(nullptr), nullptr);
    EXPECT_EQ(Dog::StaticType(), TypeID("Dog", TypeID::STANDARD_SEED));
}

namespace {

template <class T>
std::string Print(T value) {
    // At an odd address.
    unsigned char bytes[sizeof(T) + 1];
    std::memcpy(bytes + 1, &value, sizeof(T));
    char text[128];
    const int length = VariableType::Of<T>().Print(text, sizeof(text), bytes + 1);
    EXPECT_EQ(static_cast<std::size_t>(length), std::strlen(text));
    char cut[4] = "###";
    EXPECT_EQ(VariableType::Of<T>().Print(cut, 3, bytes + 1), length);
    EXPECT_EQ(std::string(cut), std::string(text).substr(0, 2));
    EXPECT_EQ(VariableType::Of<T>().Print(nullptr, 0, bytes + 1), length);
    return text;
}

template <class T>
T Swap(T value) {
    VariableType::Of<T>().SwapByte(&value);
    return value;
}

} // namespace

TEST(VariableType, KnowsThePrimitives) {
    enum Traits : unsigned {
        POINTER = 1,
        SIGNED = 2,
        INTEGER = 4,
        FLOATING = 8,
        STRING = 16
    };
    const struct {
        VariableType type;
        unsigned tag;
        unsigned size;
        unsigned traits;
    } rows[] = {
        {VariableType::Of<bool>(), VARIABLE_BOOL, 1, 0},
        {VariableType::Of<char>(), VARIABLE_CHAR, 1, 0},
        {VariableType::Of<wchar_t>(), VARIABLE_WCHAR, 2, 0},
        {VariableType::Of<signed char>(), VARIABLE_INT8, 1, INTEGER | SIGNED},
        {VariableType::Of<unsigned char>(), VARIABLE_UINT8, 1, INTEGER},
        {VariableType::Of<short>(), VARIABLE_INT16, 2, INTEGER | SIGNED},
        {VariableType::Of<unsigned short>(), VARIABLE_UINT16, 2, INTEGER},
        {VariableType::Of<const long>(), VARIABLE_INT32, 4, INTEGER | SIGNED},
        {VariableType::Of<unsigned int>(), VARIABLE_UINT32, 4, INTEGER},
        {VariableType::Of<long long>(), VARIABLE_INT64, 8, INTEGER | SIGNED},
        {VariableType::Of<unsigned long long>(), VARIABLE_UINT64, 8, INTEGER},
        {VariableType::Of<float>(), VARIABLE_FLOAT, 4, FLOATING | SIGNED},
        {VariableType::Of<double>(), VARIABLE_DOUBLE, 8, FLOATING | SIGNED},
        {VariableType::Of<int*>(), VARIABLE_POINTER, 4, POINTER},
        {VariableType::Of<const char*>(), VARIABLE_STRING, 4, POINTER | STRING},
        {VariableType::Of<wchar_t*>(), VARIABLE_WSTRING, 4, POINTER | STRING},
        {VariableType::Of<long double>(), VARIABLE_NONE, 0, 0},
        {VariableType(VARIABLE_WSTRING + 1), VARIABLE_NONE, 0, 0},
        {VariableType(0xFFFFFFFF), VARIABLE_NONE, 0, 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.tag);
        EXPECT_EQ(row.type.GetTag(), row.tag);
        EXPECT_EQ(row.type, VariableType(row.tag));
        EXPECT_EQ(row.type.Size(), row.size);
        EXPECT_EQ(row.type.Size(nullptr), row.size);
        EXPECT_EQ(row.type.IsPointer(), (row.traits & POINTER) != 0);
        EXPECT_EQ(row.type.IsSigned(), (row.traits & SIGNED) != 0);
        EXPECT_EQ(row.type.IsInteger(), (row.traits & INTEGER) != 0);
        EXPECT_EQ(row.type.IsFloat(), (row.traits & FLOATING) != 0);
        EXPECT_EQ(row.type.IsString(), (row.traits & STRING) != 0);
        row.type.SwapByte(nullptr);
        char text[] = "#";
        EXPECT_EQ(row.type.Print(text, sizeof(text), nullptr), 0);
        EXPECT_STREQ(text, "");
    }
    const char* text = "four";
    const wchar_t* wide = L"six";
    int number = 0;
    EXPECT_EQ(VariableType::Of<const char*>().Size(&text), 5u);
    EXPECT_EQ(VariableType::Of<const wchar_t*>().Size(&wide), 8u);
    EXPECT_EQ(VariableType::Of<int>().Size(&number), 4u);
    text = nullptr;
    EXPECT_EQ(VariableType::Of<const char*>().Size(&text), 0u);
}

TEST(VariableType, SwapsBytes) {
    EXPECT_EQ(Swap<std::uint8_t>(0x12), 0x12);
    EXPECT_EQ(Swap<std::int16_t>(0x1234), 0x3412);
    EXPECT_EQ(Swap<wchar_t>(0x1234), 0x3412);
    EXPECT_EQ(Swap(0x12345678U), 0x78563412U);
    EXPECT_EQ(Swap(0x123456789ABCDEFULL), 0xEFCDAB8967452301ULL);
    EXPECT_EQ(Swap(1.0F), std::bit_cast<float>(0x0000803FU));
    EXPECT_EQ(Swap(1.0), std::bit_cast<double>(0x000000000000F03FULL));
    const char* const text = "stays";
    EXPECT_EQ(Swap(text), text);
}

TEST(VariableType, Prints) {
    EXPECT_EQ(Print(true) + Print(false), "truefalse");
    EXPECT_EQ(Print('x'), "x");
    EXPECT_EQ(Print<signed char>(-128), "-128");
    EXPECT_EQ(Print<unsigned char>(255), "255");
    EXPECT_EQ(Print<short>(-32768), "-32768");
    EXPECT_EQ(Print<unsigned short>(65535), "65535");
    EXPECT_EQ(Print(std::numeric_limits<int>::min()), "-2147483648");
    EXPECT_EQ(Print(4294967295U), "4294967295");
    EXPECT_EQ(Print(std::numeric_limits<long long>::min()), "-9223372036854775808");
    EXPECT_EQ(Print(18446744073709551615ULL), "18446744073709551615");
    EXPECT_EQ(Print(0.1F), "0.1");
    EXPECT_EQ(Print(-1234567.125), "-1234567.125");
    EXPECT_EQ(Print(std::numeric_limits<float>::infinity()), "+inf");
    EXPECT_EQ(Print(reinterpret_cast<void*>(0x12ABCD)), "0x0012ABCD");
    EXPECT_EQ(Print<const char*>("a text"), "a text");
    EXPECT_EQ(Print<const char*>(nullptr), "(null)");
    EXPECT_EQ(Print<const wchar_t*>(nullptr), "(null)");
    // One to four bytes of UTF-8, and surrogates without a partner, first, last and the wrong way round.
    EXPECT_EQ(Print(L"a\x7F\x80\x7FF\x800\xFFFF"), "a\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF");
    EXPECT_EQ(Print(L"\xD800\xDC00\xDBFF\xDFFF"), "\xF0\x90\x80\x80\xF4\x8F\xBF\xBF");
    EXPECT_EQ(Print(L"\xDC00\xD800"), "\xEF\xBF\xBD\xEF\xBF\xBD");
    EXPECT_EQ(Print(L'\xD800'), "\xEF\xBF\xBD");
    EXPECT_EQ(Print(L'\xE9'), "\xC3\xA9");
}
