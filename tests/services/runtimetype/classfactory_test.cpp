// Faults hunted: a registration that is lost, doubled or outlives its end, in the map or in the index beside it, at any
// number of classes; objects of the wrong class or at the wrong place; messages and notifications that are missing, too
// many or say something else; what is parked before there is a factory.
#include <tests/support/contract.h>
#include <tests/support/random.h>
#include <tests/support/testhost.h>

#include <cstdio>
#include <gtest/gtest.h>
#include <map>
#include <optional>
#include <string>
#include <tuple>
#include <utility>
#include <vector>
#include <zelk_core/base/log.h>
#include <zelk_core/services/runtimetype/classregistration.h>
#include <zelk_core/services/runtimetype/lifecycle.h>

using namespace Z4;

namespace {

int g_places[3];

/// Creators that are told apart by what they return for null; the last returns nothing.
template <int WHICH>
void* Z4_CDECL Create(void* memory) {
    return WHICH == 2 ? nullptr : memory != nullptr ? memory : &g_places[WHICH];
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
constexpr TypeID CIRCLE = ClassType("Circle");

template <class... Arguments>
std::string Format(const char* format, Arguments... arguments) {
    char text[256];
    std::snprintf(text, sizeof(text), format, arguments...);
    return text;
}

/// Reaches the protected part.
struct Opened : ClassFactory {
    static void UnRegister(TypeID type) { (Instance().*&Opened::UnRegisterCreator)(type); }
};

using Event = std::tuple<unsigned, TypeID, void*, CreatorFunction>;

/// In the midst of a creation it can end the type at work and register another.
struct Sink : ClassFactory::Sink {
    void OnEvent(unsigned event, const ClassFactoryNotification& payload) override {
        events.emplace_back(event, payload.type, payload.object, payload.creator);
        if (interferes && event == CLASS_FACTORY_CREATED) {
            Opened::UnRegister(payload.type);
            ClassFactory::Instance().RegisterCreatorFunc(Create<1>, Other(payload.type));
        }
    }
    static TypeID Other(TypeID type) { return TypeID(static_cast<unsigned long>(type) ^ 0x5A5A5A5A); }

    std::vector<Event> events;
    bool interferes = false;
};

class Factory : public testing::Test {
protected:
    Factory() {
        InitializeRuntimeTypeService();
        g_circleMovedIn = g_circleMovedIn || Instance().IsRegistered(CIRCLE);
        Restart(); // Each test begins with nothing, the first of the program, too.
        log.emplace();
    }
    ~Factory() override { ShutdownRuntimeTypeService(); }

    static ClassFactory& Instance() { return ClassFactory::Instance(); }
    static void Restart() {
        ShutdownRuntimeTypeService();
        InitializeRuntimeTypeService();
    }

    std::optional<ZelkTest::LogCapture> log{std::in_place};
};

/// The factory's rules, over a zoo of identifiers: scattered ones, a dense run, one whose lower bits are all alike, and
/// one at the upper end.
struct Model {
    Model() {
        ZelkTest::Input input(5);
        for (unsigned i = 0; i < 700; ++i) {
            zoo.insert(zoo.end(), {input.Bits(), i, i << 20, 0xFFFFFFFF - i});
        }
    }

    bool Register(CreatorFunction creator, TypeID type) {
        const bool inserted = known.try_emplace(type, creator).second;
        if (inserted) {
            events.emplace_back(CLASS_FACTORY_REGISTERED, type, nullptr, creator);
        }
        return inserted;
    }
    void UnRegister(TypeID type) {
        if (type != TypeID()) {
            known.erase(type);
        }
    }
    /// Null when nobody registered the type.
    const CreatorFunction* Find(TypeID type) const {
        const auto found = known.find(type);
        return found == known.end() || type == TypeID() ? nullptr : &found->second;
    }

    std::vector<unsigned> zoo;
    std::map<TypeID, CreatorFunction> known;
    std::vector<Event> events;
};

TEST_F(Factory, FollowsItsRulesWhateverComes) {
    constexpr CreatorFunction CREATORS[] = {Create<0>, Create<1>, Create<2>, nullptr};
    ZelkTest::Input input(77);
    log.emplace(0U); // MessagesStayAsTheyAre has them
    Model model;
    Sink sink;
    ASSERT_TRUE(Instance().AddSink(sink));
    ASSERT_FALSE(Instance().AddSink(sink));
    for (unsigned step = 0; step < 12'000; ++step) {
        const unsigned any = model.zoo[input.Below(static_cast<unsigned>(model.zoo.size()))];
        const TypeID type(input.OnceIn(50) ? 0 : any); // which is none, and can be registered all the same
        const unsigned operation = input.Below(1000);
        SCOPED_TRACE(testing::Message() << "step " << step << ", operation " << operation);
        // Many classes in, then most of them out again, twice.
        const unsigned chanceToRegister = step % 6000 < 4000 ? 600 : 150;
        if (operation == 0 && step > 8000) {
            Restart();
            model.known.clear();
            ASSERT_TRUE(Instance().AddSink(sink)) << "a fresh factory has no sinks";
        } else if (operation < chanceToRegister) {
            const CreatorFunction creator = CREATORS[input.Below(4)];
            ASSERT_EQ(Instance().RegisterCreatorFunc(creator, type), model.Register(creator, type));
        } else if (operation < 750) {
            Opened::UnRegister(type);
            model.UnRegister(type);
        } else {
            int room = 0;
            const bool isPlaced = operation < 850;
            void* const memory = isPlaced && !input.OnceIn(8) ? &room : nullptr;
            const bool isAsked = !isPlaced || memory != nullptr; // no memory is no mistake, and nobody is called
            const CreatorFunction* const creator = isAsked ? model.Find(type) : nullptr;
            const ZelkTest::ExpectContract misses(ZelkTest::LIBRARY_CHECKS && isAsked && creator == nullptr ? 1 : 0);
            sink.interferes = input.OnceIn(4);
            void* const object = isPlaced ? Instance().PlacementCreate(type, memory) : Instance().CreateInstance(type);
            ASSERT_EQ(object, creator != nullptr && *creator != nullptr ? (*creator)(memory) : nullptr);
            if (object != nullptr) {
                model.events.emplace_back(isPlaced ? CLASS_FACTORY_PLACED : CLASS_FACTORY_CREATED, type, object,
                                          nullptr);
                if (sink.interferes && !isPlaced) {
                    model.UnRegister(type);
                    model.Register(Create<1>, Sink::Other(type));
                }
            }
        }
        ASSERT_EQ(Instance().IsRegistered(type), model.known.count(type) != 0);
        ASSERT_EQ(std::exchange(sink.events, {}), std::exchange(model.events, {}));
    }
    EXPECT_TRUE(Instance().RemoveSink(sink));
    EXPECT_FALSE(Instance().RemoveSink(sink));
}

TEST_F(Factory, MessagesStayAsTheyAre) {
    const TypeID plumless("plumless", TypeID::STANDARD_SEED);
    const TypeID sameHash("buckeroo", TypeID::STANDARD_SEED);
    Opened::UnRegister(plumless); // an empty factory misses nothing
    for (int time = 0; time < 2; ++time) {
        Instance().RegisterCreatorFunc(Create<0>, plumless);
        Opened::UnRegister(TypeID());
    }
    Instance().RegisterCreatorFunc(Create<1>, sameHash);
    Instance().RegisterCreatorFunc(Create<1>, TypeID(plumless));
    Instance().RegisterCreatorFunc(Create<0>, TypeID(0xFFFFFFFF));
    EXPECT_EQ(Instance().DumpToConsole(EAL_LOG_ERROR, 0, nullptr), -1);
    Opened::UnRegister(sameHash);
    Opened::UnRegister(plumless);
    EXPECT_EQ(Instance().DumpToConsole(8, 0, nullptr), -1) << "no such level";
    constexpr char SOURCE[] = "services/runtimetype/private/classfactory";
    const auto registering = "[Z4::ClassFactory] EAL_LOG_INFO: Registering class creator %X [%s] id=%x\n";
    const auto warning = "[Z4::ClassFactory] EAL_LOG_WARNING: Class [%s, creator=%X] is already registered with "
                         "creator=%X\n. If you are restarting Zelk ignore this message.";
    const auto unregistering = "[Z4::ClassFactory] EAL_LOG_INFO: Unregistering class creator %X [plumless]\n";
    CreatorFunction const creators[] = {Create<0>, Create<1>};
    log->ExpectOnly({
        {1, SOURCE, 133, Format(registering, creators[0], "plumless", 0x4DDB0C25)},
        {2, SOURCE, 141, Format(warning, "buckeroo", creators[1], creators[0])},
        {2, SOURCE, 141, Format(warning, "plumless", creators[1], creators[0])},
        {1, SOURCE, 133, Format(registering, creators[0], "", 0xFFFFFFFF)},
        {4, SOURCE, 193, "ClassFactory :   Dumping registered classes in the class factory\n"},
        {4, SOURCE, 201, "1306201125   'plumless'\n"},
        {4, SOURCE, 201, "4294967295   ''\n"},
        {1, SOURCE, 173, Format(unregistering, creators[0])},
        {4, SOURCE, 178, "[Z4::ClassFactory] EAL_LOG_ERROR: Cannot unregister class creator 0 [plumless]\n"},
    });
}

TEST_F(Factory, WhatIsParkedMovesIntoTheNextFactory) {
    EXPECT_TRUE(g_circleMovedIn);
    EXPECT_EQ(g_secondCircle.GetType(), TypeID());

    // With the factory there, registrations go straight into it, and end with it.
    Private::ClassFactoryNode nodes[3];
    const auto park = [&](unsigned node, CreatorFunction creator, unsigned identifier) {
        const TypeID type = ClassFactory::RegisterCreatorFuncPreMain(nodes[node], creator, TypeID(identifier));
        EXPECT_TRUE(type == TypeID() || type == TypeID(identifier));
        return type != TypeID();
    };
    EXPECT_TRUE(park(0, Create<0>, 8));
    EXPECT_FALSE(park(0, Create<0>, 8));
    ShutdownRuntimeTypeService();
    ClassFactory::SingletonShutdown(); // there is none any more
    log.emplace();
    // Without it they wait in order; the first of an identifier counts, and one that is taken back never enters.
    EXPECT_TRUE(park(0, Create<0>, 9));
    EXPECT_FALSE(park(1, Create<1>, 9));
    EXPECT_FALSE(park(0, Create<1>, 10));
    EXPECT_TRUE(park(1, Create<1>, 4));
    EXPECT_TRUE(park(2, Create<1>, 3));
    ClassFactory::UnRegisterCreatorFuncPreMain(nodes[1], Create<1>, TypeID(4));
    EXPECT_TRUE(log->Lines().empty());
    InitializeRuntimeTypeService();
    EXPECT_EQ(log->Lines().size(), 2u);
    // Taken back, one is gone; another's registration stays.
    ClassFactory::UnRegisterCreatorFuncPreMain(nodes[1], Create<1>, TypeID(9));
    EXPECT_TRUE(Instance().IsRegistered(TypeID(9)));
    ClassFactory::UnRegisterCreatorFuncPreMain(nodes[0], Create<0>, TypeID(9));
    EXPECT_FALSE(Instance().IsRegistered(TypeID(9)));
    ClassFactory::UnRegisterCreatorFuncPreMain(nodes[0], Create<0>, TypeID(9));
    // Services nest: the inner end leaves the factory alone. A fresh one is empty.
    InitializeRuntimeTypeService();
    ShutdownRuntimeTypeService();
    EXPECT_TRUE(Instance().IsRegistered(TypeID(3)));
    Restart();
    EXPECT_FALSE(Instance().IsRegistered(TypeID(3)));
}

TEST_F(Factory, ARegistrationObjectLastsAsLongAsItsModule) {
    {
        const ClassRegistration<Circle, Shape> loaded(CIRCLE);
        EXPECT_EQ(loaded.GetType(), CIRCLE);
        EXPECT_EQ((ClassRegistration<Circle, Shape>(CIRCLE).GetType()), TypeID()) << "a second one";
        // Objects come as their base, wherever that lies in them.
        auto* const shape = static_cast<Shape*>(Instance().CreateInstance(CIRCLE));
        ASSERT_NE(shape, nullptr);
        EXPECT_EQ(shape->Name(), "circle");
        delete shape;
        alignas(Circle) unsigned char memory[sizeof(Circle)];
        auto* const placed = static_cast<Shape*>(Instance().PlacementCreate(CIRCLE, memory));
        EXPECT_EQ(placed, static_cast<Shape*>(reinterpret_cast<Circle*>(memory)));
        placed->~Shape();
    }
    EXPECT_FALSE(Instance().IsRegistered(CIRCLE));
}

} // namespace
