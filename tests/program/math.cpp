#include "check.h"

#include <host/zelkhost.h>
#include <zelk_core/zelk_core.h>

using namespace Z4::Geometry;
using Z4::VectorSIMD4f;

void CheckMath() {
    // Results by hidden pointer, vectors by reference, on stacks of any alignment, and on the heap of the host.
    const GeometryAABB box(VectorSIMD4f(-1, -1, -1, 0), VectorSIMD4f(1, 1, 1, 0));
    GeometryOBB turned = box.ToOOBox();
    turned.Rotate(VectorSIMD4f(0, 0, 1, 0), 0.7853981F);
    CHECK(turned.Contains(VectorSIMD4f(1.4F, 0, 0, 0)) && !turned.Contains(VectorSIMD4f(1, 1, 0, 0)));
    CHECK(turned.Intersect(box) && turned.ToAABox().GetMax().X() > 1.41F);

    const std::size_t before = ZelkHost::GetMemoryStatistics(Z4::EAL_ID_ZELK_CORE).blocks;
    auto* const heaped = new GeometryOBB(turned);
    CHECK(reinterpret_cast<std::uintptr_t>(heaped) % 16 == 0 && *heaped == turned);
    CHECK(ZelkHost::GetMemoryStatistics(Z4::EAL_ID_ZELK_CORE).blocks == before + 1);
    delete heaped;
}
