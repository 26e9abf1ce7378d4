#include <zelk_core/math/geometry/shear.h>

#include <limits>

namespace Z4::Private {

VectorSIMD4f DecideZeros(const VectorSIMD4f& sides, const VectorSIMD4f& px, const VectorSIMD4f& py,
                         const VectorSIMD4f& qx, const VectorSIMD4f& qy) {
    float lanes[4][4];
    float decided[4];
    px.Store(lanes[0]);
    py.Store(lanes[1]);
    qx.Store(lanes[2]);
    qy.Store(lanes[3]);
    sides.Store(decided);
    for (int i = 0; i < 4; ++i) {
        if (decided[i] == 0) {
            // The products are exact, and so is the sign of their difference.
            const double exact = static_cast<double>(lanes[0][i]) * static_cast<double>(lanes[3][i]) -
                                 static_cast<double>(lanes[2][i]) * static_cast<double>(lanes[1][i]);
            decided[i] = static_cast<float>(exact);
            if (decided[i] == 0 && exact != 0) {
                const float least = std::numeric_limits<float>::denorm_min();
                decided[i] = exact < 0 ? -least : least;
            }
        }
    }
    return VectorSIMD4f::Load(decided);
}

} // namespace Z4::Private
