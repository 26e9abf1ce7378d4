// Hunted here: bytes in the wrong order, named identifiers that differ from others' own, random ones where nothing
// gives random numbers.
#if defined(_WIN32)
#    include <tests/support/importhook.h>
#endif

#include <cstddef>
#include <cstring>
#include <gtest/gtest.h>
#include <string>
#include <tests/support/model.h>
#include <tests/support/rows.h>
#include <utility>
#include <zelk_core/base/guid.h>

namespace {

using Z4::GUID;
using Z4::operator""_guid;

std::string Text(const GUID& guid) {
    char text[GUID::FORMAT_SIZE];
    guid.Format(text, sizeof(text));
    return text;
}

constexpr GUID SAMPLE = "{00112233-4455-6677-8899-AABBCCDDEEFF}"_guid;
static_assert(SAMPLE.data1 == 0x00112233 && SAMPLE.data2 == 0x4455 && SAMPLE.data4[7] == 0xFF);
static_assert(SAMPLE == "00112233445566778899aabbccddeeff"_guid && GUID{}.IsNil() && !SAMPLE.IsNil());

TEST(Guid, TextsAndBytes) {
    EXPECT_EQ(Text(SAMPLE), "00112233-4455-6677-8899-aabbccddeeff");
    std::uint8_t bytes[16];
    SAMPLE.ToBytes(bytes);
    for (unsigned i = 0; i < 16; ++i) {
        EXPECT_EQ(bytes[i], 0x11 * i);
    }
    EXPECT_EQ(GUID::FromBytes(bytes), SAMPLE);
    char cut[3];
    EXPECT_TRUE(SAMPLE.Format(cut, sizeof(cut)) == 36 && SAMPLE.Format(cut, 0) == 36);
    EXPECT_STREQ(cut, "00");
    // All other forms, cut and damaged ones among them, are the fuzzer's.
    GUID read{};
    for (const char* const text : {"00112233-4455-6677-8899-aabbccddeeff0", static_cast<const char*>(nullptr)}) {
        EXPECT_TRUE(GUID::Parse(text, read) == Z4::ERR_INVALID && read.IsNil());
    }
}

TEST(Guid, OrderIsThatOfTheTexts) {
    const GUID sorted[] = {GUID{},
                           "00000000-0000-0000-0000-000000000001"_guid,
                           "00000000-0000-0001-0000-000000000000"_guid,
                           "00000000-8000-0000-ff00-000000000000"_guid,
                           "01000000-0000-0000-0000-000000000000"_guid,
                           "ff000000-0000-0000-0000-000000000000"_guid};
    ZelkTest::ExpectAscending(sorted);
}

TEST(Guid, NamedOnes) {
    for (const ZelkTest::Row& row : ZelkTest::Rows("guid.txt")) {
        GUID space{};
        ASSERT_EQ(GUID::Parse(row.Text(0).c_str(), space), Z4::ERR_OK);
        std::string name;
        for (std::uint64_t count = row.Number(2); count != 0; --count) {
            name += row.Text(1);
        }
        EXPECT_EQ(Text(GUID::FromName(space, {name.data(), name.size()})), row.Text(3)) << row.Where();
    }
}

#if defined(_WIN32)
// The platform's own type of that name.
static_assert(sizeof(::GUID) == sizeof(GUID) && alignof(::GUID) == alignof(GUID));
static_assert(offsetof(::GUID, Data2) == offsetof(GUID, data2) && offsetof(::GUID, Data3) == offsetof(GUID, data3) &&
              offsetof(::GUID, Data4) == offsetof(GUID, data4));

bool g_isRefused = true;

BOOLEAN WINAPI FillOrRefuse(void* buffer, ULONG size) {
    void* const fill = reinterpret_cast<void*>(GetProcAddress(GetModuleHandleA("advapi32.dll"), "SystemFunction036"));
    return !g_isRefused && reinterpret_cast<BOOLEAN(WINAPI*)(void*, ULONG)>(fill)(buffer, size) != 0 ? TRUE : FALSE;
}

FARPROC WINAPI FindOwn(HMODULE, const char*) {
    return reinterpret_cast<FARPROC>(reinterpret_cast<void*>(FillOrRefuse));
}

// Comes first, as the function that is found stays.
TEST(Guid, NoneIsGeneratedWithoutRandomNumbers) {
    const std::pair<const char*, void*> refusals[] = {{ZELK_FAILING(LoadLibraryA)},
                                                      {"GetProcAddress", reinterpret_cast<void*>(FindOwn)}};
    ZelkTest::Failure::s_result = 0;
    GUID guid{};
    for (const auto& [import, replacement] : refusals) {
        const ZelkTest::ImportHook hook(import, replacement);
        EXPECT_EQ(GUID::Generate(guid), Z4::ERR_NOT_READY);
    }
    EXPECT_TRUE(guid.IsNil());
    g_isRefused = false;
}

TEST(Guid, GeneratedOnesDifferAndSayHowTheyWereMade) {
    std::uint32_t ever = 0;
    std::uint32_t always = 0xFFFFFFFF;
    for (int i = 0; i < 1000; ++i) {
        GUID guid{};
        ASSERT_EQ(GUID::Generate(guid), Z4::ERR_OK);
        ASSERT_EQ(guid.GetVersion(), 4u);
        ASSERT_EQ(guid.data4[0] & 0xC0, 0x80);
        ever |= guid.data1;
        always &= guid.data1;
    }
    EXPECT_EQ(ever, 0xFFFFFFFF);
    EXPECT_EQ(always, 0u);
}

#endif

} // namespace
