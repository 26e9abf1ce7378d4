// Services that start or shut down the host's tables too early, too late, too often or in the wrong order. A host that
// does nothing else records its calls; a model of the counts says what they should be. What threads may meet there is
// proved.
#include <tests/support/contract.h>
#include <tests/support/testhost.h>

#include <gtest/gtest.h>
#include <iterator>
#include <malloc.h>
#include <map>
#include <string>
#include <utility>
#include <zelk_core/zelk_core.h>

using namespace Z4;

namespace {

std::string g_trace;

void Record(const std::string& call) {
    g_trace += call + ' ';
}

/// A table that records the version given to `init`, and `shutdown`, by its letter.
template <char LETTER, class Table>
void Install(Table table) {
    // What they return is ignored.
    table.init = [](unsigned version) { return Record(LETTER + std::to_string(version)), -1; };
    table.shutdown = [] { return Record(LETTER + std::string("-")), -1; };
    SetEalInterface(table);
}

class Lifecycle : public testing::Test {
protected:
    Lifecycle() {
        g_trace.clear();
        eal_mem_dll_interface memory{}; // Every other slot is null.
        memory.name_id = [](int id, const char* name) { Record(std::to_string(id) + '=' + name); };
        memory.alloc = [](std::size_t size, std::size_t alignment, unsigned, int) {
            Record("alloc");
            return _aligned_malloc(size, alignment);
        };
        memory.free = [](void* block) {
            Record("free");
            _aligned_free(block);
        };
        Install<'m'>(memory);
        eal_log_dll_interface log{};
        log.assert_message = ZelkTest::LogTable().assert_message;
        Install<'l'>(log);
        Install<'f'>(eal_file_dll_interface{});
        Install<'t'>(eal_thread_dll_interface{});
        Install<'n'>(eal_net_dll_interface{});
    }
    ~Lifecycle() override { ZelkTest::ReinstallHost(); }

    static std::string Take() { return std::exchange(g_trace, {}); }
};

const std::string CORE_UP = "l502 m501 -1=EAL_ID_VOID 1074790401=QM Zelk ";
const std::string CORE_DOWN = "m- l- ";

struct Pair {
    const char* name;
    void (*initialize)();
    void (*shutdown)();
    /// What a start does, and a shut-down backwards: c takes a count of the core, o of the OS service, e calls the file
    /// and thread tables, a makes an object.
    std::string steps;
    bool isCounted; ///< only the first start and the last shut-down do
};

const Pair PAIRS[] = {
    {"Base", InitializeBase, ShutdownBase, "c", false},
    {"Math", InitializeMath, ShutdownMath, "c", false},
    {"Generics", InitializeGenerics, ShutdownGenerics, "c", false},
    {"Encryption", InitializeEncryptionService, ShutdownEncryptionService, "cc", false},
    {"Compression", InitializeCompressionService, ShutdownCompressionService, "cc", false},
    {"OS", InitializeOS, ShutdownOS, "o", false},
    {"EalUtils", InitializeEalUtils, ShutdownEalUtils, "e", false},
    {"RuntimeType", InitializeRuntimeTypeService, ShutdownRuntimeTypeService, "ccc", true},
    {"Random", InitializeRandomService, ShutdownRandomService, "coa", true},
    {"DbgHelp", [] { InitializeDbgHelpService(false); }, ShutdownDbgHelpService, "cecoa", true},
};

/// What a pair does, by counts alone.
class Model {
public:
    std::string Call(const Pair& pair, bool up) {
        int& count = m_counts[pair.name];
        if ((up ? count++ : --count) != 0 && pair.isCounted) {
            return "";
        }
        std::string calls;
        for (const char step : up ? pair.steps : std::string(pair.steps.rbegin(), pair.steps.rend())) {
            calls += Step(step, up);
        }
        return calls;
    }

private:
    std::string Step(char step, bool up) {
        static const std::map<char, std::pair<std::string, std::string>> OWN_CALLS = {
            {'c', {CORE_UP, CORE_DOWN}},
            {'o', {"n212 ", "n- "}},
            {'e', {"f501 t100 ", "t- f- "}},
            {'a', {"alloc ", "free "}},
        };
        const auto& [start, end] = OWN_CALLS.at(step);
        int& count = m_counts[std::string(1, step)];
        if ((step == 'c' || step == 'o') && (up ? count++ : --count) != 0) {
            return "";
        }
        const std::string core = step == 'o' || step == 'e' ? Step('c', up) : "";
        return up ? core + start : end + core;
    }

    std::map<std::string, int> m_counts;
};

} // namespace

TEST_F(Lifecycle, EveryTwoPairsNestAndInterleave) {
    for (const Pair& one : PAIRS) {
        for (const Pair& other : PAIRS) {
            if (&one == std::end(PAIRS) - 1 && &one != &other) {
                continue; // Loads a module each time; once beside each is enough.
            }
            SCOPED_TRACE(std::string(one.name) + " and " + other.name);
            Model model;
            for (const Pair* const pair : {&one, &other, &one}) {
                pair->initialize();
                EXPECT_EQ(Take(), model.Call(*pair, true));
            }
            for (const Pair* const pair : {&one, &one, &other}) {
                pair->shutdown();
                EXPECT_EQ(Take(), model.Call(*pair, false));
            }
        }
    }
}

TEST_F(Lifecycle, AShutdownTooManyIsReportedAndTheNextStartDoesNothing) {
    for (const Pair& pair : PAIRS) {
        // Those that take more than one count without having one of their own do a part of the work.
        if (!pair.isCounted && (pair.steps.size() > 1 || pair.steps == "e")) {
            continue;
        }
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
        Install<'n'>(eal_net_dll_interface{});
        return 0;
    };
    Install<'l'>(log);
    SetEalInterface(eal_net_dll_interface{});
    InitializeOS();
    EXPECT_EQ(Take(), CORE_UP + "(Private::g_net.init) != nullptr n212 ");
    ShutdownOS();
}
