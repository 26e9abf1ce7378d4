#include "mathscalar.h"

namespace Scalar {

void Multiply(const Matrix* a, const Matrix* b, Matrix* products, unsigned count) {
    for (unsigned n = 0; n < count; ++n) {
        for (unsigned i = 0; i < 4; ++i) {
            const float x = a[n].at[i][0];
            const float y = a[n].at[i][1];
            const float z = a[n].at[i][2];
            const float w = a[n].at[i][3];
            for (unsigned j = 0; j < 4; ++j) {
                products[n].at[i][j] = x * b[n].at[0][j] + y * b[n].at[1][j] + z * b[n].at[2][j] + w * b[n].at[3][j];
            }
        }
    }
}

void TransformPoints(const Point* points, const Matrix& m, Point* results, unsigned count) {
    for (unsigned n = 0; n < count; ++n) {
        const Point p = points[n];
        results[n].x = p.x * m.at[0][0] + p.y * m.at[1][0] + p.z * m.at[2][0] + m.at[3][0];
        results[n].y = p.x * m.at[0][1] + p.y * m.at[1][1] + p.z * m.at[2][1] + m.at[3][1];
        results[n].z = p.x * m.at[0][2] + p.y * m.at[1][2] + p.z * m.at[2][2] + m.at[3][2];
        results[n].w = p.x * m.at[0][3] + p.y * m.at[1][3] + p.z * m.at[2][3] + m.at[3][3];
    }
}

} // namespace Scalar
