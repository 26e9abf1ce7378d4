/// @file
/// Sums of three, and three vectors turned into their columns: what queries about corners and axes have in common.
/// Public because inline queries use it.
#pragma once

#include <zelk_core/math/vectorsimd.h>

namespace Z4::Private {

/// x + y + z in the given order, lane by lane.
template <SumOrder ORDER>
inline VectorSIMD4f Sum(const VectorSIMD4f& x, const VectorSIMD4f& y, const VectorSIMD4f& z) {
    if constexpr (ORDER == SumOrder::FAST) {
        return x + (y + z);
    } else {
        return (x + y) + z;
    }
}

inline VectorSIMD4f Yzx(const VectorSIMD4f& v) {
    return VectorSIMD4f(Lanes::Shuffle<1, 2, 0, 3>(v.Native()));
}
inline VectorSIMD4f Zxy(const VectorSIMD4f& v) {
    return VectorSIMD4f(Lanes::Shuffle<2, 0, 1, 3>(v.Native()));
}

/// In the lanes x, y and z, those of three vectors: x of all three, y of all three and z of all three.
struct Columns {
    Columns(const VectorSIMD4f& a, const VectorSIMD4f& b, const VectorSIMD4f& c) {
        const __m128 xy = Lanes::InterleaveLow(a.Native(), b.Native());
        const __m128 zw = Lanes::InterleaveHigh(a.Native(), b.Native());
        x = VectorSIMD4f(Lanes::Shuffle<0, 1, 0, 0>(xy, c.Native()));
        y = VectorSIMD4f(Lanes::Shuffle<2, 3, 1, 1>(xy, c.Native()));
        z = VectorSIMD4f(Lanes::Shuffle<0, 1, 2, 2>(zw, c.Native()));
    }

    VectorSIMD4f x, y, z;
};

/// The dot products of `v` with the three vectors at `axes`, in the lanes x, y and z.
template <SumOrder ORDER>
inline VectorSIMD4f AlongAxes(const VectorSIMD4f* axes, const VectorSIMD4f& v) {
    const Columns products(axes[0] * v, axes[1] * v, axes[2] * v);
    return Sum<ORDER>(products.x, products.y, products.z);
}

} // namespace Z4::Private
