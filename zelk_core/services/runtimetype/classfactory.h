/// @file
/// The process's class factory: makes objects of classes that are known by identifier only.
///
/// To register a class, write one line of classregistration.h beside it, and make objects with CreateInstance(); the
/// rest is for engines that register in a way of their own. The factory is there between InitializeRuntimeTypeService()
/// and ShutdownRuntimeTypeService() (lifecycle.h).
///
/// Nothing here is locked. Register at start-up, on one thread. From then on, as long as nobody registers, any number
/// of threads may call IsRegistered(), and they may create, too, as long as the factory has no sinks: sinks must be
/// called by one thread at a time.
#pragma once

#include <cstdint>
#include <zelk_core/base/api.h>
#include <zelk_core/base/hostnew.h>
#include <zelk_core/base/layout.h>
#include <zelk_core/generics/dlist.h>
#include <zelk_core/generics/map.h>
#include <zelk_core/generics/notifier.h>
#include <zelk_core/services/runtimetype/typeid.h>

namespace Z4 {

namespace Private {
template <class T>
class Singleton;
}

/// Constructs an object in `memory`, or, when that is null, in memory that it takes itself. The factory hands on what
/// it returns, unchanged; null says that there is no object.
using CreatorFunction = void*(Z4_CDECL*)(void* memory);

/// What the factory tells its sinks. The payload has the type and the one field that is named here.
enum ClassFactoryEvent : unsigned {
    CLASS_FACTORY_CREATED = 0,    ///< CreateInstance() made `object`
    CLASS_FACTORY_PLACED = 1,     ///< PlacementCreate() made `object`
    CLASS_FACTORY_REGISTERED = 2, ///< `creator` is registered now
};

/// The payload of every ClassFactoryEvent.
struct ClassFactoryNotification {
    TypeID type;
    void* object;            ///< null with CLASS_FACTORY_REGISTERED
    CreatorFunction creator; ///< null with the others
};

namespace Private {

/// Where a registration waits for the factory. Make it a global: one is ready before any code runs.
struct ClassFactoryNode {
    TypeID type;
    CreatorFunction creator = nullptr;
    DList links;
};

} // namespace Private

/// What factories have in common: one can be destroyed through this class, when no other thread uses it any more.
class BaseClassFactory : public HostNew<BaseClassFactory> {
public:
    virtual ~BaseClassFactory() = default;

    BaseClassFactory() = default;
    BaseClassFactory(const BaseClassFactory&) = default;
    BaseClassFactory& operator=(const BaseClassFactory&) = default;
};

/// Makes objects of registered classes by identifier; one object for the process. Nothing is locked: classfactory.h
/// tells which threads may do what. The identifier 0, which means no type, can be registered and is found then, but
/// creates nothing. Where an operation needs memory and the host refuses it, the operation has no effect and returns
/// what it returns on failure.
class ClassFactory : public BaseClassFactory {
public:
    using Sink = Notifier<ClassFactoryNotification>::Sink;

    Z4_API ~ClassFactory() override;

    ClassFactory(const ClassFactory&) = delete;
    ClassFactory& operator=(const ClassFactory&) = delete;

    /// Makes an object: calls the type's creator with null, then the sinks with CLASS_FACTORY_CREATED. The type must be
    /// registered: where it comes from a file or another machine, ask IsRegistered() first. A library that is built
    /// with its checks reports one that is not; any other says nothing.
    /// @return what the creator returned; when that is null, no sink is called. Null for a type that is not registered.
    [[nodiscard]] Z4_API virtual void* CreateInstance(TypeID type);
    /// Makes an object in `memory`, which must have the size and the alignment that the class needs: as
    /// CreateInstance(), but the creator gets `memory`, and the sinks are called with CLASS_FACTORY_PLACED.
    /// @return as CreateInstance(); null, without a call of the creator, when `memory` is null.
    [[nodiscard]] Z4_API virtual void* PlacementCreate(TypeID type, void* memory);
    /// Registers a class, writes that to the log as an information, and calls the sinks with CLASS_FACTORY_REGISTERED.
    /// The first registration of an identifier stays; a later one is refused, and the log has a warning if its creator
    /// is another one. `creator`, and the name in `type`, must stay valid until the registration ends. A null creator
    /// is registered as one that makes nothing.
    /// @return whether this call registered the class.
    Z4_API virtual bool RegisterCreatorFunc(CreatorFunction creator, TypeID type);
    /// Whether a class with this identifier is registered.
    Z4_API virtual bool IsRegistered(TypeID type);

    /// The factory, which is made if there is none yet, with what is parked (see below). The host's log and memory
    /// tables must be started. Any thread.
    Z4_API static ClassFactory& Instance();
    /// For the service's start-up: makes the factory if there is none. Any thread, any number of times.
    Z4_API static void SingletonInit();
    /// For the service's shut-down: destroys the factory, if there is one, with its registrations and sinks. Nobody may
    /// use it meanwhile.
    Z4_API static void SingletonShutdown();

    /// Registers a class, also before there is a factory: works in static initialisers of any module, when the host has
    /// not yet installed its tables. With a factory it does what RegisterCreatorFunc() does. Without one it parks the
    /// registration in `node`, and the next factory takes in all that is parked, in this order, when it is made.
    ///
    /// Registrations end with their factory. They are not parked again, so the factory of a restarted service is empty,
    /// and whoever restarts it registers again.
    /// @param node must stay in its place until UnRegisterCreatorFuncPreMain(), or for good where that is never called.
    /// A node that is parked already is refused.
    /// @return `type`; no type where the registration is refused: the identifier is registered or parked already, the
    /// node is parked, or the host refuses memory.
    Z4_API static TypeID RegisterCreatorFuncPreMain(Private::ClassFactoryNode& node, CreatorFunction creator,
                                                    TypeID type);
    /// Takes back what RegisterCreatorFuncPreMain() did with these arguments, parked or registered. A module must do so
    /// before it is unloaded, because its creators and nodes vanish with it. A registration of `type` with another
    /// creator stays.
    Z4_API static void UnRegisterCreatorFuncPreMain(Private::ClassFactoryNode& node, CreatorFunction creator,
                                                    TypeID type);

    /// From now on `sink` is called at each event, as notifier.h tells, until RemoveSink() or the factory's end; it
    /// must live as long. While it is called it may register, create, and add and remove sinks.
    /// @return false when the sink is there already and when memory is refused.
    [[nodiscard]] Z4_API bool AddSink(Sink& sink);
    /// @return false when the sink is not there.
    Z4_API bool RemoveSink(Sink& sink);

    /// Logs a heading and a line for each registered class, by ascending identifiers. It has the form of a console
    /// command; the command's arguments are ignored and may be null.
    /// @param level one of EalLogLevel.
    /// @return always -1.
    Z4_API int DumpToConsole(unsigned long level, int argc, char** argv);

protected:
    /// Ends the registration of this identifier; that of the identifier 0 stays. Where there is none, the log has an
    /// error, unless nothing at all is registered.
    Z4_API void UnRegisterCreator(TypeID type);

private:
    friend class Private::Singleton<ClassFactory>;
    friend struct Private::Layout<ClassFactory>;

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
