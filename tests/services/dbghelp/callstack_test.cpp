// Call stacks of functions whose true stack is known. Hunted are: frames that are missing, wrong or in the wrong order,
// captures that do not end or read what is not there, and threads that stay suspended.
#include <tests/services/dbghelp/stackpart.h>
#include <tests/support/testhost.h>

#include <windows.h>

#include <algorithm>
#include <atomic>
#include <cstring>
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
    void Call(int depth, std::function<void(const StackTruth&)> innermost) const {
        struct Context {
            std::function<void(const StackTruth&)> innermost;
            StackTruth truth{};
        } context{std::move(innermost)};
        m_function(
            depth,
            [](void* given) {
                auto& own = *static_cast<Context*>(given);
                own.innermost(own.truth);
                return 0;
            },
            &context, &context.truth);
    }

    StackPartFunction* Function() const { return m_function; }

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
unsigned long PlaceOf(const StackTruth& truth, const CallStack& stack) {
    const Addresses addresses = AddressesOf(stack);
    const auto at = std::search(addresses.begin(), addresses.end(), truth.addresses, truth.addresses + truth.count);
    if (at == addresses.end()) {
        char text[8192];
        stack.ToText(text, sizeof text, CallStack::ORIGINS | CallStack::OFFSETS_ONLY);
        ADD_FAILURE() << text << testing::PrintToString(Addresses(truth.addresses, truth.addresses + truth.count));
    }
    return static_cast<unsigned long>(at - addresses.begin());
}

constexpr const char* KINDS[] = {"tables", "pointers", "neither"};

#if defined(__OPTIMIZE__)
constexpr bool IS_OPTIMIZED = true;
#else
constexpr bool IS_OPTIMIZED = false;
#endif

TEST_F(CallStackTest, HasEveryFrame) {
    for (const bool isPrepared : {false, true}) {
        for (const char* const kind : KINDS) {
            const Part part(kind);
            if (isPrepared) {
                Prepare();
            }
            for (const int depth : {0, 3, 12}) {
                SCOPED_TRACE(testing::Message() << kind << " " << depth);
                part.Call(depth, [&](const StackTruth& truth) {
                    CallStack stack;
                    const unsigned long count = stack.Capture(0);
                    EXPECT_EQ(count, stack.GetCount());
                    EXPECT_GT(count, 3u);
                    if (!IS_OPTIMIZED) { // then frames of inline functions lie in between
                        return;
                    }
                    const unsigned long place = PlaceOf(truth, stack);
                    EXPECT_LE(place, 6u);
                    EXPECT_EQ(stack.GetOrigin(0), FRAME_GIVEN);
                    for (unsigned long i = 1; i < stack.GetCount(); ++i) {
                        const bool isInPart = kind != KINDS[0] && i >= place && i + 1 < place + truth.count;
                        EXPECT_TRUE(stack.GetOrigin(i) == FRAME_TABLE ||
                                    (isInPart && stack.GetOrigin(i) == FRAME_PROVEN) || i + 1 == place + truth.count)
                            << i;
                    }
                    CallStack outer;
                    outer.Capture(place);
                    EXPECT_EQ(outer.GetCount() + place, stack.GetCount());
                    EXPECT_EQ(PlaceOf(truth, outer), 0u);
                    outer.Capture(1000);
                    EXPECT_EQ(outer.GetCount(), 0u);
                    EXPECT_FALSE(stack.IsCut());
                });
            }
        }
    }
    if (!IS_OPTIMIZED) {
        return;
    }
    const Part part("tables");
    part.Call(27, [&](const StackTruth& truth) {
        CallStack stack;
        stack.Capture(0);
        const unsigned long rest = stack.GetCount() - PlaceOf(truth, stack) - truth.count;
        ASSERT_LT(stack.GetCount(), 64u);
        std::function<unsigned long(unsigned long)> deeper = [&](unsigned long count) -> unsigned long {
            return count != 0 ? deeper(count - 1) + 1 : (stack.Capture(0), rest);
        };
        deeper(60);
        EXPECT_TRUE(stack.IsCut());
        EXPECT_EQ(stack.GetCount(), 64u);
    });
}

TEST_F(CallStackTest, BeginsWithTheCallerBeforeAnyModuleIsKnown) {
    ShutdownDbgHelpService();
    CallStack stack;
    EXPECT_EQ(stack.Capture(0), 1u);
    InitializeDbgHelpService(false);
    CallStack known;
    known.Capture(0);
    ProgramModuleDB::Module module;
    ASSERT_TRUE(ProgramModuleDB::Instance().FindModule(stack.GetAddress(0), module));
    EXPECT_EQ(module.baseAddress, static_cast<void*>(GetModuleHandleA(nullptr)));
    EXPECT_LT(static_cast<const char*>(known.GetAddress(0)) - static_cast<const char*>(stack.GetAddress(0)), 1000);
}

/// Frame pointers from here on, as in the DLL.
__attribute__((noinline, optimize("no-omit-frame-pointer"))) int CaptureQuickly(void* context) {
    Addresses& addresses = *static_cast<Addresses*>(context);
    addresses.resize(32);
    addresses.resize(CallStack::CaptureQuick(addresses.data(), 32, 0));
    void* system[32];
    const unsigned long count = RtlCaptureStackBackTrace(0, 32, system, nullptr);
    // Systems begin at different frames.
    EXPECT_GE(count, 8u);
    EXPECT_THAT(Addresses(addresses.end() - static_cast<int>(count) + 1, addresses.end()),
                ElementsAreArray(system + 1, count - 1));
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
        const void* few[8];
        const unsigned long frames = CallStack::CaptureQuick(few, 8, 0);
        frame[0] = saved;
        EXPECT_EQ(frames, 2u) << broken - at;
    }
    return 0;
}

TEST_F(CallStackTest, QuickCaptureFollowsFramePointers) {
    const Part part("pointers");
    Addresses addresses;
    StackTruth truth{};
    part.Function()(5, CaptureQuickly, &addresses, &truth);
    EXPECT_GE(addresses.size(), 12u);
}

/// While it lives, `handle` is called with the context of exceptions on this thread, and the program goes on with what
/// it has made of it.
class Handler {
public:
    explicit Handler(std::function<void(CONTEXT&)> handle)
        : m_handle(std::move(handle)), m_cookie(AddVectoredExceptionHandler(1, Handle)) {
        s_current = this;
    }
    ~Handler() { RemoveVectoredExceptionHandler(m_cookie); }
    Handler(const Handler&) = delete;
    Handler& operator=(const Handler&) = delete;

private:
    static LONG CALLBACK Handle(EXCEPTION_POINTERS* exception) {
        s_current->m_handle(*exception->ContextRecord);
        return EXCEPTION_CONTINUE_EXECUTION;
    }

    static inline Handler* s_current;
    std::function<void(CONTEXT&)> m_handle;
    void* m_cookie;
};

TEST_F(CallStackTest, OfAnExceptionIsThatOfTheDebugHelpLibrary) {
    Prepare();
    const Part part("tables");
    CallStack ours;
    CallStack theirs;
    const Handler handler([&](CONTEXT& context) {
        ours.CaptureFrom(&context);
        EXPECT_EQ(theirs.CaptureThroughDebugHelp(&context), ERR_OK);
    });
    part.Call(2, [&](const StackTruth& truth) {
        RaiseException(0x2A, 0, 0, nullptr);
        PlaceOf(truth, ours);
        PlaceOf(truth, theirs);
    });
    // That library stops where it knows a module too little.
    Addresses addresses = AddressesOf(ours);
    ASSERT_GE(addresses.size(), theirs.GetCount());
    addresses.resize(theirs.GetCount());
    EXPECT_THAT(addresses, ElementsAreArray(AddressesOf(theirs)));
}

TEST_F(CallStackTest, OfACallOfNullHasTheCaller) {
    Prepare();
    CallStack stack;
    const Handler handler([&](CONTEXT& context) {
        stack.CaptureFrom(&context);
        context.Eip = *reinterpret_cast<DWORD*>(context.Esp);
        context.Esp += 4;
    });
    CallStack around;
    void (*volatile null)() = nullptr;
    around.Capture(1);
    null();
    ASSERT_GE(stack.GetCount(), 3u);
    EXPECT_EQ(stack.GetAddress(0), nullptr);
    EXPECT_EQ(stack.GetOrigin(1), FRAME_PROVEN);
    Addresses addresses = AddressesOf(stack);
    addresses.erase(addresses.begin(), addresses.begin() + 2);
    EXPECT_THAT(addresses, ElementsAreArray(AddressesOf(around)));
}

TEST_F(CallStackTest, OfAThreadWhateverItWaitsFor) {
    Prepare();
    const Part part("tables");
    CRITICAL_SECTION section;
    InitializeCriticalSection(&section);
    EnterCriticalSection(&section);
    const HANDLE event = CreateEventA(nullptr, TRUE, FALSE, nullptr);
    std::atomic<bool> stop{false};
    const std::function<void()> waits[] = {
        [&] { WaitForSingleObject(event, INFINITE); },
        [&] {
            while (!stop) {
                Sleep(10);
            }
        },
        [&] {
            EnterCriticalSection(&section);
            LeaveCriticalSection(&section);
        },
        [&] {
            while (!stop) {
            }
        },
    };
    std::vector<std::thread> threads;
    std::atomic<DWORD> ids[4]{};
    StackTruth truths[4];
    for (unsigned i = 0; i < 4; ++i) {
        threads.emplace_back([&, i] {
            part.Call(2, [&](const StackTruth& truth) {
                truths[i] = truth;
                ids[i] = GetCurrentThreadId();
                waits[i]();
            });
        });
        // One at a time: what the DLL notes is global.
        while (ids[i] == 0) {
            Sleep(1);
        }
        Sleep(20);
        CallStack stack;
        EXPECT_EQ(stack.CaptureThread(ids[i]), ERR_OK);
        SCOPED_TRACE(i);
        PlaceOf(truths[i], stack);
    }
    stop = true;
    SetEvent(event);
    LeaveCriticalSection(&section);
    for (std::thread& thread : threads) {
        thread.join();
    }
    CallStack stack;
    EXPECT_EQ(stack.CaptureThread(GetCurrentThreadId()), ERR_INVALID);
    EXPECT_EQ(stack.CaptureThread(ids[0]), ERR_NOT_FOUND) << "it has ended";
    EXPECT_EQ(stack.GetCount(), 0u);
    CloseHandle(event);
    DeleteCriticalSection(&section);
}

TEST_F(CallStackTest, EndsOnEveryStack) {
    constexpr unsigned WORDS = 1024;
    auto* const page = static_cast<DWORD*>(VirtualAlloc(nullptr, 4 * WORDS + 4096, MEM_RESERVE, PAGE_NOACCESS));
    ASSERT_EQ(VirtualAlloc(page, 4 * WORDS, MEM_COMMIT, PAGE_READWRITE), page);
    const auto begin = reinterpret_cast<DWORD>(page);
    CallStack real;
    real.Capture(0);
    std::vector<DWORD> codes{0, 1, 0xFFFFFFFF, 0x7FFFFFFF, begin - 1, begin + 4 * WORDS};
    for (const void* address : AddressesOf(real)) {
        codes.push_back(reinterpret_cast<DWORD>(address));
    }
    for (const char* const kind : KINDS) {
        const Part part(kind);
        part.Call(1, [&](const StackTruth& truth) {
            for (unsigned i = 0; i < truth.count; ++i) {
                codes.push_back(reinterpret_cast<DWORD>(truth.addresses[i]));
            }
        });
    }
    const Part tables("tables");
    const Part neither("neither");
    Prepare();
    std::mt19937 random(1);
    const auto any = [&] {
        return random() % 2 != 0 ? codes[random() % codes.size()] : begin + random() % (4 * WORDS + 8);
    };
    unsigned longest = 0;
    for (unsigned round = 0; round < 1000; ++round) {
        for (unsigned i = 0; i < WORDS; ++i) {
            page[i] = any();
        }
        CONTEXT context{};
        context.Eip = any() + random() % 3;
        context.Esp = random() % 8 == 0 ? any() : begin + random() % (4 * WORDS);
        context.Ebp = any();
        context.Ebx = any();
        context.Esi = any();
        CallStack stack;
        stack.CaptureFrom(&context);
        ASSERT_GE(stack.GetCount(), 1u);
        longest = (std::max)(longest, static_cast<unsigned>(stack.GetCount()));
    }
    EXPECT_GT(longest, 8u) << "the stacks go somewhere";
    VirtualFree(page, 0, MEM_RELEASE);
}

TEST_F(CallStackTest, CapturesWhileModulesComeAndGo) {
    constexpr unsigned LOADS = 20;
    std::atomic<bool> stop{false};
    std::atomic<unsigned> captures{0};
    std::vector<std::thread> threads;
    const Part stays("neither");
    for (unsigned i = 0; i < 2; ++i) {
        threads.emplace_back([&] {
            while (!stop) {
                CallStack stack;
                stack.Capture(0);
                EXPECT_GE(stack.GetCount(), 1u);
                ++captures;
            }
        });
    }
    for (unsigned i = 0; i < LOADS; ++i) {
        const Part part(KINDS[i % 2]);
        Prepare();
        const unsigned before = captures;
        while (captures == before) {
            SwitchToThread();
        }
    }
    stop = true;
    for (std::thread& thread : threads) {
        thread.join();
    }
}

TEST_F(CallStackTest, AllocatesNothingButByPrepare) {
    ProgramModuleDB& modules = ProgramModuleDB::Instance();
    ZelkHost::FailAllocations(1);
    EXPECT_EQ(modules.Prepare(), ERR_OUT_OF_MEMORY);
    ZelkHost::FailAllocations(2);
    EXPECT_EQ(modules.Prepare(), ERR_OK) << "what was refused was the only one that was missing";
    EXPECT_EQ(ZelkHost::FailAllocations(0), 0u);
    CallStack stack;
    ZelkHost::FailAllocations(1);
    stack.Capture(0);
    const void* addresses[4];
    CallStack::CaptureQuick(addresses, 4, 0);
    char text[4096];
    stack.ToText(text, sizeof text, CallStack::OFFSETS_ONLY);
    EXPECT_EQ(stack.GetHash(), stack.GetHash());
    EXPECT_EQ(ZelkHost::FailAllocations(0), 0u);
}

TEST_F(CallStackTest, NeedsLittleStack) {
    Prepare();
    std::thread([] {
        static CallStack stack;
        StackSizeMonitorDb& monitor = StackSizeMonitorDb::Instance();
        monitor.Paint(32768);
        const unsigned long use = monitor.Sample();
        stack.Capture(0);
        monitor.Sample();
        StackSizeMonitorDb::Entry entry{};
        EXPECT_TRUE(monitor.FindThread(GetCurrentThreadId(), entry));
        EXPECT_LT(entry.largestUse - use, 1600u);
        EXPECT_GE(stack.GetCount(), 3u);
    }).join();
}

TEST_F(CallStackTest, TellsEachFrameOnALine) {
    const Part part("tables");
    CallStack stacks[2];
    std::string texts[2];
    for (unsigned i = 0; i < 2; ++i) {
        part.Call(0, [&](const StackTruth& truth) {
            stacks[i].Capture(0);
            const unsigned long place = PlaceOf(truth, stacks[i]);
            char text[256];
            const unsigned long length =
                stacks[i].FrameToText(place, text, sizeof text, CallStack::OFFSETS_ONLY | CallStack::ORIGINS);
            EXPECT_EQ(length, std::strlen(text));
            EXPECT_THAT(text, testing::MatchesRegex(" *\\d+ \\w+ dbghelp_tables.dll\\+0x\\w+ table"));
            EXPECT_EQ(std::stoul(std::string(text).substr(4), nullptr, 16),
                      reinterpret_cast<unsigned long>(truth.addresses[0]));
        });
        char text[8192];
        texts[i].assign(text, stacks[i].ToText(text, sizeof text, CallStack::OFFSETS_ONLY));
    }
    EXPECT_EQ(texts[0], texts[1]);
    EXPECT_EQ(stacks[0].GetHash(), stacks[1].GetHash());
    CallStack other;
    other.Capture(0);
    EXPECT_NE(other.GetHash(), stacks[0].GetHash());
    char shortText[10];
    EXPECT_EQ(stacks[0].ToText(shortText, sizeof shortText, CallStack::OFFSETS_ONLY), texts[0].size());
    EXPECT_EQ(shortText, texts[0].substr(0, 9));
    EXPECT_EQ(stacks[0].ToText(nullptr, 0, CallStack::OFFSETS_ONLY), texts[0].size());

    // The outermost frame of the DLL is in its one export.
    part.Call(0, [&](const StackTruth& truth) {
        CallStack stack;
        stack.Capture(0);
        char text[256];
        stack.FrameToText(PlaceOf(truth, stack) + truth.count - 2, text, sizeof text, CallStack::QUICK);
        EXPECT_THAT(text, testing::HasSubstr(" dbghelp_tables.dll!StackPart+0x"));
    });

    const ZelkTest::LogCapture log;
    stacks[0].Log(EAL_LOG_WARNING, CallStack::OFFSETS_ONLY);
    std::string logged;
    for (const ZelkTest::LogLine& line : log.Lines()) {
        EXPECT_EQ(line.file, "services/dbghelp/private/callstack");
        const std::string prefix = "[Z4::CallStack] EAL_LOG_WARNING: ";
        EXPECT_EQ(line.text.substr(0, prefix.size()), prefix);
        logged += line.text.substr(prefix.size());
    }
    EXPECT_EQ(logged, texts[0]);
}

} // namespace
