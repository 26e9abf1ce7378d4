#include "orientation.h"

namespace Z4::Private {

namespace {

double Magnitude(double value) {
    return value < 0 ? -value : value;
}

constexpr int COUNT = 6;

/// The sum of the terms, but for its own last bit. Shewchuk's grow-expansion: the parts do not overlap, so that the
/// last one that is not 0 is greater than all before it together.
double Sum(const double (&terms)[COUNT]) {
    double parts[COUNT] = {};
    for (int i = 0; i < COUNT; ++i) {
        double carry = terms[i];
        for (int k = 0; k < i; ++k) {
            const double sum = carry + parts[k];
            const double added = sum - carry;
            parts[k] = (carry - (sum - added)) + (parts[k] - added);
            carry = sum;
        }
        parts[i] = carry;
    }
    double sum = 0;
    for (const double part : parts) {
        sum += part;
    }
    return sum;
}

} // namespace

double Orientation(const Vector2f& a, const Vector2f& b, const Vector2f& c) {
    const double ax = a.X();
    const double ay = a.Y();
    const double bx = b.X();
    const double by = b.Y();
    const double cx = c.X();
    const double cy = c.Y();
    const double left = (ax - cx) * (by - cy);
    const double right = (ay - cy) * (bx - cx);
    const double area = left - right;
    // All roundings together are below 4 2^-53 of this sum (Shewchuk, section 4.2). Less than that would do for the
    // sign.
    if (Magnitude(area) >= 0x1p-25 * (Magnitude(left) + Magnitude(right))) {
        return area;
    }
    // Doubles hold products of floats exactly.
    return Sum({ax * by, -(ay * bx), bx * cy, -(by * cx), cx * ay, -(cy * ax)});
}

} // namespace Z4::Private
