#include "check.h"

#include <cstring>
#include <cwchar>
#include <zelk_core/zelk_core.h>

namespace {

void CheckFormatter() {
    char text[64];
    CHECK(Z4::StrFormat::snprintf(text, sizeof text, "%5.2f|%-4s|%08X|%llu", 3.14159, "ab", 0xBEEFu, 1ull << 40) == 33);
    CHECK(std::strcmp(text, " 3.14|ab  |0000BEEF|1099511627776") == 0);
    wchar_t wide[32];
    CHECK(Z4::StrFormat::snprintf(wide, 32, L"%d of %d", 3, 7) == 6 && std::wcscmp(wide, L"3 of 7") == 0);
}

/// The system's own library, checked by a virtual function that is implemented here and called from there.
class CheckedDll : public Z4::DllWrapper {
public:
    bool ValidateDLL(const char* name) override {
        m_validated = std::strcmp(name, "ws2_32.dll") == 0;
        return m_validated;
    }
    bool WasValidated() const { return m_validated; }

private:
    bool m_validated = false;
};

} // namespace

void CheckBase() {
    CheckFormatter();
    CHECK(Z4::Hash::CRC("123456789") == 0xCBF43926);
    CHECK(Z4::Hash::CTCRC32B("zelk", 0) != 0 && Z4::Hash::XXH32("", 0) == 0x02CC5D05);
    CHECK(Z4::Hash::XXH64(reinterpret_cast<const unsigned char*>(""), 0) == 0xEF46DB3751D8E999);

    const Z4::Platform& machine = Z4::Platform::GetRef();
    CHECK(machine.GetNbProcessors() >= 1 && machine.GetVendor() <= Z4::ProcessorVendor::UNKNOWN);
    CHECK(Z4::Platform::GetMemoryInfo().workingSetSize != 0);
    CHECK(std::strcmp(Z4::GetErrorString(Z4::ERR_TIMEOUT), Z4::GetErrorString(Z4::ERR_OK)) != 0);

    CheckedDll dll;
    dll.LoadDLL("ws2_32.dll", true);
    CHECK(dll.IsDLLLoaded() && dll.WasValidated());
}
