/// @file
/// The process's class factory: makes objects of classes that are known by identifier only.
///
/// Beside a class, write one line of classregistration.h; the rest here is for engines that bring their own. The
/// factory is there between InitializeRuntimeTypeService() and ShutdownRuntimeTypeService() (lifecycle.h).
///
/// Nothing here is locked: registering belongs to start-up, on one thread. From then on any number of threads may look
/// up, as long as nobody registers, and create, as long as there are no sinks: notifications come from one thread at a
/// time.
#pragma once

#include <cstdint>
#include <zelk_core/base/api.h>
#include <zelk_core/base/hostnew.h>
#include <zelk_core/generics/dlist.h>
#include <zelk_core/generics/map.h>
#include <zelk_core/generics/notifier.h>
#include <zelk_core/services/runtimetype/typeid.h>

namespace Z4 {

namespace Private {
template <class T>
class Singleton;
}

/// Constructs an object in `memory`, or, when that is null, in memory of its own. What it returns is what the factory's
/// user gets, unchanged.
using CreatorFunction = void*(Z4_CDECL*)(void* memory);

/// What the factory tells its sinks, with the payload's fields beside the type.
enum ClassFactoryEvent : unsigned {
    CLASS_FACTORY_CREATED = 0,    ///< CreateInstance() made `object`
    CLASS_FACTORY_PLACED = 1,     ///< PlacementCreate() made `object`
    CLASS_FACTORY_REGISTERED = 2, ///< `creator` is registered now
};

struct ClassFactoryNotification {
    TypeID type;
    void* object;            ///< null with CLASS_FACTORY_REGISTERED
    CreatorFunction creator; ///< null with the others
};

namespace Private {

/// Where a registration waits for the factory. A global that is zeroed or constant-initialised.
struct ClassFactoryNode {
    TypeID type;
    CreatorFunction creator = nullptr;
    DList links;
};

} // namespace Private

/// What factories have in common: one can be destroyed through this class.
class BaseClassFactory : public HostNew<BaseClassFactory> {
public:
    virtual ~BaseClassFactory() = default;

    BaseClassFactory() = default;
    BaseClassFactory(const BaseClassFactory&) = default;
    BaseClassFactory& operator=(const BaseClassFactory&) = default;
};

/// Identifier 0, no type, can be registered and found, but creates nothing. Where an operation needs memory and the
/// host refuses it, the operation has no effect and answers as on failure.
class ClassFactory : public BaseClassFactory {
public:
    using Sink = Notifier<ClassFactoryNotification>::Sink;

    Z4_API ~ClassFactory() override;

    ClassFactory(const ClassFactory&) = delete;
    ClassFactory& operator=(const ClassFactory&) = delete;

    /// Makes an object: calls the type's creator with null, then the sinks. The type must be known: ask IsRegistered()
    /// where it comes from a file or another machine. A library that is built with its checks reports an unknown one;
    /// any other says nothing.
    /// @return what the creator returned; when that is null, no sink is called. Null for an unknown type.
    [[nodiscard]] Z4_API virtual void* CreateInstance(TypeID type);
    /// The same in `memory`, which must suit the class. Null, without a call of the creator, when `memory` is null.
    [[nodiscard]] Z4_API virtual void* PlacementCreate(TypeID type, void* memory);
    /// Registers a class and calls the sinks. The first registration of an identifier wins, with a warning in the log
    /// when another one has another creator. The creator, and the name in `type`, must stay until the registration
    /// ends. A null creator is registered as one that makes nothing.
    /// @return whether the class is registered by this call.
    Z4_API virtual bool RegisterCreatorFunc(CreatorFunction creator, TypeID type);
    Z4_API virtual bool IsRegistered(TypeID type);

    /// The factory, made if there is none yet. The host's log and memory tables must be up.
    Z4_API static ClassFactory& Instance();
    /// For the service's start-up: makes the factory.
    Z4_API static void SingletonInit();
    /// For the service's shut-down: destroys the factory, if there is one, and forgets registrations and sinks.
    Z4_API static void SingletonShutdown();

    /// Registers a class with the factory, or, before there is one, parks the registration in `node`. What is parked
    /// moves into the next factory at its creation. All registrations end with their factory, and a restarted one is
    /// empty: whoever restarts registers again. Works before the host has installed its tables, in static initialisers
    /// of any module.
    /// @param node must stay in its place until UnRegisterCreatorFuncPreMain(), for good without that. One that is
    /// parked already is refused.
    /// @return `type`, or no type when the identifier is registered or parked already, or memory is refused.
    Z4_API static TypeID RegisterCreatorFuncPreMain(Private::ClassFactoryNode& node, CreatorFunction creator,
                                                    TypeID type);
    /// Takes back what RegisterCreatorFuncPreMain() did with these arguments. A module that is unloaded does so first,
    /// as its creators and nodes vanish with it. Does nothing to a registration with another creator.
    Z4_API static void UnRegisterCreatorFuncPreMain(Private::ClassFactoryNode& node, CreatorFunction creator,
                                                    TypeID type);

    /// Sinks are called as notifier.h tells, and may register, create, and change the sinks.
    /// @return false when the sink is there already and when memory is refused.
    [[nodiscard]] Z4_API bool AddSink(Sink& sink);
    /// @return false when there is no such sink.
    Z4_API bool RemoveSink(Sink& sink);

    /// Logs what is registered, one line each, by ascending identifiers. In the form of a console command, whose
    /// arguments are ignored.
    /// @param level one of EalLogLevel.
    /// @return -1, always.
    Z4_API int DumpToConsole(unsigned long level, int argc, char** argv);

protected:
    /// Ends a registration; that of identifier 0 stays. An error in the log when there is none.
    Z4_API void UnRegisterCreator(TypeID type);

private:
    friend class Private::Singleton<ClassFactory>;
    friend struct ClassFactoryLayout;

    struct Registration {
        CreatorFunction creator;
        TypeID type;
    };

    ClassFactory();

    static ClassFactory& GetPrivateInstance();
    /// Moves in what is parked.
    void SingletonConstructor();

    Notifier<ClassFactoryNotification> m_notifier;
    Map<std::uint32_t, Registration> m_registrations;
    bool m_shuttingDown = false;
    [[maybe_unused]] unsigned char m_reserved[3] = {}; // Derived classes begin behind it, whoever compiles them.
};

} // namespace Z4
