/// @file
/// Type queries for classes that are compiled without the language's own.
#pragma once

#include <zelk_core/base/api.h>
#include <zelk_core/services/runtimetype/typeid.h>

namespace Z4 {

/// The base of classes that answer what they are. Each derived class has the line Z4_DYNAMIC_TYPE; one without it
/// answers as the class that it is derived from. Any thread may ask, as long as the object lives.
class DynamicType {
public:
    virtual ~DynamicType() = default;

    /// The name of the object's class. It stays valid as long as the class's module is loaded.
    virtual const char* GetTypeNameExt() { return "DynamicType"; }
    /// Whether `type` is the object's class or one that the class is derived from; false for the identifier 0, which
    /// means no type.
    virtual bool IsAKindOf(const TypeID& type) const { return type == StaticType(); }

    /// `Class::DynamicCast(object)` gives `object` as a `Class*` when it is of that class or of one derived from it,
    /// else null; null stays null. Here, where `Class` is the base of all, that is the argument itself.
    static DynamicType* DynamicCast(DynamicType* object) { return object; }
    /// The type of the class that it is called for, whatever the object.
    static constexpr TypeID StaticType() { return TypeID("DynamicType", TypeID::STANDARD_SEED); }

    DynamicType() = default;
    DynamicType(const DynamicType&) = default;
    DynamicType& operator=(const DynamicType&) = default;
};

} // namespace Z4

/// Stands in the class, `class Dog : public Animal { Z4_DYNAMIC_TYPE(Dog, Animal) ... };`. It overrides the queries of
/// DynamicType and declares CLASS::DynamicCast() and CLASS::StaticType(), which is also the type under which
/// Z4_REGISTER_CLASS registers a class of this name. BASE is DynamicType or derived from it, but not virtually. What
/// follows in the class is public.
#define Z4_DYNAMIC_TYPE(CLASS, BASE)                                                                         \
public:                                                                                                      \
    const char* GetTypeNameExt() override {                                                                  \
        return #CLASS;                                                                                       \
    }                                                                                                        \
    bool IsAKindOf(const ::Z4::TypeID& type) const override {                                                \
        return type == StaticType() || BASE::IsAKindOf(type);                                                \
    }                                                                                                        \
    static CLASS* DynamicCast(::Z4::DynamicType* object) {                                                   \
        return object != nullptr && object->IsAKindOf(StaticType()) ? static_cast<CLASS*>(object) : nullptr; \
    }                                                                                                        \
    static constexpr ::Z4::TypeID StaticType() {                                                             \
        return ::Z4::TypeID(#CLASS, ::Z4::TypeID::STANDARD_SEED);                                            \
    }
