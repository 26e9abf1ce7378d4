/// @file
/// Identifies who allocates, logs or owns: every call to the host's tables carries such a number.
#pragma once

namespace Z4 {

/// Mix-in that compares: `class Derived : public EqualityComparableTo<Derived, Other>`, which has a function GetId()
/// that returns an `Other`, gets == and != with another Derived and, in both orders, with an `Other`. It has no state
/// that threads could share.
template <class Derived, class Other>
class EqualityComparableTo {
public:
    friend constexpr bool operator==(const Derived& left, const Derived& right) {
        return left.GetId() == right.GetId();
    }
    friend constexpr bool operator==(const Derived& left, Other right) { return left.GetId() == right; }
};

/// The number of a context, for which memory is taken and messages are written. The host gives each of its parts such a
/// number, as it likes. Two are fixed: EAL_ID_VOID, which stands for no context, and EAL_ID_ZELK_CORE, this library.
/// A plain value.
class EALId : public EqualityComparableTo<EALId, int> {
public:
    constexpr EALId(int id) : m_id(id) {}

    constexpr int GetId() const { return m_id; }

private:
    int m_id;
};

/// No context.
inline constexpr int EAL_ID_VOID = -1;
/// The context under which the library takes its own memory and writes its messages.
inline constexpr int EAL_ID_ZELK_CORE = 0x40100001;

} // namespace Z4
