#include "tour.h"

#include <vector>
#include <zelk_core/zelk_core.h>

namespace {

using Z4::VectorSIMD4f;
using Z4::Geometry::GeometryAABB;
using Z4::Geometry::GeometryOBB;

/// Three bytes of the file make a point of the cube from 0 to 255.
std::vector<VectorSIMD4f> MakePoints(const std::string& content) {
    const auto byte = [&content](std::size_t i) { return static_cast<float>(static_cast<unsigned char>(content[i])); };
    std::vector<VectorSIMD4f> points;
    for (std::size_t i = 0; i + 3 <= content.size(); i += 3) {
        points.emplace_back(byte(i), byte(i + 1), byte(i + 2), 0.0F);
    }
    return points;
}

} // namespace

void TourGeometry(const std::string& content) {
    Z4::InitializeMath();
    Chapter("math", "three bytes at a time, the file is a cloud of points");
    const std::vector<VectorSIMD4f> points = MakePoints(content);
    const GeometryAABB around(points.data(), static_cast<unsigned long>(points.size()));
    if (around.IsValid()) {
        const VectorSIMD4f center = around.GetCenter();
        const VectorSIMD4f size = around.GetFullExtent();
        Print("   %-24s %u\n", "points", static_cast<unsigned>(points.size()));
        Print("   %-24s %.1f x %.1f x %.1f about (%.1f, %.1f, %.1f)\n", "box around them", size.X(), size.Y(), size.Z(),
              center.X(), center.Y(), center.Z());

        // The same box, turned by an eighth about its diagonal and at half the size.
        constexpr float EIGHTH = 0.785398163F;
        GeometryOBB turned = around.ToOOBox();
        turned.Rotate(VectorSIMD4f::ONE, EIGHTH);
        const Z4::MatrixSIMD44f shrink = Z4::MakeTranslation<Z4::MatrixSIMD44f>(-center) *
                                         Z4::MakeScale<Z4::MatrixSIMD44f>(VectorSIMD4f::Broadcast(0.5F)) *
                                         Z4::MakeTranslation<Z4::MatrixSIMD44f>(center);
        turned *= shrink;
        unsigned inside = 0;
        float leastSqr = 3.0F * 256 * 256;
        VectorSIMD4f nearest = center;
        for (const VectorSIMD4f& point : points) {
            inside += turned.Contains(point) ? 1U : 0U;
            VectorSIMD4f onDiagonal;
            float t;
            const float distanceSqr =
                Z4::Geometry::ClosestPointToSegment(onDiagonal, point, around.GetMin(), around.GetMax(), t);
            if (distanceSqr < leastSqr) {
                leastSqr = distanceSqr;
                nearest = point;
            }
        }
        Print("   %-24s %u, and it %s the box around all\n", "in a turned half of it", inside,
              turned.Intersect(around) ? "overlaps" : "is apart from");
        Print("   %-24s %.2f, from (%.0f, %.0f, %.0f)\n", "nearest to the diagonal",
              Z4::Sqrt(VectorSIMD4f::Broadcast(leastSqr)).X(), nearest.X(), nearest.Y(), nearest.Z());
    } else {
        Print("   too short for a point\n");
    }
    Z4::ShutdownMath();
}
