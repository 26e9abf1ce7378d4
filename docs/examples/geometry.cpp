#include "examples.h"

//! [example]
void ShowGeometry() {
    using Z4::VectorSIMD4f;
    using Z4::Geometry::GeometryAABB;
    GeometryAABB box; // empty
    box += VectorSIMD4f(0, 0, 0, 0);
    box += VectorSIMD4f(4, 2, 1, 0);
    std::printf("%d\n", box.Contains(VectorSIMD4f(3, 1, 1, 0))); // 1

    Z4::Geometry::GeometryOBB turned = box.ToOOBox();
    turned.Rotate(VectorSIMD4f(0, 0, 1, 0), 0.7854F); // an eighth of a turn about z
    std::printf("%d\n", turned.Intersect(box));       // 1

    // Distances come squared, with the nearest point; those in Consistent have the same bits everywhere.
    VectorSIMD4f nearest;
    float t;
    const float distanceSqr = Z4::Geometry::Consistent::ClosestPointToSegment(
        nearest, VectorSIMD4f(1, 3, 0, 0), VectorSIMD4f(0, 0, 0, 0), VectorSIMD4f(4, 0, 0, 0), t);
    std::printf("%.0f at %.2f\n", distanceSqr, t); // 9 at 0.25
}
//! [example]
