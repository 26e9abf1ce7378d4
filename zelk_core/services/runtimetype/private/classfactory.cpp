#include <cstddef>
#include <utility>
#include <zelk_core/base/assert.h>
#include <zelk_core/base/log.h>
#include <zelk_core/base/private/singleton.h>
#include <zelk_core/base/strformat.h>
#include <zelk_core/services/runtimetype/private/creatorindex.h>

namespace Z4 {

template <>
struct Private::Layout<TypeID> {
    static_assert(offsetof(TypeID, m_identifier) == 0);
    static_assert(offsetof(TypeID, m_name) == 4);
    static_assert(sizeof(TypeID) == 8);
};

template <>
struct Private::Layout<Private::ClassFactoryNode> {
    static_assert(offsetof(ClassFactoryNode, type) == 0);
    static_assert(offsetof(ClassFactoryNode, creator) == 8);
    static_assert(offsetof(ClassFactoryNode, links) == 12);
    static_assert(sizeof(ClassFactoryNode) == 20);
};

template <>
struct Private::Layout<ClassFactory> {
    static_assert(offsetof(ClassFactory::Registration, creator) == 0);
    static_assert(offsetof(ClassFactory::Registration, type) == 4);
    static_assert(offsetof(ClassFactory, m_notifier) == 4);
    static_assert(offsetof(ClassFactory, m_registrations) == 28);
    static_assert(offsetof(ClassFactory, m_shuttingDown) == 52);
    static_assert(sizeof(ClassFactory) == 56);
};

namespace {

using Private::Message;

constexpr char SOURCE[] = "services/runtimetype/private/classfactory";
constexpr Message<unsigned, const char*, unsigned> REGISTERING{
    EAL_LOG_INFO, SOURCE, 133, "[Z4::ClassFactory] EAL_LOG_INFO: Registering class creator %X [%s] id=%x\n"};
constexpr Message<const char*, unsigned, unsigned> ALREADY_REGISTERED{
    EAL_LOG_WARNING, SOURCE, 141,
    "[Z4::ClassFactory] EAL_LOG_WARNING: Class [%s, creator=%X] is already registered with creator=%X\n. If you are "
    "restarting Zelk ignore this message."};
constexpr Message<unsigned, const char*> UNREGISTERING{
    EAL_LOG_INFO, SOURCE, 173, "[Z4::ClassFactory] EAL_LOG_INFO: Unregistering class creator %X [%s]\n"};
constexpr Message<unsigned, const char*> CANNOT_UNREGISTER{
    EAL_LOG_ERROR, SOURCE, 178, "[Z4::ClassFactory] EAL_LOG_ERROR: Cannot unregister class creator %X [%s]\n"};

/// What a dump says has the level that its caller asks for.
constexpr Message<> DumpHeading(EalLogLevel level) {
    return {level, SOURCE, 193, "ClassFactory :   Dumping registered classes in the class factory\n"};
}
constexpr Message<unsigned, const char*> DumpEntry(EalLogLevel level) {
    return {level, SOURCE, 201, "%-12u '%s'\n"};
}

constinit Private::Singleton<ClassFactory> g_factory;
constinit DList::DRoot g_parked;
// Beside the one factory, not in it, so that its layout stays its users' own.
constinit Private::CreatorIndex g_index;

const char* NameOf(const TypeID& type) {
    const char* const name = type;
    return name != nullptr ? name : "";
}

std::uint32_t IdentifierOf(const TypeID& type) {
    return static_cast<unsigned long>(type);
}

unsigned AddressOf(CreatorFunction creator) {
    return static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(creator));
}

Private::ClassFactoryNode& NodeOf(DList& links) {
    return DList::ElementOf<&Private::ClassFactoryNode::links>(links);
}

/// Stands in the index for a null creator.
void* Z4_CDECL CreateNothing(void*) {
    return nullptr;
}

/// What the host is told of a type that nobody registered. Whoever looks for the fault needs the name.
struct MissText {
    [[maybe_unused]] explicit MissText(const TypeID& type) {
        StrFormat::Print(text, sizeof(text), "The class \"%s\" (id=%x) is registered before it is created.",
                         NameOf(type), IdentifierOf(type));
    }

    char text[256];
};

CreatorFunction FindCreator(const TypeID& type) {
    const std::uint32_t identifier = IdentifierOf(type);
    const CreatorFunction creator = identifier != 0 ? g_index.Find(identifier) : nullptr;
    Z4_ASSERT(creator != nullptr, MissText(type).text);
    return creator;
}

} // namespace

ClassFactory::ClassFactory() {
    SingletonConstructor();
}

ClassFactory::~ClassFactory() = default;

void* ClassFactory::CreateInstance(TypeID type) {
    const CreatorFunction creator = FindCreator(type);
    void* const object = creator != nullptr ? creator(nullptr) : nullptr;
    if (object != nullptr) {
        m_notifier.Notify(CLASS_FACTORY_CREATED, {type, object, nullptr});
    }
    return object;
}

void* ClassFactory::PlacementCreate(TypeID type, void* memory) {
    const CreatorFunction creator = memory != nullptr ? FindCreator(type) : nullptr;
    void* const object = creator != nullptr ? creator(memory) : nullptr;
    if (object != nullptr) {
        m_notifier.Notify(CLASS_FACTORY_PLACED, {type, object, nullptr});
    }
    return object;
}

bool ClassFactory::RegisterCreatorFunc(CreatorFunction creator, TypeID type) {
    if (m_shuttingDown) {
        return false;
    }
    const std::uint32_t identifier = IdentifierOf(type);
    if (const Registration* const registered = m_registrations.FindValue(identifier); registered != nullptr) {
        if (registered->creator != creator) {
            Private::Log(ALREADY_REGISTERED, NameOf(type), AddressOf(creator), AddressOf(registered->creator));
        }
        return false;
    }
    Private::Log(REGISTERING, AddressOf(creator), NameOf(type), identifier);
    if (!g_index.Reserve() || !m_registrations.Insert(identifier, {creator, type}).inserted) {
        return false;
    }
    g_index.Insert(identifier, creator != nullptr ? creator : CreateNothing);
    m_notifier.Notify(CLASS_FACTORY_REGISTERED, {type, nullptr, creator});
    return true;
}

bool ClassFactory::IsRegistered(TypeID type) {
    return g_index.Find(IdentifierOf(type)) != nullptr;
}

ClassFactory& ClassFactory::Instance() {
    return GetPrivateInstance();
}

void ClassFactory::SingletonInit() {
    GetPrivateInstance();
}

void ClassFactory::SingletonShutdown() {
    ClassFactory* const factory = g_factory.Find();
    if (factory == nullptr) {
        return;
    }
    factory->m_shuttingDown = true;
    factory->m_registrations.Clear();
    g_index.Clear();
    g_factory.Destroy();
}

TypeID ClassFactory::RegisterCreatorFuncPreMain(Private::ClassFactoryNode& node, CreatorFunction creator, TypeID type) {
    if (ClassFactory* const factory = g_factory.Find(); factory != nullptr) {
        return factory->RegisterCreatorFunc(creator, type) ? type : TypeID();
    }
    if (node.links.IsLinked()) {
        return TypeID();
    }
    for (DList& links : g_parked) {
        if (NodeOf(links).type == type) {
            return TypeID();
        }
    }
    node.type = type;
    node.creator = creator;
    g_parked.PushBack(node.links);
    return type;
}

void ClassFactory::UnRegisterCreatorFuncPreMain(Private::ClassFactoryNode& node, CreatorFunction creator, TypeID type) {
    node.links.Unlink();
    ClassFactory* const factory = g_factory.Find();
    if (factory == nullptr) {
        return;
    }
    const Registration* const registered = factory->m_registrations.FindValue(IdentifierOf(type));
    if (registered != nullptr && registered->creator == creator) {
        factory->UnRegisterCreator(type);
    }
}

bool ClassFactory::AddSink(Sink& sink) {
    return m_notifier.AddSink(sink);
}

bool ClassFactory::RemoveSink(Sink& sink) {
    return m_notifier.RemoveSink(sink);
}

int ClassFactory::DumpToConsole(unsigned long level, int, char**) {
    const auto logLevel = static_cast<EalLogLevel>(level);
    Private::Log(DumpHeading(logLevel));
    for (const auto& entry : std::as_const(m_registrations)) {
        Private::Log(DumpEntry(logLevel), entry.key, NameOf(entry.value.type));
    }
    return -1;
}

void ClassFactory::UnRegisterCreator(TypeID type) {
    const std::uint32_t identifier = IdentifierOf(type);
    if (m_registrations.IsEmpty() || identifier == 0) {
        return;
    }
    const auto found = m_registrations.Find(identifier);
    if (found == m_registrations.end()) {
        Private::Log(CANNOT_UNREGISTER, 0U, NameOf(type));
        return;
    }
    const Registration& registered = found->value;
    Private::Log(UNREGISTERING, AddressOf(registered.creator), NameOf(registered.type));
    g_index.Erase(identifier);
    m_registrations.Erase(found);
}

ClassFactory& ClassFactory::GetPrivateInstance() {
    return g_factory.Get();
}

void ClassFactory::SingletonConstructor() {
    while (DList* const links = g_parked.PopFront()) {
        const Private::ClassFactoryNode& node = NodeOf(*links);
        ClassFactory::RegisterCreatorFunc(node.creator, node.type);
    }
}

} // namespace Z4
