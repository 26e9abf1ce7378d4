#include "tour.h"

#include <algorithm>
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

/// Rays through a cloud: each point is a small box, in groups of four.
void TourRays(const std::vector<VectorSIMD4f>& points, const GeometryAABB& around) {
    using namespace Z4::Geometry;
    std::vector<GeometryAABB4> groups((points.size() + 3) / 4);
    for (std::size_t i = 0; i < points.size(); ++i) {
        GeometryAABB box(&points[i], 1);
        box.ExpandBy(6);
        groups[i / 4].Set(i % 4, box);
    }
    const VectorSIMD4f eye = around.GetMin() - 0.5F * around.GetFullExtent();
    GeometryRay ray(eye, around.GetCenter() - eye);
    std::size_t nearest = points.size();
    for (std::size_t i = 0; i < groups.size(); ++i) {
        VectorSIMD4f t;
        const unsigned hits = IntersectRayAABB4(ray, groups[i], t);
        for (unsigned k = 0; k < 4; ++k) {
            if ((hits >> k & 1) != 0 && t[k] < ray.GetLast()) {
                ray.SetLast(t[k]); // only what is nearer counts from now on
                nearest = 4 * i + k;
            }
        }
    }
    if (nearest == points.size()) {
        Print("   %-24s nothing\n", "a ray to the middle hits");
    } else {
        const VectorSIMD4f hit = ray.At(ray.GetLast());
        Print("   %-24s the box of point %u, at (%.1f, %.1f, %.1f)\n", "a ray to the middle hits",
              static_cast<unsigned>(nearest), hit.X(), hit.Y(), hit.Z());
        // From there to a light above: the first box in between is enough.
        const VectorSIMD4f light(hit.X() + 40, hit.Y() + 30, around.GetMax().Z() + 300, 0);
        const GeometryRay toLight(hit, light - hit, 1, 1e-3F);
        const bool isInShadow = std::any_of(groups.begin(), groups.end(), [&](const GeometryAABB4& group) {
            VectorSIMD4f t;
            const auto own = static_cast<std::size_t>(&group - groups.data()) == nearest / 4 ? 1U << nearest % 4 : 0U;
            return (IntersectRayAABB4(toLight, group, t) & ~own) != 0;
        });
        Print("   %-24s %s\n", "seen from a light, it is", isInShadow ? "in shadow" : "lit");
    }
}

/// 1,000 boxes, ten along each edge of the cloud, as a camera at one corner sees them.
void TourCulling(const GeometryAABB& around) {
    using namespace Z4::Geometry;
    constexpr unsigned long COUNT = 1000;
    const VectorSIMD4f size = 0.1F * around.GetFullExtent();
    std::vector<GeometryAABB> boxes;
    for (unsigned long i = 0; i < COUNT; ++i) {
        const VectorSIMD4f place(static_cast<float>(i % 10), static_cast<float>(i / 10 % 10),
                                 static_cast<float>(i / 100), 0);
        boxes.emplace_back(around.GetMin() + place * size, around.GetMin() + (place + 0.5F) * size);
    }
    // Along z, 60 degrees wide: the distance becomes w, by which x and y are then divided.
    const Z4::MatrixSIMD44f projection{VectorSIMD4f(1.732F, 0, 0, 0), VectorSIMD4f(0, 1.732F, 0, 0),
                                       VectorSIMD4f(0, 0, 1, 1), VectorSIMD4f(0, 0, -1, 0)};
    const Z4::MatrixSIMD44f toCamera = Z4::MakeTranslation<Z4::MatrixSIMD44f>(-around.GetMin());
    const GeometryFrustum frustum(toCamera * projection, DepthRange::ZERO_TO_ONE);
    std::uint32_t visible[(COUNT + 31) / 32];
    const unsigned long seen = CullAABBsByFrustum(frustum, boxes.data(), COUNT, visible);
    Print("   %-24s %u of %u boxes, the last of them %s\n", "a camera in a corner sees", static_cast<unsigned>(seen),
          static_cast<unsigned>(COUNT), (visible[(COUNT - 1) / 32] >> ((COUNT - 1) % 32) & 1) != 0 ? "too" : "not");
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
        TourRays(points, around);
        TourCulling(around);
    } else {
        Print("   too short for a point\n");
    }
    Z4::ShutdownMath();
}
