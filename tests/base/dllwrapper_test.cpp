// Modules that stay, go or are replaced against the contract, messages that change, and wrappers outside the host's
// memory.
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

class Picky : public DllWrapper {
public:
    using DllWrapper::DllWrapper;
    bool accept = false;
    std::string askedFor;

protected:
    bool ValidateDLL(const char* name) override {
        askedFor = name;
        EXPECT_TRUE(IsDLLLoaded());
        return accept;
    }
};

class CountingLock {
public:
    void Lock() { EXPECT_EQ(++depth, 1); }
    void Unlock() { EXPECT_EQ(--depth, 0); }
    int depth = 0;
};

} // namespace

TEST(DllWrapper, LoadsKeepsTheFirstAndFrees) {
    const LogCapture capture;
    {
        DllWrapper wrapper;
        EXPECT_TRUE(!wrapper.IsDLLLoaded() && wrapper.GetDLLHandle() == nullptr && !IsMapped(SYSTEM_DLL));
        wrapper.LoadDLL(SYSTEM_DLL, true);
        ASSERT_TRUE(wrapper.IsDLLLoaded());
        wrapper.LoadDLL(MISSING_DLL, true);
        EXPECT_EQ(wrapper.GetDLLHandle(), GetModuleHandleA(SYSTEM_DLL));
    }
    EXPECT_FALSE(IsMapped(SYSTEM_DLL));
    capture.ExpectOnly({});
}

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
    picky.LoadDLL(SYSTEM_DLL, true);
    EXPECT_TRUE(picky.IsDLLLoaded());
    const Picky constructed(SYSTEM_DLL); // would refuse, but a constructor consults only the base check
    EXPECT_TRUE(constructed.IsDLLLoaded() && constructed.askedFor.empty());
}

TEST(DllWrapper, CopiesShareTheHandle) {
    DllWrapper first(SYSTEM_DLL);
    // Wrappers do not count, so the copies are paid for with loads of their own.
    LoadLibraryA(SYSTEM_DLL);
    LoadLibraryA(SYSTEM_DLL);
    {
        const DllWrapper copy(first);
        DllWrapper assigned;
        assigned = std::move(first);
        assigned = *&assigned;
        EXPECT_TRUE(copy.GetDLLHandle() == first.GetDLLHandle() && assigned.GetDLLHandle() == first.GetDLLHandle());
    }
    EXPECT_TRUE(IsMapped(SYSTEM_DLL));
}

TEST(DllWrapper, LivesInTheHostsMemory) {
    const std::size_t before = ZelkTest::OutstandingMemory().blocks;
    const auto* const wrapper = new DllWrapper;
    EXPECT_EQ(ZelkTest::OutstandingMemory().blocks, before + 1);
    delete wrapper;
    alignas(DllWrapper) unsigned char storage[sizeof(DllWrapper)];
    const auto* const placed = new (storage) DllWrapper;
    EXPECT_EQ(ZelkTest::OutstandingMemory().blocks, before);
    placed->~DllWrapper();
    ZelkTest::FailAllocations(1);
    EXPECT_EQ(new DllWrapper, nullptr);
    ZelkTest::FailAllocations(0);
}

TEST(ThreadSafeDllWrapper, LoadsUnderItsLock) {
    const LogCapture capture;
    ThreadSafeDllWrapper<CountingLock> wrapper;
    for (const char* const name : {MISSING_DLL, SYSTEM_DLL, SYSTEM_DLL}) {
        wrapper.LoadDLL(name, true);
    }
    EXPECT_TRUE(wrapper.IsDLLLoaded());
    EXPECT_EQ(capture.Lines().size(), 1u);
}
