#include "check.h"

#include <cstring>
#include <zelk_core/zelk_core.h>

namespace {

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
    const Z4::Platform& machine = Z4::Platform::GetRef();
    CHECK(machine.GetNbProcessors() >= 1 && machine.GetVendor() <= Z4::ProcessorVendor::UNKNOWN);
    CHECK(Z4::Platform::GetMemoryInfo().workingSetSize != 0);

    CheckedDll dll;
    dll.LoadDLL("ws2_32.dll", true);
    CHECK(dll.IsDLLLoaded() && dll.WasValidated());
}
