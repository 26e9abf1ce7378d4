/// @file
/// Type queries for classes that are compiled without the language's own.
#pragma once

#include <zelk_core/base/api.h>
#include <zelk_core/services/runtimetype/typeid.h>

namespace Z4 {

/// The base of classes that answer what they are. A derived class says so by Z4_DYNAMIC_TYPE; one that does not answers
/// as the class it is derived from.
class DynamicType {
public:
    virtual ~DynamicType() = default;

    /// The name of the object's class. Lives as long as the class's module.
    virtual const char* GetTypeNameExt() { return "DynamicType"; }
    /// Whether the object's class or one that it is derived from has this identifier. No type is nobody's.
    virtual bool IsAKindOf(const TypeID& type) const { return type == StaticType(); }

    /// The argument, as its class if it is one of that class or of a class derived from it; else null. Null stays null.
    /// For this class that is the argument itself.
    static DynamicType* DynamicCast(DynamicType* object) { return object; }
    static constexpr TypeID StaticType() { return TypeID("DynamicType", TypeID::STANDARD_SEED); }

    DynamicType() = default;
    DynamicType(const DynamicType&) = default;
    DynamicType& operator=(const DynamicType&) = default;
};

} // namespace Z4

/// In the class: overrides the queries of DynamicType and declares CLASS::DynamicCast() and CLASS::StaticType(), which
/// is the type that Z4_REGISTER_CLASS gives to a class of this name. BASE is derived from DynamicType, but not
/// virtually. What follows is public.
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
