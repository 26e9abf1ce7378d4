#include "check.h"

#include <host/zelkhost.h>
#include <zelk_core/zelk_core.h>

using namespace Z4::Geometry;
using Z4::VectorSIMD4f;

void CheckMath() {
    const auto turn = Z4::MakeRotation<Z4::MatrixSIMD44f>(VectorSIMD4f(0, 0, 1, 0), 3.14159265358979 / 2);
    const VectorSIMD4f y = Z4::TransformDirection(VectorSIMD4f(1, 0, 0, 0), turn);
    CHECK(y.Y() > 0.999F && y.X() < 0.001F);
    CHECK(Z4::Vector3f(Z4::Vector3f::BASE_K).Z() == 1 && Z4::Normalize(Z4::Vector3f(0, 3, 4))[2] == 0.8F);

    // Results by hidden pointer, vectors by reference, on stacks of any alignment, and on the heap of the host.
    const GeometryAABB box(VectorSIMD4f(-1, -1, -1, 0), VectorSIMD4f(1, 1, 1, 0));
    GeometryOBB turned = box.ToOOBox();
    turned.Rotate(VectorSIMD4f(0, 0, 1, 0), 0.7853981F);
    CHECK(turned.Contains(VectorSIMD4f(1.4F, 0, 0, 0)) && !turned.Contains(VectorSIMD4f(1, 1, 0, 0)));
    CHECK(turned.Intersect(box) && turned.ToAABox().GetMax().X() > 1.41F);
    float s = -1;
    float t = -1;
    CHECK(DistanceSegmentToSegmentSqr(VectorSIMD4f(0, 0, 0, 0), VectorSIMD4f(2, 0, 0, 0), VectorSIMD4f(1, -1, 2, 0),
                                      VectorSIMD4f(1, 1, 2, 0), s, t) == 4);
    CHECK(s == 0.5F && t == 0.5F);
    CHECK(DistancePointToAABB2DSqr(Z4::Vector2f(3, 0), Z4::Vector2f(-1, -1), Z4::Vector2f(1, 1)) == 4);

    const std::size_t before = ZelkHost::GetMemoryStatistics(Z4::EAL_ID_ZELK_CORE).blocks;
    auto* const heaped = new GeometryOBB(turned);
    CHECK(reinterpret_cast<std::uintptr_t>(heaped) % 16 == 0 && *heaped == turned);
    CHECK(ZelkHost::GetMemoryStatistics(Z4::EAL_ID_ZELK_CORE).blocks == before + 1);
    delete heaped;
}
