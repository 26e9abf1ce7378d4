/// @file
/// One line beside a class makes it known to the class factory:
///
///     Z4_REGISTER_CLASS(Circle, Shape)
///
/// after which `static_cast<Shape*>(ClassFactory::Instance().CreateInstance(TYPE))` makes a Circle, where TYPE is
/// `ClassType("Circle")` or an identifier that came from a file or another machine.
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

/// Keeps a class registered from here to the end of the object's life; as a global that is, with a module that is
/// unloaded, up to the unloading. What it makes is a `Base*` for the factory's user. Without memory to construct in it
/// takes that from the class's `operator new`; `delete` of the Base, whose destructor must be virtual, gives it back.
/// @tparam Class has a default constructor.
/// @tparam Base Class itself or a base of it.
template <class Class, class Base = Class>
class ClassRegistration {
    static_assert(std::is_convertible_v<Class*, Base*>);

public:
    /// @param type its name must live as long as the registration.
    explicit ClassRegistration(TypeID type) : m_type(ClassFactory::RegisterCreatorFuncPreMain(m_node, Create, type)) {}
    ~ClassRegistration() {
        if (m_type != TypeID()) {
            ClassFactory::UnRegisterCreatorFuncPreMain(m_node, Create, m_type);
        }
    }
    ClassRegistration(const ClassRegistration&) = delete;
    ClassRegistration& operator=(const ClassRegistration&) = delete;

    /// No type when another class has the identifier.
    TypeID GetType() const { return m_type; }

    /// As a CreatorFunction. Null when `operator new` gives null.
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

/// Registers CLASS under its name, written as here, with objects that the factory's user gets as BASE. At namespace
/// scope of a source file, where both names are known and the class is complete; once for each class.
#define Z4_REGISTER_CLASS(CLASS, BASE) Z4_REGISTER_CLASS_ON_LINE(CLASS, BASE, __LINE__)
