// Call stacks of functions whose true stack is known. Hunted are: frames that are missing, wrong or in the wrong order,
// captures that do not end or read what is not there, and threads that stay suspended.
#include <tests/os/crowd.h>
#include <tests/services/dbghelp/stackpart.h>
#include <tests/support/guardedpage.h>
#include <tests/support/testhost.h>
#include <tests/support/winsystem.h>

#include <windows.h>

#include <algorithm>
#include <atomic>
#include <functional>
#include <gmock/gmock.h>
#include <host/zelkhost.h>
#include <random>
#include <string>
#include <thread>
#include <vector>
#include <zelk_core/services/dbghelp/callstack.h>
#include <zelk_core/services/dbghelp/lifecycle.h>
#include <zelk_core/services/dbghelp/programmoduledb.h>
#include <zelk_core/services/dbghelp/stacksizemonitordb.h>

namespace {

using namespace Z4;
using testing::ElementsAreArray;
using Addresses = std::vector<const void*>;

Addresses AddressesOf(const CallStack& stack) {
    Addresses addresses;
    for (unsigned long i = 0; i < stack.GetCount(); ++i) {
        addresses.push_back(stack.GetAddress(i));
    }
    return addresses;
}

/// One of the DLLs of stackpart.cpp, loaded as long as it lives.
class Part {
public:
    explicit Part(const char* kind) : m_module(LoadLibraryA(("dbghelp_" + std::string(kind) + ".dll").c_str())) {
        EXPECT_NE(m_module, nullptr) << kind;
        m_function =
            reinterpret_cast<StackPartFunction*>(reinterpret_cast<void (*)()>(GetProcAddress(m_module, "StackPart")));
    }
    ~Part() { FreeLibrary(m_module); }
    Part(const Part&) = delete;
    Part& operator=(const Part&) = delete;

    /// Calls `innermost(truth)` deep in the DLL.
    void Call(int depth, const std::function<void(StackTruth)>& innermost) const {
        struct Work : StackCall {
            const std::function<void(StackTruth)>& work;
        } work{{[](StackCall& call) {
                   static_cast<Work&>(call).work(call.Truth());
                   return 0;
               }},
               innermost};
        m_function(depth, work);
    }
    void Call(int depth, StackCall& call) const { m_function(depth, call); }

private:
    HMODULE m_module;
    StackPartFunction* m_function;
};

class CallStackTest : public testing::Test {
protected:
    CallStackTest() {
        InitializeDbgHelpService(false);
        WinDbgHelp::Instance().IsLoaded(); // from now on the modules that come are known
    }
    ~CallStackTest() override { ShutdownDbgHelpService(); }

    static void Prepare() { EXPECT_EQ(ProgramModuleDB::Instance().Prepare(), ERR_OK); }
};

/// Where in the stack the truth begins; the test fails when it is not there as a whole.
unsigned long PlaceOf(StackTruth truth, const CallStack& stack) {
    const Addresses addresses = AddressesOf(stack);
    const auto at = std::search(addresses.begin(), addresses.end(), truth.begin(), truth.end());
    if (at == addresses.end()) {
        char text[8192];
        stack.ToText(text, sizeof text, CallStack::ORIGINS | CallStack::OFFSETS_ONLY);
        ADD_FAILURE() << text << testing::PrintToString(Addresses(truth.begin(), truth.end()));
    }
    return static_cast<unsigned long>(at - addresses.begin());
}

constexpr const char* KINDS[] = {"tables", "pointers", "neither"};

TEST_F(CallStackTest, HasEveryFrame) {
    for (const bool isPrepared : {false, true}) {
        for (const char* const kind : KINDS) {
            const Part part(kind);
            if (isPrepared) {
                Prepare();
            }
            const FrameOrigin origin = kind == KINDS[0] ? FRAME_TABLE : FRAME_PROVEN;
            for (const int depth : {0, 12}) {
                SCOPED_TRACE(testing::Message() << kind << " " << depth);
                part.Call(depth, [&](StackTruth truth) {
                    CallStack stack;
                    const unsigned long count = stack.Capture(0);
                    EXPECT_EQ(count, stack.GetCount());
                    EXPECT_FALSE(stack.IsCut());
                    const unsigned long place = PlaceOf(truth, stack);
                    EXPECT_LE(place, 10u);
                    ASSERT_LE(place + truth.size(), count);
                    EXPECT_EQ(stack.GetOrigin(0), FRAME_GIVEN);
                    const unsigned long last = place + truth.size() - 1; // can be found in any way
                    for (unsigned long i = 1; i < count; ++i) {
                        const FrameOrigin expected = i >= place && i < last ? origin : FRAME_TABLE;
                        EXPECT_TRUE(stack.GetOrigin(i) == expected || i == last) << i;
                    }
                    CallStack outer;
                    outer.Capture(place);
                    EXPECT_EQ(outer.GetCount() + place, stack.GetCount());
                    EXPECT_EQ(PlaceOf(truth, outer), 0u);
                    EXPECT_EQ(outer.Capture(1000), 0u);
                });
            }
        }
    }
    Part("tables").Call(80, [](StackTruth) {
        CallStack stack;
        EXPECT_EQ(stack.Capture(0), CallStack::MAX_FRAMES);
        EXPECT_TRUE(stack.IsCut());
    });
}

TEST_F(CallStackTest, BeginsWithTheCallerBeforeAnyModuleIsKnown) {
    ShutdownDbgHelpService();
    CallStack stack;
    EXPECT_EQ(stack.Capture(0), 1u);
    InitializeDbgHelpService(false);
    CallStack known;
    known.Capture(0);
    const auto distance = static_cast<const char*>(known.GetAddress(0)) - static_cast<const char*>(stack.GetAddress(0));
    EXPECT_TRUE(distance > 0 && distance < 1000) << distance;
    char line[256];
    stack.ToText(line, sizeof line, CallStack::OFFSETS_ONLY);
    const ZelkTest::LogCapture log;
    stack.Log(EAL_LOG_WARNING, CallStack::OFFSETS_ONLY);
    log.ExpectOnly({{EAL_LOG_WARNING, "services/dbghelp/private/callstack", 164,
                     std::string("[Z4::CallStack] EAL_LOG_WARNING: ") + line}});
}

/// Frame pointers from here on, as in the DLL.
__attribute__((noinline, optimize("no-omit-frame-pointer"))) int CaptureQuickly(StackCall& call) {
    const void* addresses[32];
    const StackTruth truth = call.Truth();
    EXPECT_GE(CallStack::CaptureQuick(addresses, 32, 0), truth.size() + 2);
    EXPECT_THAT(Addresses(addresses + 2, addresses + 2 + truth.size()), ElementsAreArray(truth));
    EXPECT_EQ(CallStack::CaptureQuick(nullptr, 0, 0), 0u);
    const void* two[2];
    EXPECT_EQ(CallStack::CaptureQuick(two, 2, 3), 2u);
    EXPECT_EQ(two[1], addresses[4]);
    // Chains that end at what is in the place of this function's frame pointer.
    auto* const frame = static_cast<std::uintptr_t*>(__builtin_frame_address(0));
    const auto at = reinterpret_cast<std::uintptr_t>(frame);
    const std::uintptr_t saved = frame[0];
    for (const std::uintptr_t broken : {at, at - 4, at + 4, at + 9, std::uintptr_t{0}, ~std::uintptr_t{0} - 3}) {
        frame[0] = broken;
        const unsigned long frames = CallStack::CaptureQuick(addresses, 8, 0);
        frame[0] = saved;
        EXPECT_EQ(frames, 2u) << broken - at;
    }
    return 0;
}

TEST_F(CallStackTest, QuickCaptureFollowsFramePointers) {
    StackCall call{CaptureQuickly};
    Part("pointers").Call(5, call);
}

std::function<void(CONTEXT&)> g_atException;

LONG CALLBACK CallAtException(EXCEPTION_POINTERS* exception) {
    g_atException(*exception->ContextRecord);
    return EXCEPTION_CONTINUE_EXECUTION;
}

TEST_F(CallStackTest, OfAnExceptionIsThatOfTheDebugHelpLibrary) {
    const Part part("tables");
    Prepare();
    CallStack ours;
    CallStack theirs;
    g_atException = [&](CONTEXT& context) {
        ours.CaptureFrom(&context);
        EXPECT_EQ(theirs.CaptureThroughDebugHelp(&context), ERR_OK);
        if (context.Eip == 0) { // back to who called null
            context.Eip = *reinterpret_cast<DWORD*>(context.Esp);
            context.Esp += 4;
        }
    };
    void* const cookie = AddVectoredExceptionHandler(1, CallAtException);
    part.Call(2, [&](StackTruth truth) {
        RaiseException(0x2A, 0, 0, nullptr);
        PlaceOf(truth, ours);
        PlaceOf(truth, theirs);
        // That library stops where it knows a module too little.
        Addresses addresses = AddressesOf(ours);
        ASSERT_GE(addresses.size(), theirs.GetCount());
        addresses.resize(theirs.GetCount());
        EXPECT_THAT(addresses, ElementsAreArray(AddressesOf(theirs)));
        void (*volatile null)() = nullptr;
        null();
        PlaceOf(truth, ours);
        EXPECT_TRUE(ours.GetAddress(0) == nullptr && ours.GetOrigin(1) == FRAME_PROVEN);
    });
    RemoveVectoredExceptionHandler(cookie);
}

TEST_F(CallStackTest, OfAThreadThatWaitsOrRuns) {
    const Part part("tables");
    Prepare();
    CallStack stack;
    std::atomic<DWORD> id;
    {
        ZelkTest::Actor actor;
        for (const bool waits : {true, false}) {
            SCOPED_TRACE(waits);
            ZelkTest::Gate gate;
            std::atomic<bool> stop{false};
            StackTruth truth;
            id = 0;
            actor.Waits([&] {
                part.Call(2, [&](StackTruth own) {
                    truth = own;
                    id = GetCurrentThreadId();
                    if (waits) {
                        gate.Wait();
                    }
                    while (!stop) {
                    }
                });
            });
            while (id == 0) {
                Sleep(1);
            }
            EXPECT_EQ(stack.CaptureThread(id), ERR_OK);
            PlaceOf(truth, stack);
            stop = true;
            gate.Open();
            actor.Proceeds();
        }
    }
    EXPECT_EQ(stack.CaptureThread(GetCurrentThreadId()), ERR_INVALID);
    EXPECT_EQ(stack.CaptureThread(id), ERR_NOT_FOUND) << "it has ended";
    EXPECT_EQ(stack.GetCount(), 0u);
}

TEST_F(CallStackTest, EndsOnEveryStack) {
    const ZelkTest::GuardedPage page;
    const auto begin = static_cast<DWORD>(reinterpret_cast<std::uintptr_t>(page.Begin()));
    const std::vector<DWORD> odd{0, 1, 0xFFFFFFFF, 0x7FFFFFFF, begin - 1, begin + page.SIZE};
    std::vector<DWORD> codes = odd;
    const Part parts[] = {Part("tables"), Part("neither")};
    for (const Part& part : parts) {
        part.Call(1, [&](StackTruth) {
            CallStack real;
            real.Capture(0);
            for (const void* const address : AddressesOf(real)) {
                codes.push_back(static_cast<DWORD>(reinterpret_cast<std::uintptr_t>(address)));
            }
        });
    }
    Prepare();
    std::mt19937 random(1);
    const auto one = [&](const std::vector<DWORD>& of) { return of[random() % of.size()]; };
    const auto any = [&] { return random() % 2 != 0 ? one(codes) : begin + random() % page.SIZE; };
    unsigned long longest = 0;
    for (unsigned round = 0; round < 1000; ++round) {
        std::generate_n(reinterpret_cast<DWORD*>(page.Begin()), page.SIZE / sizeof(DWORD), any);
        CONTEXT context{};
        context.Eip = any() + random() % 3;
        context.Esp = random() % 8 == 0 ? one(random() % 2 != 0 ? odd : codes) : begin + random() % page.SIZE;
        context.Ebp = any();
        context.Ebx = any();
        context.Esi = any();
        CallStack stack;
        ASSERT_GE(stack.CaptureFrom(&context), 1u);
        longest = (std::max)(longest, stack.GetCount());
    }
    EXPECT_GT(longest, 8u) << "the stacks go somewhere";
}

TEST_F(CallStackTest, CapturesWhileModulesComeAndGo) {
    std::atomic<bool> stop{false};
    std::thread capturing([&] {
        while (!stop) {
            CallStack stack;
            EXPECT_GE(stack.Capture(0), 1u);
        }
    });
    for (unsigned i = 0; i < 20; ++i) {
        const Part part(KINDS[i % 2]);
        Prepare();
        for (unsigned change = 0; change < 20; ++change) { // in front of all others, which move
            void* const lowest = reinterpret_cast<void*>(std::uintptr_t{16});
            ProgramModuleDB::UpdateModulesList({0, lowest, 16, L"lowest", L"lowest", change % 2 != 0}, nullptr);
        }
    }
    stop = true;
    capturing.join();
}

TEST_F(CallStackTest, NeedsLittleStackAndNoMemory) {
    ZelkHost::FailAllocations(1);
    EXPECT_EQ(ProgramModuleDB::Instance().Prepare(), ERR_OUT_OF_MEMORY);
    Prepare();
    ZelkHost::FailAllocations(1);
    std::thread([] {
        static CallStack stack;
        StackSizeMonitorDb& monitor = StackSizeMonitorDb::Instance();
        monitor.Paint(32768);
        const unsigned long use = monitor.Sample();
        stack.Capture(0);
        monitor.Sample();
        StackSizeMonitorDb::Entry entry{};
        EXPECT_TRUE(monitor.FindThread(GetCurrentThreadId(), entry));
        EXPECT_LT(entry.largestUse - use, 2048u);
        EXPECT_GE(stack.GetCount(), 3u);
        char text[4096];
        stack.ToText(text, sizeof text, CallStack::OFFSETS_ONLY);
    }).join();
    EXPECT_EQ(ZelkHost::FailAllocations(0), 0u);
}

TEST_F(CallStackTest, TellsEachFrameOnALine) {
    const Part part("tables");
    CallStack stacks[2];
    for (CallStack& stack : stacks) {
        part.Call(0, [&](StackTruth truth) {
            stack.Capture(0);
            const unsigned long place = PlaceOf(truth, stack);
            char text[256];
            stack.FrameToText(place, text, sizeof text, CallStack::OFFSETS_ONLY | CallStack::ORIGINS);
            EXPECT_THAT(text, testing::MatchesRegex(" *\\d+ \\w+ dbghelp_tables.dll\\+0x\\w+ table"));
            EXPECT_EQ(std::stoul(std::string(text).substr(4), nullptr, 16), reinterpret_cast<std::uintptr_t>(truth[0]));
            // The outermost frame of the DLL is in its one export.
            stack.FrameToText(place + truth.size() - 2, text, sizeof text, CallStack::QUICK);
            EXPECT_THAT(text, testing::HasSubstr(" dbghelp_tables.dll!StackPart+0x"));
        });
    }
    EXPECT_EQ(stacks[0].GetHash(), stacks[1].GetHash());
    CallStack other;
    other.Capture(0);
    EXPECT_NE(other.GetHash(), stacks[0].GetHash());

    char text[8192];
    const unsigned long length = stacks[0].ToText(text, sizeof text, CallStack::OFFSETS_ONLY);
    char shortText[10];
    EXPECT_EQ(stacks[0].ToText(shortText, sizeof shortText, CallStack::OFFSETS_ONLY), length);
    EXPECT_EQ(shortText, std::string(text, 9));
    EXPECT_EQ(stacks[0].ToText(nullptr, 0, CallStack::OFFSETS_ONLY), length);
}

} // namespace
