/// @file
/// On which side of a line a point of the plane lies, without rounding: what the exact queries decide by.
#pragma once

#include <zelk_core/math/vector.h>

namespace Z4::Private {

/// (b - a) x (c - a), twice the area of the triangle, which is positive where `a`, `b` and `c` run counter-clockwise.
/// The sign is exact, 0 included, and the number differs from the true one by less than 2^-26 of it. Of points that are
/// not finite, it is any number or NaN.
double Orientation(const Vector2f& a, const Vector2f& b, const Vector2f& c);

inline bool IsFinite(const Vector2f& p) {
    return p.X() - p.X() == 0 && p.Y() - p.Y() == 0;
}

} // namespace Z4::Private
