// The matrix product and the point transform as one writes them in plain floats; mathscalar.cpp is compiled without the
// vectoriser, so that they stay scalar.
#pragma once

namespace Scalar {

struct Point {
    float x, y, z, w;
};
struct Matrix {
    float at[4][4];
};

void Multiply(const Matrix* a, const Matrix* b, Matrix* products, unsigned count);
void TransformPoints(const Point* points, const Matrix& m, Point* results, unsigned count);

} // namespace Scalar
