// Breakpoints that the program sets itself. Hunted are: hits that are missed, told twice or told of the wrong place,
// threads without the breakpoint or with one that is gone, registers of others that are overwritten, and texts that are
// not seen.
#include <tests/os/crowd.h>
#include <tests/support/contract.h>
#include <tests/support/debuggerparent.h>
#include <tests/support/importhook.h>
#include <tests/support/testhost.h>

#include <gmock/gmock.h>
#include <string>
#include <thread>
#include <vector>
#include <zelk_core/base/log.h>
#include <zelk_core/base/strformat.h>
#include <zelk_core/eal_utils/ealthread.h>
#include <zelk_core/os/thread.h>
#include <zelk_core/services/dbghelp/breakpoint.h>
#include <zelk_core/services/dbghelp/lifecycle.h>

namespace {

using namespace Z4;

alignas(16) volatile unsigned char g_bytes[16];

Z4_NOINLINE void Write(unsigned offset) {
    g_bytes[offset] = 1;
}

Z4_NOINLINE unsigned Read(unsigned offset) {
    return g_bytes[offset];
}

const void* Bytes(unsigned offset) {
    return const_cast<const unsigned char*>(g_bytes + offset);
}

std::vector<HardwareBreakpoint::Hit> g_hits;

void Z4_CDECL Note(const HardwareBreakpoint::Hit& hit, void* context) {
    EXPECT_EQ(context, &g_hits);
    g_hits.push_back(hit);
    Write(8); // its own hits are none
    EXPECT_EQ(static_cast<const CONTEXT*>(hit.context)->Eip, reinterpret_cast<std::uintptr_t>(hit.instruction));
}

Error Set(const void* address, unsigned long size, HardwareBreakOn on, unsigned long& slot,
          unsigned long thread = HardwareBreakpoint::ALL_THREADS) {
    return HardwareBreakpoint::Set(address, size, on, thread, Note, &g_hits, slot);
}

/// The calling thread's register that tells which breakpoints are enabled, as the system shows it.
DWORD DebugControl() {
    CONTEXT context{};
    context.ContextFlags = CONTEXT_DEBUG_REGISTERS;
    EXPECT_NE(GetThreadContext(GetCurrentThread(), &context), 0);
    return context.Dr7;
}

class HardwareBreakpointTest : public testing::Test {
protected:
    HardwareBreakpointTest() { InitializeDbgHelpService(false); }
    ~HardwareBreakpointTest() override { ShutdownDbgHelpService(); }

    void SetUp() override {
        g_hits.clear();
        unsigned long slot = 0;
        if (Set(Bytes(8), 1, BREAK_ON_WRITE, slot) == ERR_UNSUPPORTED) {
            GTEST_SKIP() << "this system refuses debug registers";
        }
        HardwareBreakpoint::ClearAll();
    }

    template <class Work>
    static std::size_t HitsOf(Work work) {
        g_hits.clear();
        work();
        return g_hits.size();
    }
};

TEST_F(HardwareBreakpointTest, HitsTheBytesAndAccessesThatWereAskedFor) {
    for (const unsigned long size : {1ul, 2ul, 4ul}) {
        for (const HardwareBreakOn on : {BREAK_ON_WRITE, BREAK_ON_ACCESS}) {
            unsigned long slot = 0;
            ASSERT_EQ(Set(Bytes(8), size, on, slot), ERR_OK);
            for (unsigned offset = 7; offset <= 8 + size; ++offset) {
                const bool inside = offset >= 8 && offset < 8 + size;
                EXPECT_EQ(HitsOf([&] { Write(offset); }), inside ? 1u : 0u) << offset << " of " << size;
                EXPECT_EQ(HitsOf([&] { Read(offset); }), inside && on == BREAK_ON_ACCESS ? 1u : 0u) << offset;
            }
            EXPECT_EQ(HardwareBreakpoint::GetHits(slot), on == BREAK_ON_ACCESS ? 2 * size : size) << "not its own";
            EXPECT_EQ(HardwareBreakpoint::Clear(slot), ERR_OK);
            EXPECT_EQ(DebugControl() & 0xFF, 0u);
        }
    }
    unsigned long slot = 0;
    const auto function = reinterpret_cast<const unsigned char*>(&Write);
    ASSERT_EQ(Set(function, 1, BREAK_ON_EXECUTE, slot), ERR_OK);
    EXPECT_EQ(HitsOf([] {
                  Write(0);
                  Write(8);
              }),
              2u);
    EXPECT_EQ(g_hits[1].instruction, function);
    ASSERT_EQ(Set(Bytes(8), 1, BREAK_ON_WRITE, slot), ERR_OK);
    ASSERT_EQ(HitsOf([] { Write(8); }), 2u) << "one at the call and one at the write";
    EXPECT_EQ(g_hits[1].slot, slot);
    EXPECT_EQ(g_hits[1].threadId, GetCurrentThreadId());
    EXPECT_EQ(g_hits[1].address, Bytes(8));
    const auto behind = static_cast<const unsigned char*>(g_hits[1].instruction);
    EXPECT_TRUE(behind > function && behind < function + 64);
}

template <class Base>
struct Writer : Base {
    template <class... Arguments>
    explicit Writer(Arguments... arguments) : Base(arguments...) {}
    void Run() override { Write(8); }
};

TEST_F(HardwareBreakpointTest, IsSetOnAllThreadsThatThereAreAndThatCome) {
    unsigned long slot = 0;
    DWORD id = 0;
    {
        ZelkTest::Actor other;
        other.Does([&] { id = GetCurrentThreadId(); });
        const auto write = [&] { other.Does([] { Write(8); }); };
        ASSERT_EQ(Set(Bytes(8), 4, BREAK_ON_WRITE, slot), ERR_OK);
        EXPECT_EQ(HitsOf(write), 1u);
        EXPECT_EQ(g_hits.at(0).threadId, id);
        HardwareBreakpoint::ClearAll();
        EXPECT_EQ(HitsOf(write), 0u);
        ASSERT_EQ(Set(Bytes(8), 4, BREAK_ON_WRITE, slot, id), ERR_OK);
        unsigned long ofAll = 0;
        ASSERT_EQ(Set(Bytes(0), 4, BREAK_ON_WRITE, ofAll), ERR_OK);
        EXPECT_EQ(DebugControl() & 0xFF, 1u << 2 * ofAll) << "the first is for the other thread only";
        EXPECT_EQ(HitsOf(write), 1u);
        EXPECT_EQ(HardwareBreakpoint::Clear(ofAll), ERR_OK);
    }
    EXPECT_EQ(HardwareBreakpoint::Clear(slot), ERR_OK);
    EXPECT_EQ(HardwareBreakpoint::Clear(slot), ERR_NOT_FOUND);
    EXPECT_EQ(Set(Bytes(8), 4, BREAK_ON_WRITE, slot, id), ERR_NOT_FOUND) << "it has ended";

    ASSERT_EQ(Set(Bytes(8), 4, BREAK_ON_WRITE, slot), ERR_OK);
    const auto run = [](auto&& writer) {
        EXPECT_EQ(writer.CreateThread(), ERR_OK);
        EXPECT_EQ(writer.JoinThread(), ERR_OK);
    };
    const auto adopt = [] {
        HardwareBreakpoint::AdoptThisThread();
        Write(8);
    };
    EXPECT_EQ(HitsOf([&] { run(Writer<Thread>()); }), 1u);
    EXPECT_EQ(HitsOf([&] { run(Writer<EalThread>(EALId(EAL_ID_ZELK_CORE))); }), 1u);
    EXPECT_EQ(HitsOf([&] { std::thread(adopt).join(); }), 1u);
}

TEST_F(HardwareBreakpointTest, RefusesWhatCannotBeAndKeepsWhatIsSet) {
    unsigned long counted = 0;
    ASSERT_EQ(HardwareBreakpoint::Set(Bytes(12), 4, BREAK_ON_WRITE, 0, nullptr, nullptr, counted), ERR_OK);
    const struct {
        const void* address;
        unsigned long size;
        int on;
    } bad[] = {{nullptr, 1, BREAK_ON_WRITE},
               {Bytes(0), 3, BREAK_ON_WRITE},
               {Bytes(2), 4, BREAK_ON_WRITE},
               {Bytes(0), 4, BREAK_ON_EXECUTE},
               {Bytes(0), 1, 2}};
    unsigned long slot = 77;
    for (const auto& row : bad) {
        EXPECT_EQ(Set(row.address, row.size, static_cast<HardwareBreakOn>(row.on), slot), ERR_INVALID);
    }
    EXPECT_EQ(slot, 77u);
    for (unsigned i = 0; i < 3; ++i) {
        EXPECT_EQ(Set(Bytes(i), 1, BREAK_ON_WRITE, slot), ERR_OK);
    }
    EXPECT_EQ(Set(Bytes(4), 1, BREAK_ON_WRITE, slot), ERR_OUT_OF_RESOURCES);
    EXPECT_EQ(HitsOf([] { Write(2); }), 1u);
    Write(13);
    EXPECT_EQ(HardwareBreakpoint::GetHits(counted), 1u);
}

TEST_F(HardwareBreakpointTest, LeavesTheRegistersOfOthersAlone) {
    ZelkTest::Actor other;
    other.Does([] {
        CONTEXT context{};
        context.ContextFlags = CONTEXT_DEBUG_REGISTERS;
        context.Dr0 = static_cast<DWORD>(reinterpret_cast<std::uintptr_t>(Bytes(3)));
        context.Dr7 = 0x10001; // a write of one byte
        EXPECT_NE(SetThreadContext(GetCurrentThread(), &context), 0);
    });
    unsigned long slot = 0;
    EXPECT_EQ(Set(Bytes(8), 4, BREAK_ON_WRITE, slot), ERR_OK);
    EXPECT_EQ(slot, 1u);
    EXPECT_EQ(HitsOf([] { Write(8); }), 1u);
    HardwareBreakpoint::ClearAll();
    other.Does([] { EXPECT_EQ(DebugControl() & 0xF00FF, 0x10001u); });
}

BOOL WINAPI WriteOnlyOwn(HANDLE thread, const CONTEXT* context) {
    SetLastError(ERROR_ACCESS_DENIED);
    return thread == GetCurrentThread() ? SetThreadContext(thread, context) : FALSE;
}

TEST_F(HardwareBreakpointTest, IsTakenBackWhereAnotherThreadRefuses) {
    const ZelkTest::Actor other;
    const ZelkTest::ImportHook hook("SetThreadContext", WriteOnlyOwn);
    unsigned long slot = 0;
    EXPECT_EQ(Set(Bytes(8), 1, BREAK_ON_WRITE, slot), ERR_ACCESS_DENIED);
    EXPECT_EQ(DebugControl() & 0xFF, 0u);
}

unsigned long g_moved;

void Z4_CDECL Move(const HardwareBreakpoint::Hit& hit, void*) {
    EXPECT_EQ(HardwareBreakpoint::Clear(hit.slot), ERR_OK);
    EXPECT_EQ(Set(static_cast<const unsigned char*>(hit.address) + 1, 1, BREAK_ON_WRITE, g_moved), ERR_OK);
}

TEST_F(HardwareBreakpointTest, MovesOnInItsOwnCallback) {
    ASSERT_EQ(HardwareBreakpoint::Set(Bytes(4), 1, BREAK_ON_WRITE, 0, Move, nullptr, g_moved), ERR_OK);
    const auto write = [] {
        for (const unsigned offset : {4u, 4u, 5u}) {
            Write(offset);
        }
    };
    EXPECT_EQ(HitsOf(write), 1u);
    EXPECT_EQ(g_hits.at(0).slot, 1u) << "its own slot was not free yet";
}

struct Text {
    std::string seen;
    bool stops;

    static bool Z4_CDECL Note(const char* text, const char* watched, void* context) {
        Text& self = *static_cast<Text*>(context);
        char line[200];
        StrFormat::Print(line, sizeof line, "%s: %s;", watched, text); // is not looked at itself
        self.seen += line;
        return self.stops;
    }
};

TEST(StringBreakpointTest, SeesTheTextsOfItsSources) {
    using String = StringBreakpoint;
    const struct {
        unsigned sources;
        unsigned long skipHits;
        unsigned long hits;
        std::string seen;
    } rows[] = {
        {String::LOG, 0, 1, "eedle: a needle of 7\n;"},
        {String::ASSERT, 0, 1, "eedle: no needle;"},
        {String::FORMATTER, 0, 2, "eedle: a needle;eedle: no needle;"},
        {String::FORMATTER | String::ASSERT, 1, 2, "eedle: no needle;"}, // of which it sees each assertion once
        {String::LOG | String::CHECK, 1, 2, "eedle: the needle;"},
    };
    for (const auto& row : rows) {
        const ZelkTest::LogCapture log(EAL_LOG_WARNING);
        const ZelkTest::ExpectContract asserted(1);
        Text text{};
        unsigned long slot = 0;
        ASSERT_EQ(String::Set("hay", row.sources, 0, Text::Note, &text, slot), ERR_OK);
        ASSERT_EQ(String::Set("eedle", row.sources, row.skipHits, Text::Note, &text, slot), ERR_OK);
        Private::Log(EAL_LOG_INFO, "f", 1, "a needle that nobody prints");
        Private::Log(EAL_LOG_WARNING, "f", 1, "a %s of %d\n", "needle", 7);
        EXPECT_EQ(log.Lines().at(0).text, "a needle of 7\n") << "the host's arguments are whole";
        char line[9];
        StrFormat::Print(line, sizeof line, "a %s of iron", "needle");
        StrFormat::Print(line, 0, "a needle that nobody stores");
        EXPECT_FALSE(EalAssertPrint(1, "e", "f", 1, nullptr, "no %s", "needle"));
        EXPECT_EQ(String::Check("the needle"), (row.sources & String::CHECK) != 0);
        EXPECT_FALSE(String::Check("a needl") || String::Check(nullptr));
        EXPECT_EQ(text.seen, row.seen);
        EXPECT_EQ(String::GetHits(slot), row.hits);
        String::ClearAll();
        EXPECT_FALSE(String::Check("the needle"));
    }
}

TEST(StringBreakpointTest, RefusesWhatCannotBeWatched) {
    const std::string longest(StringBreakpoint::LONGEST, 'n');
    unsigned long slot = 77;
    const auto set = [&](const char* watched, unsigned sources) {
        return StringBreakpoint::Set(watched, sources, 0, Text::Note, nullptr, slot);
    };
    for (const unsigned sources : {0u, 16u, 17u}) {
        EXPECT_EQ(set("text", sources), ERR_INVALID);
    }
    EXPECT_EQ(set(nullptr, 1), ERR_INVALID);
    EXPECT_EQ(set("", 1), ERR_INVALID);
    EXPECT_EQ(set((longest + 'n').c_str(), 1), ERR_OVERFLOW);
    EXPECT_EQ(Set(Bytes(0), 1, BREAK_ON_WRITE, slot), ERR_NOT_READY) << "no service is started";
    EXPECT_EQ(slot, 77u);
    for (unsigned long i = 0; i < StringBreakpoint::SLOTS; ++i) {
        EXPECT_EQ(set(longest.c_str(), 1), ERR_OK);
        EXPECT_EQ(slot, i);
    }
    EXPECT_EQ(set("text", 1), ERR_OUT_OF_RESOURCES);
    StringBreakpoint::ClearAll();
    EXPECT_EQ(StringBreakpoint::Clear(0), ERR_NOT_FOUND);
    EXPECT_EQ(StringBreakpoint::Clear(StringBreakpoint::SLOTS), ERR_NOT_FOUND);
}

// What the next test runs under a debugger.
TEST(Debuggee, DISABLED_Stops) {
    EXPECT_TRUE(Debugger::IsPresent());
    Debugger::Write(nullptr);
    Debugger::Write("a word");
    EXPECT_TRUE(Debugger::Break());
    unsigned long slot = 0;
    Text text{};
    ASSERT_EQ(StringBreakpoint::Set("needle", StringBreakpoint::CHECK, 1, nullptr, nullptr, slot), ERR_OK);
    ASSERT_EQ(StringBreakpoint::Set("eedle", StringBreakpoint::CHECK, 0, Text::Note, &text, slot), ERR_OK);
    StringBreakpoint::Check("a needle");
    StringBreakpoint::Check("a needle");
    text.stops = true;
    StringBreakpoint::Check("an eedle");
    StringBreakpoint::ClearAll();
    InitializeDbgHelpService(false);
    if (HardwareBreakpoint::Set(Bytes(8), 1, BREAK_ON_WRITE, 0, nullptr, nullptr, slot) == ERR_OK) {
        Write(8);
        EXPECT_EQ(HardwareBreakpoint::GetHits(slot), 1u) << "the debugger passes it on";
        Debugger::Write(", a hit");
    }
    ShutdownDbgHelpService();
}

TEST(Debugger, IsToldAndStops) {
    EXPECT_EQ(Debugger::IsPresent(), IsDebuggerPresent() != 0);
    if (!Debugger::IsPresent()) {
        EXPECT_FALSE(Debugger::Break()) << "and nothing happens";
    }
    const ZelkTest::DebuggedRun run =
        ZelkTest::RunUnderDebugger("--gtest_also_run_disabled_tests --gtest_filter=Debuggee.*");
    EXPECT_EQ(run.exitCode, 0u);
    EXPECT_THAT(run.output, testing::HasSubstr("a word"));
    EXPECT_EQ(run.breaks, 3u);
    EXPECT_EQ(run.steps, run.output.find(", a hit") != std::string::npos ? 1u : 0u);
}

} // namespace
