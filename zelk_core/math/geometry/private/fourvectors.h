/// @file
/// Four vectors of x, y and z, one to a lane, with the operations of VectorSIMD4f under the same names: what is written
/// for one pair of features serves four at a time. Scalars have one lane for each.
#pragma once

#include <zelk_core/math/geometry/columns.h>

namespace Z4::Private {

struct FourVectors {
    FourVectors(const VectorSIMD4f& ofX, const VectorSIMD4f& ofY, const VectorSIMD4f& ofZ) : x(ofX), y(ofY), z(ofZ) {}
    /// The same vector four times.
    explicit FourVectors(const VectorSIMD4f& v) : x(v.BroadcastX()), y(v.BroadcastY()), z(v.BroadcastZ()) {}

    VectorSIMD4f x, y, z;
};

inline FourVectors operator+(const FourVectors& a, const FourVectors& b) {
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}
inline FourVectors operator-(const FourVectors& a, const FourVectors& b) {
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}
inline FourVectors operator*(const VectorSIMD4f& s, const FourVectors& a) {
    return {s * a.x, s * a.y, s * a.z};
}

template <SumOrder ORDER>
inline VectorSIMD4f Dot3(const FourVectors& a, const FourVectors& b) {
    return Sum<ORDER>(a.x * b.x, a.y * b.y, a.z * b.z);
}
template <SumOrder ORDER>
inline VectorSIMD4f LengthSqr3(const FourVectors& a) {
    return Dot3<ORDER>(a, a);
}
inline FourVectors Cross3(const FourVectors& a, const FourVectors& b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

} // namespace Z4::Private
