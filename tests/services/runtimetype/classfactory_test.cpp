#include <tests/support/contract.h>
#include <tests/support/testhost.h>

#include <algorithm>
#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <gtest/gtest.h>
#include <random>
#include <string>
#include <thread>
#include <vector>
#include <zelk_core/base/log.h>
#include <zelk_core/services/runtimetype/classregistration.h>
#include <zelk_core/services/runtimetype/lifecycle.h>

using namespace Z4;
using ZelkTest::LogCapture;

namespace {

int g_places[2];
void* g_lastMemory;

/// Two creators, told apart by what they return for null.
template <int WHICH>
void* Z4_CDECL Create(void* memory) {
    g_lastMemory = memory;
    return memory != nullptr ? memory : &g_places[WHICH];
}

void* Z4_CDECL CreateNone(void*) {
    return nullptr;
}

struct Shape {
    virtual ~Shape() = default;
    virtual std::string Name() const = 0;
};
struct Tag {
    virtual ~Tag() = default;
    int number = 1;
};
/// Its Shape is not at its start.
struct Circle : Tag, Shape {
    std::string Name() const override { return "circle"; }
};

// Parked before the host has any table; the second finds its name taken.
Z4_REGISTER_CLASS(Circle, Shape)
const ClassRegistration<Circle, Shape> g_secondCircle(ClassType("Circle"));
bool g_circleMovedIn; ///< into the first factory of this program

unsigned AddressOf(CreatorFunction creator) {
    return static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(creator));
}

std::string Format(const char* format, ...) {
    char text[256];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof(text), format, arguments);
    va_end(arguments);
    return text;
}

std::string RegisteringText(CreatorFunction creator, const char* name, unsigned identifier) {
    return Format("1:133 [Z4::ClassFactory] EAL_LOG_INFO: Registering class creator %X [%s] id=%x\n",
                  AddressOf(creator), name, identifier);
}

/// What was logged since the last call: level, line and text of each.
class Log {
public:
    explicit Log(unsigned levels = 7) : m_capture(levels) {}

    std::vector<std::string> Take() {
        const std::vector<ZelkTest::LogLine> lines = m_capture.Lines();
        std::vector<std::string> texts;
        for (; m_taken < lines.size(); ++m_taken) {
            const ZelkTest::LogLine& line = lines[m_taken];
            EXPECT_EQ(line.file, "services/runtimetype/private/classfactory");
            texts.push_back(std::to_string(line.level) + ':' + std::to_string(line.line) + ' ' + line.text);
        }
        return texts;
    }

private:
    LogCapture m_capture;
    std::size_t m_taken = 0;
};

using Texts = std::vector<std::string>;

/// Reaches the protected part.
struct Opened : ClassFactory {
    static void UnRegister(TypeID type) { (Instance().*&Opened::UnRegisterCreator)(type); }
};

struct Sink : ClassFactory::Sink {
    void OnEvent(unsigned event, const ClassFactoryNotification& payload) override {
        events.push_back(event);
        last = payload;
        if (action) {
            action();
        }
    }

    std::vector<unsigned> events;
    ClassFactoryNotification last{};
    std::function<void()> action;
};

class Factory : public testing::Test {
protected:
    Factory() {
        InitializeRuntimeTypeService();
        g_circleMovedIn = g_circleMovedIn || Instance().IsRegistered(ClassType("Circle"));
        log.Take();
    }
    ~Factory() override {
        ZelkTest::FailAllocations(0);
        ShutdownRuntimeTypeService();
    }

    static ClassFactory& Instance() { return ClassFactory::Instance(); }
    static void Restart() {
        ShutdownRuntimeTypeService();
        InitializeRuntimeTypeService();
    }

    Log log;
};

} // namespace

TEST_F(Factory, TheFirstRegistrationWins) {
    const TypeID plumless("plumless", TypeID::STANDARD_SEED);
    const TypeID sameHash("buckeroo", TypeID::STANDARD_SEED);
    EXPECT_TRUE(Instance().RegisterCreatorFunc(Create<0>, plumless));
    EXPECT_EQ(log.Take(), Texts{RegisteringText(Create<0>, "plumless", 0x4DDB0C25)});
    EXPECT_FALSE(Instance().RegisterCreatorFunc(Create<0>, sameHash));
    EXPECT_EQ(log.Take(), Texts{});
    EXPECT_FALSE(Instance().RegisterCreatorFunc(Create<1>, sameHash));
    EXPECT_FALSE(Instance().RegisterCreatorFunc(Create<1>, TypeID(plumless)));
    const std::string warning =
        "2:141 [Z4::ClassFactory] EAL_LOG_WARNING: Class [%s, creator=%X] is already registered "
        "with creator=%X\n. If you are restarting Zelk ignore this message.";
    EXPECT_EQ(log.Take(), (Texts{Format(warning.c_str(), "buckeroo", AddressOf(Create<1>), AddressOf(Create<0>)),
                                 Format(warning.c_str(), "plumless", AddressOf(Create<1>), AddressOf(Create<0>))}));
    EXPECT_EQ(Instance().CreateInstance(sameHash), &g_places[0]);

    EXPECT_TRUE(Instance().RegisterCreatorFunc(Create<1>, TypeID(0xAB)));
    EXPECT_EQ(log.Take(), Texts{RegisteringText(Create<1>, "", 0xAB)});
}

TEST_F(Factory, CreatesByIdentifier) {
    // What nobody registered, and what has no type, in an object's own memory and in given memory.
    const ZelkTest::ExpectContract misses(ZelkTest::LIBRARY_CHECKS ? 3 : 0);
    int memory = 0;
    const TypeID type(5);
    EXPECT_EQ(Instance().CreateInstance(type), nullptr);
    EXPECT_FALSE(Instance().IsRegistered(type));
    Instance().RegisterCreatorFunc(Create<1>, type);
    EXPECT_TRUE(Instance().IsRegistered(type));
    g_lastMemory = &memory;
    EXPECT_EQ(Instance().CreateInstance(type), &g_places[1]);
    EXPECT_EQ(g_lastMemory, nullptr);
    EXPECT_EQ(Instance().PlacementCreate(type, &memory), &memory);
    EXPECT_EQ(g_lastMemory, &memory);
    // No memory and no type: the creator is not called.
    EXPECT_EQ(Instance().PlacementCreate(type, nullptr), nullptr);
    Instance().RegisterCreatorFunc(Create<1>, TypeID());
    EXPECT_TRUE(Instance().IsRegistered(TypeID()));
    EXPECT_EQ(Instance().CreateInstance(TypeID()), nullptr);
    EXPECT_EQ(Instance().PlacementCreate(TypeID(), &g_places), nullptr);
    EXPECT_EQ(g_lastMemory, &memory);
    // A null creator is one that makes nothing.
    EXPECT_TRUE(Instance().RegisterCreatorFunc(nullptr, TypeID(6)));
    EXPECT_FALSE(Instance().RegisterCreatorFunc(nullptr, TypeID(6)));
    EXPECT_EQ(Instance().CreateInstance(TypeID(6)), nullptr);
}

TEST_F(Factory, TellsItsSinks) {
    Sink sink;
    Sink second;
    EXPECT_TRUE(Instance().AddSink(sink));
    EXPECT_FALSE(Instance().AddSink(sink));
    const TypeID type("Told", TypeID::STANDARD_SEED);
    Instance().RegisterCreatorFunc(Create<0>, type);
    EXPECT_EQ(static_cast<const char*>(sink.last.type), static_cast<const char*>(type));
    EXPECT_EQ(sink.last.creator, &Create<0>);
    EXPECT_EQ(Instance().CreateInstance(type), &g_places[0]);
    EXPECT_EQ(sink.last.object, &g_places[0]);
    EXPECT_EQ(Instance().PlacementCreate(type, &g_places[1]), &g_places[1]);
    EXPECT_EQ(sink.last.object, &g_places[1]);
    EXPECT_EQ(sink.last.type, type);
    EXPECT_EQ(sink.events, (std::vector<unsigned>{2, 0, 1}));
    // What fails tells nobody.
    Instance().RegisterCreatorFunc(Create<0>, type);
    Instance().RegisterCreatorFunc(CreateNone, TypeID(2));
    EXPECT_EQ(Instance().CreateInstance(TypeID(2)), nullptr);
    EXPECT_EQ(sink.events.size(), 4u);
    // From a sink: many registrations, each of which is told in turn, an end of the type at work, a change of sinks.
    unsigned next = 100;
    sink.action = [&] {
        if (next < 300) {
            Instance().RegisterCreatorFunc(Create<1>, TypeID(next++));
            return;
        }
        Opened::UnRegister(type);
        Instance().RemoveSink(sink);
        EXPECT_TRUE(Instance().AddSink(second));
    };
    EXPECT_EQ(Instance().CreateInstance(type), &g_places[0]);
    EXPECT_EQ(sink.events.size(), 205u);
    EXPECT_TRUE(Instance().IsRegistered(TypeID(299)));
    EXPECT_FALSE(Instance().IsRegistered(type));
    EXPECT_FALSE(Instance().RemoveSink(sink));
    EXPECT_EQ(Instance().CreateInstance(TypeID(299)), &g_places[1]);
    EXPECT_EQ(sink.events.size(), 205u);
    EXPECT_EQ(second.events, std::vector<unsigned>{0});
}

TEST_F(Factory, UnRegisters) {
    const TypeID type("Gone", TypeID::STANDARD_SEED);
    Instance().RegisterCreatorFunc(Create<0>, TypeID());
    Instance().RegisterCreatorFunc(Create<1>, type);
    log.Take();
    Opened::UnRegister(TypeID());
    EXPECT_TRUE(Instance().IsRegistered(TypeID()));
    Opened::UnRegister(TypeID(type));
    EXPECT_FALSE(Instance().IsRegistered(type));
    Opened::UnRegister(type);
    EXPECT_EQ(log.Take(),
              (Texts{Format("1:173 [Z4::ClassFactory] EAL_LOG_INFO: Unregistering class creator %X [Gone]\n",
                            AddressOf(Create<1>)),
                     "4:178 [Z4::ClassFactory] EAL_LOG_ERROR: Cannot unregister class creator 0 [Gone]\n"}));
}

TEST_F(Factory, Dumps) {
    const TypeID circle = ClassType("Circle");
    const ClassRegistration<Circle, Shape> registration(circle);
    Instance().RegisterCreatorFunc(Create<0>, TypeID(0xFFFFFFFF));
    Instance().RegisterCreatorFunc(Create<0>, TypeID(12));
    log.Take();
    EXPECT_EQ(Instance().DumpToConsole(EAL_LOG_ERROR, 0, nullptr), -1);
    EXPECT_EQ(
        log.Take(),
        (Texts{"4:193 ClassFactory :   Dumping registered classes in the class factory\n", "4:201 12           ''\n",
               Format("4:201 %-12lu 'Circle'\n", static_cast<unsigned long>(circle)), "4:201 4294967295   ''\n"}));
    EXPECT_EQ(Instance().DumpToConsole(8, 0, nullptr), -1);
    EXPECT_EQ(log.Take(), Texts{});
}

TEST_F(Factory, HoldsTenThousandClasses) {
    constexpr unsigned SEED = 5;
    std::mt19937 random(SEED);
    // Scattered ones, a dense run, and a run whose lower bits are all alike.
    std::vector<unsigned> identifiers;
    for (unsigned i = 0; i < 4000; ++i) {
        identifiers.push_back(static_cast<unsigned>(random()));
        identifiers.push_back(i + 1);
        if (i % 2 == 0) {
            identifiers.push_back((i + 1) << 20);
        }
    }
    std::sort(identifiers.begin(), identifiers.end());
    identifiers.erase(std::unique(identifiers.begin(), identifiers.end()), identifiers.end());
    identifiers.erase(std::remove(identifiers.begin(), identifiers.end(), 0U), identifiers.end());
    std::shuffle(identifiers.begin(), identifiers.end(), random);
    const auto creatorOf = [](unsigned identifier) { return identifier % 3 != 0 ? Create<0> : Create<1>; };
    const auto placeOf = [](unsigned identifier) { return &g_places[identifier % 3 != 0 ? 0 : 1]; };
    for (const unsigned identifier : identifiers) {
        ASSERT_TRUE(Instance().RegisterCreatorFunc(creatorOf(identifier), TypeID(identifier)));
    }
    // Half of them go, in an order of their own; the rest must still be found, and the gone ones not.
    std::shuffle(identifiers.begin(), identifiers.end(), random);
    const std::size_t half = identifiers.size() / 2;
    for (std::size_t i = 0; i < half; ++i) {
        Opened::UnRegister(TypeID(identifiers[i]));
    }
    const ZelkTest::ExpectContract misses(ZelkTest::LIBRARY_CHECKS ? static_cast<unsigned>(half) : 0);
    for (std::size_t i = 0; i < identifiers.size(); ++i) {
        const TypeID type(identifiers[i]);
        ASSERT_EQ(Instance().IsRegistered(type), i >= half) << "seed " << SEED;
        ASSERT_EQ(Instance().CreateInstance(type), i < half ? nullptr : placeOf(identifiers[i]));
    }
    log.Take();
    Instance().DumpToConsole(EAL_LOG_INFO, 0, nullptr);
    std::vector<unsigned> dumped;
    for (const std::string& text : log.Take()) {
        dumped.push_back(static_cast<unsigned>(std::strtoul(text.c_str() + 6, nullptr, 10)));
    }
    EXPECT_EQ(dumped.size(), identifiers.size() - half + 1); // With the heading.
    EXPECT_TRUE(std::is_sorted(dumped.begin(), dumped.end()));
}

TEST_F(Factory, WhatIsParkedMovesIntoTheNextFactory) {
    EXPECT_TRUE(g_circleMovedIn);
    EXPECT_EQ(g_secondCircle.GetType(), TypeID());

    // With the factory there, registrations go straight into it.
    Private::ClassFactoryNode nodes[3];
    const TypeID type("Direct", TypeID::STANDARD_SEED);
    EXPECT_EQ(ClassFactory::RegisterCreatorFuncPreMain(nodes[0], Create<0>, type), type);
    EXPECT_EQ(ClassFactory::RegisterCreatorFuncPreMain(nodes[0], Create<0>, type), TypeID());
    ShutdownRuntimeTypeService();
    log.Take();
    // Without it they wait in order; the first of an identifier counts.
    EXPECT_EQ(ClassFactory::RegisterCreatorFuncPreMain(nodes[0], Create<0>, TypeID(9)), TypeID(9));
    EXPECT_EQ(ClassFactory::RegisterCreatorFuncPreMain(nodes[1], Create<1>, TypeID(9)), TypeID());
    EXPECT_EQ(ClassFactory::RegisterCreatorFuncPreMain(nodes[0], Create<1>, TypeID(10)), TypeID());
    EXPECT_EQ(ClassFactory::RegisterCreatorFuncPreMain(nodes[2], Create<1>, TypeID(3)), TypeID(3));
    EXPECT_EQ(log.Take(), Texts{});
    InitializeRuntimeTypeService();
    EXPECT_EQ(log.Take(), (Texts{RegisteringText(Create<0>, "", 9), RegisteringText(Create<1>, "", 3)}));
    EXPECT_FALSE(Instance().IsRegistered(type));
    // Taken back, one is gone; another's registration stays.
    ClassFactory::UnRegisterCreatorFuncPreMain(nodes[1], Create<1>, TypeID(9));
    EXPECT_TRUE(Instance().IsRegistered(TypeID(9)));
    ClassFactory::UnRegisterCreatorFuncPreMain(nodes[0], Create<0>, TypeID(9));
    EXPECT_FALSE(Instance().IsRegistered(TypeID(9)));
    Restart();
    EXPECT_FALSE(Instance().IsRegistered(TypeID(3))) << "a fresh factory is empty";

    // One that is taken back while it waits never enters.
    ShutdownRuntimeTypeService();
    EXPECT_EQ(ClassFactory::RegisterCreatorFuncPreMain(nodes[2], Create<1>, TypeID(3)), TypeID(3));
    ClassFactory::UnRegisterCreatorFuncPreMain(nodes[2], Create<1>, TypeID(3));
    InitializeRuntimeTypeService();
    EXPECT_FALSE(Instance().IsRegistered(TypeID(3)));
}

TEST_F(Factory, MakesObjectsAsTheirBase) {
    const TypeID circle = ClassType("Circle");
    const ClassRegistration<Circle, Shape> registration(circle);
    auto* const shape = static_cast<Shape*>(Instance().CreateInstance(circle));
    ASSERT_NE(shape, nullptr);
    EXPECT_EQ(shape->Name(), "circle");
    delete shape;
    alignas(Circle) unsigned char memory[sizeof(Circle)];
    auto* const placed = static_cast<Shape*>(Instance().PlacementCreate(circle, memory));
    EXPECT_EQ(placed, static_cast<Shape*>(reinterpret_cast<Circle*>(memory)));
    placed->~Shape();
}

TEST_F(Factory, ARegistrationObjectLastsAsLongAsItsModule) {
    const TypeID type = ClassType("Loaded");
    {
        const ClassRegistration<Circle, Shape> loaded(type);
        EXPECT_EQ(loaded.GetType(), type);
        {
            const ClassRegistration<Circle, Shape> again(type);
            EXPECT_EQ(again.GetType(), TypeID());
        }
        EXPECT_TRUE(Instance().IsRegistered(type));
    }
    EXPECT_FALSE(Instance().IsRegistered(type));
}

TEST_F(Factory, ARestartBeginsAnew) {
    Sink sink;
    EXPECT_TRUE(Instance().AddSink(sink));
    Instance().RegisterCreatorFunc(Create<0>, TypeID(1));
    Restart();
    EXPECT_FALSE(Instance().IsRegistered(TypeID(1)));
    EXPECT_TRUE(Instance().RegisterCreatorFunc(Create<1>, TypeID(1)));
    EXPECT_EQ(Instance().CreateInstance(TypeID(1)), &g_places[1]);
    EXPECT_EQ(sink.events, std::vector<unsigned>{2});
    // Services nest: the inner end leaves the factory alone.
    InitializeRuntimeTypeService();
    ShutdownRuntimeTypeService();
    EXPECT_TRUE(Instance().IsRegistered(TypeID(1)));
}

TEST_F(Factory, EveryRefusedAllocationLosesOneOperation) {
    constexpr unsigned CLASSES = 150; // The index grows twice on the way.
    unsigned refusals = 0;
    for (std::size_t first = 1; refusals < 2 * CLASSES; ++first) {
        Restart();
        ZelkTest::FailAllocations(first);
        unsigned identifier = 1;
        while (identifier <= CLASSES && Instance().RegisterCreatorFunc(Create<0>, TypeID(identifier))) {
            ++identifier;
        }
        if (identifier > CLASSES) {
            EXPECT_GT(first, CLASSES);
            break;
        }
        ++refusals;
        EXPECT_FALSE(Instance().IsRegistered(TypeID(identifier)));
        Sink sink;
        EXPECT_FALSE(Instance().AddSink(sink));
        // What was there works, and nothing needs a restart.
        EXPECT_TRUE(identifier == 1 || Instance().CreateInstance(TypeID(identifier - 1)) == &g_places[0]);
        ZelkTest::FailAllocations(0);
        EXPECT_TRUE(Instance().RegisterCreatorFunc(Create<0>, TypeID(identifier)));
        EXPECT_EQ(Instance().CreateInstance(TypeID(identifier)), &g_places[0]);
    }
    EXPECT_GT(refusals, CLASSES);
    // A factory that cannot take in what is parked is there all the same.
    ShutdownRuntimeTypeService();
    const ClassRegistration<Circle, Shape> parked(ClassType("Circle"));
    ZelkTest::FailAllocations(1);
    InitializeRuntimeTypeService();
    EXPECT_FALSE(Instance().IsRegistered(ClassType("Circle")));
}

TEST_F(Factory, IsMadeOnceByManyThreads) {
    for (int round = 0; round < 50; ++round) {
        ClassFactory::SingletonShutdown();
        Private::ClassFactoryNode node;
        ClassFactory::RegisterCreatorFuncPreMain(node, Create<0>, TypeID(5));
        log.Take();
        std::atomic<int> ready = 0;
        std::vector<ClassFactory*> seen(4);
        std::vector<std::thread> threads;
        for (ClassFactory*& mine : seen) {
            threads.emplace_back([&] {
                ++ready;
                while (ready < 4) {
                    std::this_thread::yield();
                }
                mine = &ClassFactory::Instance();
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        EXPECT_EQ(std::count(seen.begin(), seen.end(), seen[0]), 4);
        EXPECT_EQ(log.Take(), (Texts{RegisteringText(Create<0>, "", 5)})) << "taken in once";
    }
}
