/// @file
/// One line beside a class makes it known to the class factory:
///
///     Z4_REGISTER_CLASS(Circle, Shape)
///
/// after which `static_cast<Shape*>(ClassFactory::Instance().CreateInstance(TYPE))` makes a Circle, where TYPE is
/// `ClassType("Circle")` or an identifier that came from a file or another machine; of those, ask IsRegistered() first.
/// `delete` of the Shape destroys it.
#pragma once

#include <new>
#include <type_traits>
#include <zelk_core/base/assert.h>
#include <zelk_core/base/hostnew.h>
#include <zelk_core/services/runtimetype/classfactory.h>

namespace Z4 {

/// The identifier under which Z4_REGISTER_CLASS registers a class of this name: the name's CRC-32.
constexpr TypeID ClassType(const char* name) {
    return TypeID(name, TypeID::STANDARD_SEED);
}

/// Keeps a class registered from its construction to its destruction; a global in a module that is unloaded is
/// destroyed by the unloading. Make and destroy it while no other thread uses the factory. The factory's user gets the
/// objects as `Base*`. CreateInstance() takes an object's memory from the class's `operator new`, and `delete` of the
/// Base gives it back; PlacementCreate() constructs in the given memory, where only the destructor is called.
/// @tparam Class has a default constructor.
/// @tparam Base Class itself or a base of it; its destructor is virtual.
template <class Class, class Base = Class>
class ClassRegistration {
    static_assert(std::is_convertible_v<Class*, Base*>);

public:
    /// @param type its name must live as long as this object.
    explicit ClassRegistration(TypeID type) : m_type(ClassFactory::RegisterCreatorFuncPreMain(m_node, Create, type)) {}
    ~ClassRegistration() {
        if (m_type != TypeID()) {
            ClassFactory::UnRegisterCreatorFuncPreMain(m_node, Create, m_type);
        }
    }
    ClassRegistration(const ClassRegistration&) = delete;
    ClassRegistration& operator=(const ClassRegistration&) = delete;

    /// The type under which the class is registered; no type when it was refused, as its identifier was taken already.
    TypeID GetType() const { return m_type; }

    /// The class's CreatorFunction. Null when `memory` is null and `operator new` gives null.
    static void* Z4_CDECL Create(void* memory) {
        Z4_ASSERT(Private::IsAligned(memory, alignof(Class)), "The memory for an object is aligned for its class.");
        Base* const object = memory != nullptr ? ::new (memory) Class : new Class;
        return object;
    }

private:
    Private::ClassFactoryNode m_node;
    TypeID m_type;
};

} // namespace Z4

#define Z4_REGISTER_CLASS_JOIN(A, B) A##B
#define Z4_REGISTER_CLASS_ON_LINE(CLASS, BASE, LINE)                                                  \
    namespace {                                                                                       \
    const ::Z4::ClassRegistration<CLASS, BASE> Z4_REGISTER_CLASS_JOIN(g_classRegistration,            \
                                                                      LINE)(::Z4::ClassType(#CLASS)); \
    }

/// Registers CLASS under ClassType("CLASS"), the name as it is written here, with objects that the factory's user gets
/// as BASE. It stands at namespace scope of a source file, once for each class, where CLASS and BASE are complete.
#define Z4_REGISTER_CLASS(CLASS, BASE) Z4_REGISTER_CLASS_ON_LINE(CLASS, BASE, __LINE__)
