// Modules that stay, go or are replaced against the contract, messages that change, and a lock that is not held or not
// let go.
#include <tests/support/testhost.h>

#include <gtest/gtest.h>
#include <string>
#include <utility>
#include <windows.h>
#include <zelk_core/base/dllwrapper.h>

using namespace Z4;
using ZelkTest::LogCapture;

namespace {

const char* const SYSTEM_DLL = "winmm.dll"; // Not among this program's own imports.
const char* const MISSING_DLL = "no_such_module.dll";

bool IsMapped(const char* name) {
    return GetModuleHandleA(name) != nullptr;
}

struct CountingLock {
    void Lock() { EXPECT_EQ(++depth, 1); }
    void Unlock() { EXPECT_EQ(--depth, 0); }
    int depth = 0;
};

class Picky : public ThreadSafeDllWrapper<CountingLock> {
public:
    using ThreadSafeDllWrapper::ThreadSafeDllWrapper;
    bool accept = false;
    std::string askedFor;

protected:
    bool ValidateDLL(const char* name) override {
        askedFor = name;
        EXPECT_TRUE(IsDLLLoaded() && depth == 1);
        return accept;
    }
};

} // namespace

TEST(DllWrapper, ReportsAMissingModuleAsInformation) {
    const LogCapture capture;
    DllWrapper wrapper(MISSING_DLL);
    wrapper.LoadDLL(MISSING_DLL, false);
    wrapper.LoadDLL(nullptr, true);
    EXPECT_FALSE(wrapper.IsDLLLoaded());
    const auto message = [](const char* name) {
        return ZelkTest::ExpectedLine{1, "base/dllwrapper", 141,
                                      std::string("[Z4::DllWrapper] EAL_LOG_INFO: Unable to load ") + name +
                                          ". Calls to this dll will be unsuccessful\n\n"};
    };
    capture.ExpectOnly({message(MISSING_DLL), message("(null)")});
}

TEST(DllWrapper, FreesARefusedModuleAndReportsAnError) {
    const LogCapture capture;
    Picky picky;
    picky.LoadDLL(SYSTEM_DLL, false);
    capture.ExpectOnly({});
    picky.LoadDLL(SYSTEM_DLL, true);
    EXPECT_EQ(picky.askedFor, SYSTEM_DLL);
    EXPECT_FALSE(picky.IsDLLLoaded() || IsMapped(SYSTEM_DLL));
    capture.ExpectOnly({{4, "base/dllwrapper", 133,
                         "[Z4::DllWrapper] EAL_LOG_ERROR: Loaded the DLL called \"winmm.dll\" but this version is not "
                         "valid. Calls to this DLL will be unsuccessful. You may need a different version or to "
                         "specify a different path.\n\n"}});
    picky.accept = true;
    for (const char* const name : {SYSTEM_DLL, MISSING_DLL}) {
        picky.LoadDLL(name, true);
        EXPECT_EQ(picky.GetDLLHandle(), GetModuleHandleA(SYSTEM_DLL));
    }
    const Picky constructed(SYSTEM_DLL); // would refuse, but a constructor consults only the base check
    EXPECT_TRUE(constructed.IsDLLLoaded() && constructed.askedFor.empty());
}

TEST(DllWrapper, CopiesShareTheHandleAndEachFreesIt) {
    EXPECT_FALSE(IsMapped(SYSTEM_DLL)) << "the other tests' wrappers are gone";
    {
        DllWrapper first(SYSTEM_DLL);
        const DllWrapper copy(first);
        DllWrapper assigned;
        assigned = std::move(first);
        assigned = *&assigned;
        // Wrappers do not count: the copies are paid for with loads of their own, and one more is left.
        EXPECT_TRUE(copy.GetDLLHandle() == LoadLibraryA(SYSTEM_DLL) && assigned.GetDLLHandle() == copy.GetDLLHandle());
        LoadLibraryA(SYSTEM_DLL);
        LoadLibraryA(SYSTEM_DLL);
    }
    EXPECT_TRUE(FreeLibrary(GetModuleHandleA(SYSTEM_DLL)) != 0 && !IsMapped(SYSTEM_DLL));
}
