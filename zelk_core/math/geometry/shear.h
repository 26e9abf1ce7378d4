/// @file
/// Ray and triangle without a leak: the kernel of the queries against triangles and rectangles. Public because inline
/// queries use it.
///
/// Corners are taken relative to the ray's start and sheared so that the ray becomes the axis that it follows most.
/// What is left is a plane question: around which of the sheared corners does the point 0 lie? Each corner is sheared
/// alone, so that triangles that share a corner see the same point there (S. Woop, C. Benthin and I. Wald, "Watertight
/// Ray/Triangle Intersection", Journal of Computer Graphics Techniques, 2013).
///
/// The answer is exact for these points. The side of an edge is the sign of a b - c d. Rounding is monotone, so the
/// rounded difference of the rounded products is never of the wrong sign, but may be 0; then doubles decide, in which
/// the products are exact. Two triangles at an edge use the same numbers, with the opposite sign, so that a ray cannot
/// pass between them.
#pragma once

#include <zelk_core/base/api.h>
#include <zelk_core/math/geometry/columns.h>
#include <zelk_core/math/vectorsimd.h>

namespace Z4::Private {

/// How a ray is sheared: by how much the two other axes move per unit of the main one, and 1 over the direction's
/// component along that. `axis` is the main axis, 0 to 2 for x to z, plus NEGATIVE where the ray descends it.
struct Shear {
    static constexpr unsigned NEGATIVE = 4;

    float x, y, scale;
    unsigned axis;
};

/// Points in the plane across a ray, and their depths along it. The lanes are different points.
struct ShearedPoints {
    VectorSIMD4f x, y, depth;
};

/// Shears points that are given relative to the ray's start. The axes keep their cyclic order.
Z4_ALWAYS_INLINE ShearedPoints ShearPoints(const Shear& shear, const VectorSIMD4f& x, const VectorSIMD4f& y,
                                           const VectorSIMD4f& z) {
    const auto along = [&shear](const VectorSIMD4f& p, const VectorSIMD4f& q, const VectorSIMD4f& depth) {
        return ShearedPoints{p - shear.x * depth, q - shear.y * depth, depth * shear.scale};
    };
    switch (shear.axis % Shear::NEGATIVE) {
    case 0:
        return along(y, z, x);
    case 1:
        return along(z, x, y);
    default:
        return along(x, y, z);
    }
}

/// p x q in the plane: on which side of the edge from p to q the point 0 lies.
Z4_ALWAYS_INLINE VectorSIMD4f Side(const VectorSIMD4f& px, const VectorSIMD4f& py, const VectorSIMD4f& qx,
                                   const VectorSIMD4f& qy) {
    return px * qy - qx * py;
}
/// `sides`, which Side() made of the others, with the right sign in each lane that is 0.
Z4_API VectorSIMD4f DecideZeros(const VectorSIMD4f& sides, const VectorSIMD4f& px, const VectorSIMD4f& py,
                                const VectorSIMD4f& qx, const VectorSIMD4f& qy);

/// The lanes `COUNTED` that are below 0 and above 0, as bits.
struct Signs {
    int negative;
    int positive;

    bool AreMixed() const { return negative != 0 && positive != 0; }
};
template <int COUNTED>
Z4_ALWAYS_INLINE Signs SignsOf(const VectorSIMD4f& sides) {
    const VectorSIMD4f zero = VectorSIMD4f::Broadcast(0.0F);
    return {Lanes::SignBits(Less(sides, zero).Native()) & COUNTED,
            Lanes::SignBits(Less(zero, sides).Native()) & COUNTED};
}

/// The corners are relative to the ray's start; from `first` to `last` the ray counts. With `onlyFront`, corners that
/// run clockwise as seen from the start are missed.
/// @return whether there is a hit; only then are t and the weights of `b` and `c` written.
template <SumOrder ORDER>
Z4_ALWAYS_INLINE bool FindTriangleHit(const Shear& shear, float first, float last, const VectorSIMD4f& a,
                                      const VectorSIMD4f& b, const VectorSIMD4f& c, bool onlyFront, float& t, float& u,
                                      float& v) {
    const Columns corners(a, b, c);
    const ShearedPoints p = ShearPoints(shear, corners.x, corners.y, corners.z);
    const VectorSIMD4f nextX = Yzx(p.x);
    const VectorSIMD4f nextY = Yzx(p.y);
    const VectorSIMD4f lastX = Zxy(p.x);
    const VectorSIMD4f lastY = Zxy(p.y);
    VectorSIMD4f sides = Side(nextX, nextY, lastX, lastY);
    Signs signs = SignsOf<7>(sides);
    if (signs.AreMixed()) {
        return false;
    }
    if ((signs.negative | signs.positive) != 7) {
        sides = DecideZeros(sides, nextX, nextY, lastX, lastY);
        signs = SignsOf<7>(sides);
        if (signs.AreMixed()) {
            return false;
        }
    }
    if (onlyFront && ((shear.axis & Shear::NEGATIVE) != 0 ? signs.positive : signs.negative) == 0) {
        return false;
    }
    const VectorSIMD4f sum = Sum<ORDER>(sides.BroadcastX(), sides.BroadcastY(), sides.BroadcastZ());
    const VectorSIMD4f depth = Dot3<ORDER>(sides, p.depth);
    const VectorSIMD4f quotients = VectorSIMD4f(Lanes::Shuffle<0, 0, 1, 2>(depth.Native(), sides.Native())) / sum;
    // Without area, as seen along the ray, this is 0 / 0.
    const float crossing = quotients.X();
    if (!(first <= crossing && crossing <= last)) {
        return false;
    }
    t = crossing;
    u = quotients.Z();
    v = quotients.W();
    return true;
}

} // namespace Z4::Private
