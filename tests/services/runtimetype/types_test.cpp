// Faults hunted: identifiers that are not the hash of the name; comparisons by anything else; casts along a class tree
// that lose or invent a class; for each primitive its tag, size, traits, byte order and text, to the byte and at any
// address.
#include <algorithm>
#include <cstring>
#include <gtest/gtest.h>
#include <limits>
#include <string>
#include <tests/support/model.h>
#include <zelk_core/base/utf.h>
#include <zelk_core/services/runtimetype/dynamictype.h>
#include <zelk_core/services/runtimetype/variabletype.h>

using namespace Z4;

namespace {

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

TEST(TypeID, IsTheHashOfItsName) {
    EXPECT_EQ(TypeID("123456789", TypeID::STANDARD_SEED), TypeID(0xCBF43926));
    const char* const name = "\x80\xFF";
    const TypeID type(name, 0x12345678);
    EXPECT_TRUE(type == Hash::CRC(name, ~0x12345678U) && static_cast<const char*>(type) == name);
    const TypeID none(nullptr, 0);
    EXPECT_TRUE(none == TypeID() && static_cast<const char*>(none) == nullptr);
    const TypeID types[] = {TypeID(), TypeID(1), TypeID(0x80000000), TypeID(0xFFFFFFFF)};
    ZelkTest::ExpectAscending(types);
    EXPECT_TRUE(types[1] == 1u && types[2] > 1u);
    // Two names with one CRC.
    EXPECT_EQ(TypeID("plumless", TypeID::STANDARD_SEED), TypeID("buckeroo", TypeID::STANDARD_SEED));
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
        EXPECT_EQ(Stone::DynamicCast(row.object) != nullptr, row.isA[3]);
    }
    EXPECT_TRUE(Dog::DynamicCast(static_cast<DynamicType*>(&dog)) == &dog && Dog::DynamicCast(nullptr) == nullptr);
    EXPECT_EQ(Dog::StaticType(), TypeID("Dog", TypeID::STANDARD_SEED));
}

std::string Traits(VariableType type) {
    return std::string(type.IsSigned() ? "signed " : "") + (type.IsInteger() ? "integer" : "") +
           (type.IsFloat() ? "floating" : "") + (type.IsPointer() ? "pointer" : "") +
           (type.IsString() ? " string" : "");
}

/// A value and all that its type says of it.
struct Form {
    template <class T>
    Form(T value, unsigned tagOf, const char* traitsOf, const char* textOf)
        : type(VariableType::Of<T>()), tag(tagOf), traits(traitsOf), bytes(sizeof(T), '\0'), text(textOf) {
        std::memcpy(bytes.data(), &value, sizeof(T));
    }

    VariableType type;
    unsigned tag;
    std::string traits;
    std::string bytes;
    std::string text;
};

const char* const NO_TEXT = nullptr;
const wchar_t* const NO_WIDE_TEXT = nullptr;

const Form FORMS[] = {
    {true, VARIABLE_BOOL, "", "true"},
    {false, VARIABLE_BOOL, "", "false"},
    {'x', VARIABLE_CHAR, "", "x"},
    {L'\xE9', VARIABLE_WCHAR, "", "\xC3\xA9"},
    {L'\xD800', VARIABLE_WCHAR, "", "\xEF\xBF\xBD"},
    {static_cast<signed char>(-128), VARIABLE_INT8, "signed integer", "-128"},
    {static_cast<unsigned char>(255), VARIABLE_UINT8, "integer", "255"},
    {static_cast<short>(-32768), VARIABLE_INT16, "signed integer", "-32768"},
    {static_cast<unsigned short>(65534), VARIABLE_UINT16, "integer", "65534"},
    {std::numeric_limits<long>::min(), VARIABLE_INT32, "signed integer", "-2147483648"},
    {4294967294U, VARIABLE_UINT32, "integer", "4294967294"},
    {std::numeric_limits<long long>::min(), VARIABLE_INT64, "signed integer", "-9223372036854775808"},
    {18446744073709551614ULL, VARIABLE_UINT64, "integer", "18446744073709551614"},
    {0.1F, VARIABLE_FLOAT, "signed floating", "0.1"},
    {std::numeric_limits<float>::infinity(), VARIABLE_FLOAT, "signed floating", "+inf"},
    {-1234567.125, VARIABLE_DOUBLE, "signed floating", "-1234567.125"},
    {reinterpret_cast<int*>(0x12ABCD), VARIABLE_POINTER, "pointer", "0x0012ABCD"},
    {"a text", VARIABLE_STRING, "pointer string", "a text"},
    {NO_TEXT, VARIABLE_STRING, "pointer string", "(null)"},
    {NO_WIDE_TEXT, VARIABLE_WSTRING, "pointer string", "(null)"},
    {L"a\xE9\xD800", VARIABLE_WSTRING, "pointer string", "a\xC3\xA9\xEF\xBF\xBD"},
    {0.0L, VARIABLE_NONE, "", ""},
};

TEST(VariableType, KnowsThePrimitives) {
    for (const Form& form : FORMS) {
        SCOPED_TRACE(form.text);
        const VariableType type = form.type;
        // At an odd address.
        std::string memory = '#' + form.bytes;
        void* const value = memory.data() + 1;
        EXPECT_EQ(type, VariableType(form.tag));
        EXPECT_EQ(Traits(type), form.traits);
        EXPECT_EQ(type.Size(), form.tag == VARIABLE_NONE ? 0 : form.bytes.size());
        EXPECT_EQ(type.Size(nullptr), type.Size());
        EXPECT_TRUE(type.IsString() || type.Size(value) == type.Size());
        EXPECT_TRUE(form.text != "(null)" || type.Size(value) == 0);
        char text[128];
        const auto length = static_cast<int>(form.text.size());
        EXPECT_EQ(type.Print(text, sizeof(text), value), length);
        EXPECT_EQ(text, form.text);
        char cut[4] = "###";
        EXPECT_EQ(type.Print(cut, 3, value), length);
        // No character of UTF-8 is split.
        EXPECT_EQ(cut, std::string(form.text, 0, Utf::Cut(form.text.c_str(), 2).Size()));
        EXPECT_EQ(type.Print(nullptr, 0, value), length);
        EXPECT_EQ(type.Print(text, sizeof(text), nullptr), 0);
        EXPECT_STREQ(text, "");
        type.SwapByte(value);
        type.SwapByte(nullptr);
        std::string swapped = form.bytes;
        if (!type.IsPointer()) {
            std::reverse(swapped.begin(), swapped.begin() + static_cast<std::ptrdiff_t>(type.Size()));
        }
        EXPECT_EQ(memory, '#' + swapped);
    }
    EXPECT_EQ(VariableType(VARIABLE_WSTRING + 1).GetTag(), VARIABLE_NONE);
    EXPECT_EQ(VariableType::Of<const volatile unsigned long>().GetTag(), VARIABLE_UINT32);
    EXPECT_EQ(VariableType::Of<void (*)()>().GetTag(), VARIABLE_NONE);
    const char* text = "four";
    const wchar_t* wide = L"six";
    EXPECT_EQ(VariableType::Of<const char*>().Size(&text), 5u);
    EXPECT_EQ(VariableType::Of<const wchar_t*>().Size(&wide), 8u);
}

} // namespace
