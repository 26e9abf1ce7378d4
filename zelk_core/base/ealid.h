/// @file
/// Identifies who allocates, logs or owns: every call to the host's tables carries such a number.
#pragma once

namespace Z4 {

/// Comparison mix-in: gives `Derived`, which must offer `GetId()` as an `Other`, all four forms of == and !=.
template <class Derived, class Other>
class EqualityComparableTo {
public:
    friend constexpr bool operator==(const Derived& left, const Derived& right) {
        return left.GetId() == right.GetId();
    }
    friend constexpr bool operator==(const Derived& left, Other right) { return left.GetId() == right; }
};

/// A context identifier, a plain value. The numbers are the host's to hand out; two are fixed: `EAL_ID_VOID`, no
/// context, and `EAL_ID_ZELK_CORE`, this library.
class EALId : public EqualityComparableTo<EALId, int> {
public:
    constexpr EALId(int id) : m_id(id) {}

    constexpr int GetId() const { return m_id; }

private:
    int m_id;
};

inline constexpr int EAL_ID_VOID = -1;
/// The library's own context, under which all its memory is taken and all its messages are written.
inline constexpr int EAL_ID_ZELK_CORE = 0x40100001;

} // namespace Z4
