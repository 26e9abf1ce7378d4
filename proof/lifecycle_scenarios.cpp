// Start-up and shut-down of services, and objects that are made once, met by several threads.
#include <proof/explorer.h>
#include <proof/host.h>
#include <zelk_core/base/lifecycle.h>
#include <zelk_core/base/private/singleton.h>
#include <zelk_core/os/lifecycle.h>

using namespace Proof;
using namespace Z4;

namespace {

void UseOs() {
    InitializeOS();
    Check(IsMemoryUp() && IsNetworkUp(), "InitializeOS() has returned and the service is not up");
    ShutdownOS();
}

void UseBase() {
    InitializeBase();
    Check(IsMemoryUp(), "InitializeBase() has returned and the host's memory is not up");
    ShutdownBase();
}

} // namespace

PROOF_SCENARIO(OsServiceOfTwoThreads, 3, SOUND) {
    const Fork other(UseOs);
    UseOs();
}

PROOF_SCENARIO(OsServiceOfThreeThreads, 3, SOUND) {
    const Fork second(UseOs);
    const Fork third(UseOs);
    UseOs();
}

PROOF_SCENARIO(OsServiceTwiceWhileAnotherStopsIt, 3, SOUND) {
    const Fork other([] {
        UseOs();
        UseOs();
    });
    UseOs();
}

PROOF_SCENARIO(OsServiceBesideAnotherPair, 3, SOUND) {
    const Fork other(UseOs);
    UseBase();
    UseBase();
}

namespace {

struct Once {
    Once() {
        ++made;
        Step("making the singleton");
        value = 42;
    }
    ~Once() { --made; }

    static inline unsigned made = 0;
    unsigned value = 0;
};

constinit Private::Singleton<Once> g_once;

void UseOnce() {
    Check(g_once.Get().value == 42, "a singleton is seen before it is complete");
    Check(Once::made == 1, "a singleton is made twice");
}

} // namespace

PROOF_SCENARIO(SingletonOfThreeThreads, 3, SOUND) {
    {
        const Fork second(UseOnce);
        const Fork third(UseOnce);
        UseOnce();
    }
    g_once.Destroy();
    Check(Once::made == 0 && g_once.Find() == nullptr, "a singleton outlives its end");
}

PROOF_SCENARIO(SingletonRefusedAtFirst, 3, SOUND) {
    static std::atomic<std::uintptr_t> state{Private::SINGLETON_NONE};
    static Once* once;
    static bool refuse;
    once = nullptr;
    refuse = true;
    state.store(Private::SINGLETON_NONE);
    const auto make = [] {
        return Private::CreateOnce<Once>(state, [] {
            once = refuse ? nullptr : new Once;
            refuse = false;
            return once;
        });
    };
    Once* found[2] = {};
    {
        const Fork other([&] { found[1] = make(); });
        found[0] = make();
    }
    Check((found[0] == nullptr) + (found[1] == nullptr) >= 1, "a refusal is lost");
    Check(make() == once && once != nullptr, "a refusal is for good");
    delete once;
}
