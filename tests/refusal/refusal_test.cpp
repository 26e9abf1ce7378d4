// What the library does on a host that refuses: one scenario for each room that takes anything from it, run once for
// each thing that it takes, with that one refused, and with that one and all after it. Hunted are crashes, blocks that
// are left behind, results that do not tell of the refusal, and what was there before and is lost. Containers of every
// kind meet it in the models of the generics' tests.
#include <tests/services/dbghelp/standin.h>
#include <tests/support/testhost.h>

#include <gmock/gmock.h>
#include <host/zelkhost.h>
#include <zelk_core/zelk_core.h>

namespace {

using namespace Z4;
using ZelkTest::LogCapture;

constexpr char TEXT[] = "a text that is told again and again, again and again, until there is no more room for it";

void LoadAModule() {
    const std::unique_ptr<DllWrapper> module(new DllWrapper("no such.dll"));
    EXPECT_TRUE(module == nullptr || !module->IsDLLLoaded());
}

void FillAMap() {
    Map<int, ZelkString> map;
    unsigned size = 0;
    for (int i = 0; i < 10; ++i) {
        const auto result = map.Insert(i * 7 % 10, TEXT);
        EXPECT_EQ(result.inserted, result.position != map.end());
        size += result.inserted ? 1u : 0u;
        EXPECT_EQ(map.Size(), size);
    }
    const Map<int, ZelkString> copy = map;
    EXPECT_TRUE(copy.IsEmpty() || copy.Size() == size);
}

void Encrypt() {
    const std::unique_ptr<Cipher> ciphers[] = {std::unique_ptr<Cipher>(new XTea), std::unique_ptr<Cipher>(new Tea)};
    for (const auto& cipher : ciphers) {
        char secret[16];
        char back[16];
        if (cipher != nullptr) {
            EXPECT_TRUE(cipher->SetKey("sixteen letters!"));
            EXPECT_EQ(cipher->Encode(TEXT, secret, 16), 16u);
            EXPECT_EQ(cipher->Decode(secret, back, 16), 16u);
            EXPECT_EQ(std::memcmp(back, TEXT, 16), 0) << "whatever was refused";
        }
    }
}

template <class Compressor, class Expander>
void CompressWith(Compressor* newCompressor, Expander* newExpander, unsigned long firstRoom) {
    const std::unique_ptr<Compressor> compressor(newCompressor);
    const std::unique_ptr<Expander> expander(newExpander);
    if (compressor == nullptr || expander == nullptr) {
        return;
    }
    char packed[256];
    compressor->FeedInputBuffer(TEXT, sizeof TEXT);
    compressor->FeedOutputBuffer(packed, sizeof packed);
    int result = compressor->Process();
    result = result == CompressionInterface::NEED_INPUT ? compressor->Flush() : result;
    if (result != CompressionInterface::DONE) {
        EXPECT_EQ(result, CompressionInterface::FAILED);
        // What never had its memory stays failed and can be used all the same.
        EXPECT_NE(compressor->Flush(), CompressionInterface::DONE);
        compressor->Reset();
        EXPECT_LE(compressor->GetAvailableInputSize(), sizeof TEXT);
        EXPECT_LE(compressor->GetOutputDataSize(), sizeof packed);
        return;
    }
    EXPECT_NE(compressor->GetOutputDataSize(), 0u);
    char back[sizeof TEXT] = {};
    expander->FeedInputBuffer(packed, compressor->GetOutputDataSize());
    expander->FeedOutputBuffer(back, firstRoom);
    result = expander->Process();
    if (result == CompressionInterface::OUTPUT_FULL) {
        expander->FeedOutputBuffer(back + firstRoom, sizeof TEXT - firstRoom);
        result = expander->Process();
    }
    EXPECT_TRUE(result == CompressionInterface::FAILED || std::strcmp(back, TEXT) == 0) << result;
}

void Deflate() {
    CompressWith(new ZLibDeflate(CompressionInterface::CMP_BEST), new ZLibInflate,
                 sizeof TEXT / 2); // then it takes memory for what it gave;
}

void CompressByLzo() {
    CompressWith(new LzoDeflate(CompressionInterface::CMP_BEST), new LzoInflate(true), sizeof TEXT);
}

void DrawNumbers() {
    InitializeRandomService();
    Random::SetSeed(1);
    const long drawn = Random::InRangeS32(5, 1'000'000);
    EXPECT_GE(drawn, 5);
    EXPECT_EQ(Random::Normal(7, 0), 7) << "with an object and without";
    ShutdownRandomService();
}

void RegisterClasses() {
    const auto create = [](void*) -> void* { return const_cast<char*>(TEXT); };
    Private::ClassFactoryNode parked;
    ClassFactory::RegisterCreatorFuncPreMain(parked, create, TypeID(1));
    InitializeRuntimeTypeService();
    ClassFactory& factory = ClassFactory::Instance();
    for (unsigned identifier = 2; identifier <= 40; ++identifier) { // The index grows on the way.
        const bool registered = factory.RegisterCreatorFunc(create, TypeID(identifier));
        EXPECT_EQ(factory.IsRegistered(TypeID(identifier)), registered);
        EXPECT_TRUE(!registered || factory.CreateInstance(TypeID(identifier)) == TEXT);
        EXPECT_FALSE(registered && factory.RegisterCreatorFunc(create, TypeID(identifier))) << "a second time";
    }
    EXPECT_TRUE(!factory.IsRegistered(TypeID(1)) || factory.CreateInstance(TypeID(1)) == TEXT);
    factory.RegisterCreatorFunc([](void*) -> void* { return nullptr; }, TypeID(2));
    ShutdownRuntimeTypeService();
}

template <class Base, int... CONTEXT>
struct Worker : Base {
    Worker() : Base(CONTEXT...) {}
    void Run() override { ran = true; }
    bool ran = false;
};

void RunAThread() {
    Worker<Thread> worker;
    const Error created = worker.CreateThread();
    EXPECT_TRUE(created == ERR_OK || created == ERR_OUT_OF_RESOURCES);
    EXPECT_EQ(worker.JoinThread(), created == ERR_OK ? ERR_OK : ERR_NOT_READY);
    EXPECT_EQ(worker.ran, created == ERR_OK);
}

void RunAHostThread() {
    Worker<EalThread, EAL_ID_ZELK_CORE> worker;
    InitializeEalUtils();
    for (int i = 0; i < 2; ++i) {
        worker.ran = false;
        EXPECT_EQ(worker.CreateThread(), ERR_OK);
        const ThreadErrorCodeWrapper ended = worker.BlockUntilStopped(1);
        EXPECT_TRUE(ended == ERR_OK || ended == ERR_TIMEOUT);
        const Error joined = worker.JoinThread();
        EXPECT_EQ(joined, worker.ran ? ERR_OK : ERR_NOT_READY);
        EXPECT_EQ(worker.GetThreadState(), worker.ran ? EalThread::THREAD_JOINED : EalThread::THREAD_IDLE);
    }
    ShutdownEalUtils();
}

void AskForAdapters() {
    InitializeOS();
    {
        const NICInfo adapters;
        for (const NICEntry& adapter : adapters) {
            EXPECT_TRUE(adapter.GetName() == nullptr || adapter.GetName()[0] != '\0');
        }
        const std::unique_ptr<TcpSocket> socket(new TcpSocket);
        EXPECT_TRUE(socket == nullptr || socket->Bind("127.0.0.1", 0));
    }
    ShutdownOS();
}

void ExplainAnAddress() {
    ZelkTest::StandIn library;
    library.answers["SymGetLineFromAddr64"] = ZelkTest::StandIn::Fails(1, 0);
    InitializeDbgHelpService(false);
    const Error error = ProgramModuleDB::Instance().Prepare();
    EXPECT_TRUE(error == ERR_OK || error == ERR_OUT_OF_MEMORY);
    SymbolInfo info;
    EXPECT_TRUE(SymbolHandler::Instance().Resolve(reinterpret_cast<const void*>(&ExplainAnAddress), info));
    EXPECT_STRNE(info.module, "");
    CallStack stack;
    EXPECT_GE(stack.Capture(0), 5u);
    EXPECT_GT(StackSizeMonitorDb::Instance().Sample(), 0u);
    EXPECT_LE(StackSizeMonitorDb::Instance().GetCount(), 1u);
    unsigned short version[4];
    EXPECT_FALSE(WinDbgHelp::GetVersionInfo("no such.dll", version));
    ShutdownDbgHelpService();
}

struct Scenario {
    const char* name;
    void (*run)();
    std::size_t allocations; ///< at least so many are made, or the scenario does not see what it is for
    std::size_t threads;
};

void PrintTo(const Scenario& scenario, std::ostream* out) {
    *out << scenario.name;
}

constexpr Scenario SCENARIOS[] = {
    {"Base", LoadAModule, 1, 0},
    {"Generics", FillAMap, 10, 0},
    {"Cipher", Encrypt, 4, 0},
    {"ZLib", Deflate, 9, 0},
    {"Lzo", CompressByLzo, 3, 0},
    {"Random", DrawNumbers, 1, 0},
    {"Factory", RegisterClasses, 40, 0},
    {"Thread", RunAThread, 1, 0},
    {"EalThread", RunAHostThread, 0, 2},
    {"Net", AskForAdapters, 3, 0},
    {"DebugHelp", ExplainAnAddress, 4, 0},
};

/// The host's threads, of which some are refused.
struct RefusingThreads {
    static inline std::size_t s_first, s_count, s_asked;

    static void Refuse(std::size_t first, std::size_t count) {
        s_first = first;
        s_count = count;
        s_asked = 0;
        eal_thread_dll_interface table = ZelkHost::ThreadTable();
        table.create = [](int id, std::size_t stackSize, eal_thread_priority priority, eal_thread_entry entry,
                          void* argument) {
            const bool isRefused = ++s_asked >= s_first && s_asked - s_first < s_count;
            return isRefused ? nullptr : ZelkHost::ThreadTable().create(id, stackSize, priority, entry, argument);
        };
        table.join = [](eal_thread_handle thread) {
            EXPECT_NE(thread, nullptr);
            ZelkHost::ThreadTable().join(thread);
        };
        SetEalInterface(table);
    }
    static std::size_t Grant() {
        SetEalInterface(ZelkHost::ThreadTable());
        return s_asked >= s_first ? 1 : 0;
    }
};

struct RefusingMemory {
    static void Refuse(std::size_t first, std::size_t count) { ZelkHost::FailAllocations(first, count); }
    static std::size_t Grant() { return ZelkHost::FailAllocations(0); }
};

class Refusals : public testing::TestWithParam<Scenario> {
protected:
    /// Runs the scenario with each of `Things` refused in its turn.
    /// @return how many there are.
    template <class Things>
    static std::size_t RefuseEach(std::size_t count) {
        const std::size_t before = ZelkTest::OutstandingMemory().blocks;
        std::size_t first = 0;
        std::size_t refused = 0;
        do {
            SCOPED_TRACE(testing::Message() << ++first << "-th refused, " << count << " in all");
            const LogCapture log;
            Things::Refuse(first, count);
            GetParam().run();
            refused = Things::Grant();
            EXPECT_EQ(ZelkTest::OutstandingMemory().blocks, before) << "blocks left behind";
        } while (refused != 0 && !HasFailure());
        return first - 1;
    }
};

TEST_P(Refusals, HaveADefinedResult) {
    for (const std::size_t count : {std::size_t{1}, SIZE_MAX}) {
        EXPECT_GE(RefuseEach<RefusingMemory>(count), GetParam().allocations * (count == 1));
        EXPECT_GE(RefuseEach<RefusingThreads>(count), GetParam().threads * (count == 1));
    }
}

TEST_P(Refusals, AHostThatHearsNothingIsToldNothing) {
    const LogCapture log(0);
    GetParam().run();
    EXPECT_TRUE(log.Lines().empty());
}

INSTANTIATE_TEST_SUITE_P(Rooms, Refusals, testing::ValuesIn(SCENARIOS),
                         [](const auto& scenario) { return std::string(scenario.param.name); });

} // namespace
