// The order of host calls for every start-up pair, recorded by a host that does nothing else.
#include <tests/support/contract.h>
#include <tests/support/testhost.h>

#include <chrono>
#include <future>
#include <gtest/gtest.h>
#include <sstream>
#include <string>
#include <utility>
#include <zelk_core/base/ealinterface.h>
#include <zelk_core/base/lifecycle.h>
#include <zelk_core/eal_utils/lifecycle.h>
#include <zelk_core/generics/lifecycle.h>
#include <zelk_core/math/lifecycle.h>
#include <zelk_core/os/lifecycle.h>
#include <zelk_core/services/compression/lifecycle.h>
#include <zelk_core/services/dbghelp/lifecycle.h>
#include <zelk_core/services/encryption/lifecycle.h>
#include <zelk_core/services/random/lifecycle.h>
#include <zelk_core/services/runtimetype/lifecycle.h>

using namespace Z4;

namespace {

std::string g_trace;

/// The host call during which another thread starts a service.
struct Meeting {
    std::string slot;
    void (*initialize)();
    std::future<void> other;
};
Meeting g_meeting;

void Record(const std::string& call) {
    g_trace += g_trace.empty() ? call : ' ' + call;
    if (call == g_meeting.slot) {
        g_meeting.slot.clear();
        g_meeting.other = std::async(std::launch::async, g_meeting.initialize);
        if (g_meeting.other.wait_for(std::chrono::milliseconds(100)) == std::future_status::ready) {
            g_trace += " overtaken";
        }
    }
}

enum TableName : char {
    MEM = 'm',
    LOG = 'l',
    FILES = 'f',
    THREAD = 't',
    NET = 'n',
};

template <TableName NAME>
int Z4_CDECL RecordInit(unsigned version) {
    Record(std::string(1, NAME) + std::to_string(version));
    return -1; // Ignored.
}

template <TableName NAME>
int Z4_CDECL RecordShutdown() {
    Record(std::string(1, NAME) + '-');
    return -1;
}

void Z4_CDECL RecordName(int id, const char* name) {
    std::ostringstream text;
    text << std::hex << id << '=' << name;
    Record(text.str());
}

template <TableName NAME, class Table>
void Install(Table table) {
    table.init = RecordInit<NAME>;
    table.shutdown = RecordShutdown<NAME>;
    SetEalInterface(table);
}

class Lifecycle : public testing::Test {
protected:
    Lifecycle() {
        g_trace.clear();
        eal_mem_dll_interface memory{};
        memory.name_id = RecordName;
        Install<MEM>(memory); // Every other slot is null: nothing may be allocated or logged.
        eal_log_dll_interface log{};
        log.assert_message = ZelkTest::LogTable().assert_message;
        Install<LOG>(log);
        Install<FILES>(eal_file_dll_interface{});
        Install<THREAD>(eal_thread_dll_interface{});
        Install<NET>(eal_net_dll_interface{});
    }
    ~Lifecycle() override { ZelkTest::ReinstallHost(); }

    static std::string Take() { return std::exchange(g_trace, {}); }
};

const char* const CORE_UP = "l502 m501 ffffffff=EAL_ID_VOID 40100001=QM Zelk";
const char* const CORE_DOWN = "m- l-";

struct Pair {
    const char* name;
    void (*initialize)();
    void (*shutdown)();
    const char* up;       ///< what a first call adds behind the core's start
    const char* down;     ///< what a last call does before the core's end
    const char* repeated; ///< what a second call does
};

const Pair PAIRS[] = {
    {"Base", InitializeBase, ShutdownBase, "", "", ""},
    {"Math", InitializeMath, ShutdownMath, "", "", ""},
    {"Generics", InitializeGenerics, ShutdownGenerics, "", "", ""},
    {"Encryption", InitializeEncryptionService, ShutdownEncryptionService, "", "", ""},
    {"Compression", InitializeCompressionService, ShutdownCompressionService, "", "", ""},
    {"RuntimeType", InitializeRuntimeTypeService, ShutdownRuntimeTypeService, "", "", ""},
    {"OS", InitializeOS, ShutdownOS, " n212", "n- ", ""},
    {"EalUtils", InitializeEalUtils, ShutdownEalUtils, " f501 t100", "t- f- ", "f501 t100"},
};

/// A memory table with one block, for a service that takes memory where the others only count.
void InstallOneBlock() {
    eal_mem_dll_interface memory{};
    memory.name_id = RecordName;
    memory.alloc = [](std::size_t size, std::size_t, unsigned, int) -> void* {
        alignas(16) static unsigned char block[16384];
        Record("alloc");
        return size <= sizeof(block) ? block : nullptr;
    };
    memory.free = [](void*) { Record("free"); };
    Install<MEM>(memory);
}

} // namespace

TEST_F(Lifecycle, EveryPairAloneAndNested) {
    for (const Pair& pair : PAIRS) {
        SCOPED_TRACE(pair.name);
        pair.initialize();
        EXPECT_EQ(Take(), std::string(CORE_UP) + pair.up);
        pair.initialize();
        EXPECT_EQ(Take(), pair.repeated);
        pair.shutdown();
        const std::string innerDown = *pair.repeated != '\0' ? "t- f-" : "";
        EXPECT_EQ(Take(), innerDown);
        pair.shutdown();
        EXPECT_EQ(Take(), std::string(pair.down) + CORE_DOWN);
    }
}

TEST_F(Lifecycle, PairsShareOneCoreCount) {
    for (const Pair& outer : PAIRS) {
        for (const Pair& inner : PAIRS) {
            if (&outer == &inner) {
                continue;
            }
            SCOPED_TRACE(std::string(outer.name) + " around " + inner.name);
            outer.initialize();
            Take();
            inner.initialize();
            EXPECT_EQ(Take(), *inner.up != '\0' ? inner.up + 1 : "");
            outer.shutdown(); // Interleaved: the core stays up for the other one.
            EXPECT_EQ(Take() + ' ', *outer.down != '\0' ? outer.down : " ");
            inner.shutdown();
            EXPECT_EQ(Take(), std::string(inner.down) + CORE_DOWN);
        }
    }
}

TEST_F(Lifecycle, ObjectsOfServicesComeLastAndGoFirst) {
    const struct {
        void (*initialize)();
        void (*shutdown)();
        const char* up;
        const char* down;
    } pairs[] = {
        {InitializeRandomService, ShutdownRandomService, " n212 alloc", "free n- "},
        {[] { InitializeDbgHelpService(false); }, ShutdownDbgHelpService, " f501 t100 n212 alloc", "free n- t- f- "},
    };
    InstallOneBlock();
    for (const auto& pair : pairs) {
        pair.initialize();
        EXPECT_EQ(Take(), std::string(CORE_UP) + pair.up);
        pair.initialize();
        pair.shutdown();
        EXPECT_EQ(Take(), "");
        pair.shutdown();
        EXPECT_EQ(Take(), pair.down + std::string(CORE_DOWN));
    }
}

TEST_F(Lifecycle, AnotherThreadWaitsForTheStartOrShutdownUnderWay) {
    const std::string up = CORE_UP + std::string(" n212 ");
    const std::string down = std::string("n- ") + CORE_DOWN;
    const struct {
        const char* slot;
        void (*initialize)();
        void (*shutdown)();
        std::string trace;
    } meetings[] = {
        {"n212", InitializeOS, ShutdownOS, up + down},
        {"l502", InitializeBase, ShutdownBase, up + down},
        {"n-", InitializeOS, ShutdownOS, up + down + ' ' + up + down},
        {"l-", InitializeBase, ShutdownBase, up + down + ' ' + CORE_UP + ' ' + CORE_DOWN},
    };
    const auto join = [] {
        if (g_meeting.other.valid()) {
            g_meeting.other.get();
        }
    };
    for (const auto& meeting : meetings) {
        SCOPED_TRACE(meeting.slot);
        g_meeting = {meeting.slot, meeting.initialize, {}};
        InitializeOS();
        join();
        ShutdownOS();
        join();
        meeting.shutdown();
        EXPECT_EQ(Take(), meeting.trace);
    }
}

TEST_F(Lifecycle, AShutdownTooManyIsReportedAndTheNextStartDoesNothing) {
    const Pair services[] = {{"Random", InitializeRandomService, ShutdownRandomService, "", "", ""},
                             {"DbgHelp", InitializeDbgHelpService, ShutdownDbgHelpService, "", "", ""},
                             PAIRS[0],
                             PAIRS[5],
                             PAIRS[6]};
    for (const Pair& pair : services) {
        SCOPED_TRACE(pair.name);
        {
            const ZelkTest::ExpectContract expected(ZelkTest::LIBRARY_CHECKS ? 1 : 0);
            pair.shutdown();
        }
        pair.initialize();
        EXPECT_EQ(Take(), "");
    }
}

TEST_F(Lifecycle, ANullSlotIsReportedByNameBeforeItIsCalled) {
    if (!ZelkTest::LIBRARY_CHECKS) {
        GTEST_SKIP() << "The library reports what its callers break in checked builds only.";
    }
    eal_log_dll_interface log{};
    log.assert_message = [](int, const char* expression, const char*, const char*, unsigned long, unsigned long,
                            unsigned long*) -> unsigned char {
        Record(expression);
        Install<NET>(eal_net_dll_interface{});
        return 0;
    };
    Install<LOG>(log);
    SetEalInterface(eal_net_dll_interface{});
    InitializeOS();
    EXPECT_EQ(Take(), std::string(CORE_UP) + " (Private::g_net.init) != nullptr n212");
    ShutdownOS();
}
