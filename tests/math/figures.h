// Random vectors and orientations, and equality to the bit.
#pragma once

#include <limits>
#include <tests/support/random.h>
#include <zelk_core/math/matrixsimd.h>

namespace ZelkTest {

using V = Z4::VectorSIMD4f;

inline constexpr float INF = std::numeric_limits<float>::infinity();
inline constexpr float NOT = std::numeric_limits<float>::quiet_NaN();

/// Components from -`size` to `size`, and w.
inline V RandomPoint(Input& input, float size, float w = 0) {
    const float x = input.Number(size);
    const float y = input.Number(size);
    return {x, y, input.Number(size), w};
}

/// Any number in any lane.
inline V EdgePoint(Input& input) {
    return V{input.Number(), input.Number(), input.Number(), input.Number()};
}

/// The rotation that a quaternion stands for, without the platform's sine.
inline Z4::MatrixSIMD44f Rotation(const double (&q)[4]) {
    const double scale = 2.0 / (q[0] * q[0] + q[1] * q[1] + q[2] * q[2] + q[3] * q[3]);
    Z4::MatrixSIMD44f m = Z4::MatrixSIMD44f::IDENTITY;
    for (unsigned i = 0; i < 3; ++i) {
        const unsigned j = (i + 1) % 3;
        const unsigned k = (i + 2) % 3;
        m.Row(i).Set(i, static_cast<float>(1 - scale * (q[j] * q[j] + q[k] * q[k])));
        m.Row(i).Set(j, static_cast<float>(scale * (q[i] * q[j] + q[3] * q[k])));
        m.Row(i).Set(k, static_cast<float>(scale * (q[i] * q[k] - q[3] * q[j])));
    }
    return m;
}
inline Z4::MatrixSIMD44f RandomRotation(Input& input) {
    const double q[] = {input.Number(-1, 1), input.Number(-1, 1), input.Number(-1, 1), input.Number(-1, 1)};
    return Rotation(q);
}

/// (x, y, z) in double precision.
inline Z4::Vector3d Wide(const V& v) {
    return Z4::Vector3d(Z4::ToVector3f(v));
}

/// The same bits in all lanes, zeros of one sign; no NaN is the same.
inline bool Same(const V& a, const V& b) {
    return a == b && Z4::Lanes::SignBits(a.Native()) == Z4::Lanes::SignBits(b.Native());
}

} // namespace ZelkTest
