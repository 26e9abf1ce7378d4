// A map of what a camera sees: boxes by what culling says of them, and a polygon that is cut to the view.
#include "picture.h"
#include "svg.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <random>
#include <vector>

using namespace Z4::Geometry;
using V = Z4::VectorSIMD4f;

namespace {

constexpr float SIDE = 40;
constexpr float PIXELS_PER_UNIT = 20;
constexpr unsigned COUNT = 400;

/// From `eye` along `forward`, over the plane of x and y.
GeometryFrustum Look(const V& eye, const V& forward, float near, float far) {
    const V right(-forward.Y(), forward.X(), 0, 0);
    const V up(0, 0, 1, 0);
    const float scale = far / (far - near);
    const auto row = [&](unsigned long i) { return V(1.1F * right[i], up[i], scale * forward[i], forward[i]); };
    const Z4::MatrixSIMD44f turn{row(0), row(1), row(2), V(0, 0, -near * scale, 0)};
    return GeometryFrustum(Z4::MakeTranslation<Z4::MatrixSIMD44f>(-eye) * turn, DepthRange::ZERO_TO_ONE);
}

struct View {
    explicit View(const GeometryFrustum& frustum) {
        for (unsigned long i = 0; i < 6; ++i) {
            planes[i] = frustum.GetPlane(i);
        }
    }
    std::vector<V> Clip(const std::vector<V>& polygon) const {
        const auto count = static_cast<unsigned long>(polygon.size());
        std::vector<V> clipped(polygon.size() + 6);
        std::vector<V> scratch(clipped);
        clipped.resize(ClipPolygonByConvex(polygon.data(), count, planes, 6, clipped.data(), scratch.data()));
        return clipped;
    }
    /// Whether any of the box's six sides is in view. The frustum is within none of the boxes.
    bool Meets(const GeometryAABB& box) const {
        static constexpr unsigned SIDES[][4] = {{0, 1, 2, 3}, {4, 5, 6, 7}, {0, 3, 4, 5},
                                                {1, 2, 7, 6}, {2, 3, 4, 7}, {0, 1, 6, 5}};
        return std::any_of(std::begin(SIDES), std::end(SIDES), [&](const unsigned* side) {
            return !Clip({box[side[0]], box[side[1]], box[side[2]], box[side[3]]}).empty();
        });
    }

    V planes[6];
};

} // namespace

bool DrawFrustum(const char* path) {
    std::mt19937 engine(24);
    const auto number = [&engine](float low, float high) {
        return low + (high - low) * static_cast<float>(static_cast<double>(engine()) / 4294967296.0);
    };
    std::vector<GeometryAABB> boxes;
    for (unsigned i = 0; i < COUNT; ++i) {
        const float x = number(1, SIDE - 1);
        const V center(x, number(1, SIDE - 1), 0, 0);
        const float width = number(0.3F, 1.2F);
        const V extent(width, number(0.3F, 1.2F), 0.5F, 0);
        boxes.emplace_back(center - extent, center + extent);
    }
    const GeometryFrustum frustum = Look({6, 33, 0, 0}, Normalize3(V(1, -0.8F, 0, 0)), 4, 21);
    const View view(frustum);
    std::vector<Containment> where(COUNT);
    ClassifyAABBsByFrustum(frustum, boxes.data(), COUNT, where.data());

    Svg svg(path, SIDE * PIXELS_PER_UNIT, SIDE * PIXELS_PER_UNIT + 50, PIXELS_PER_UNIT);
    svg.Write("<defs><pattern id=\"hatch\" width=\"5\" height=\"5\" patternUnits=\"userSpaceOnUse\">"
              "<path d=\"M0,5 L5,0\" stroke=\"#c05000\"/></pattern></defs>\n");
    unsigned counts[4] = {};
    for (unsigned i = 0; i < COUNT; ++i) {
        const bool isBeyond = where[i] == Containment::INTERSECTING && !view.Meets(boxes[i]);
        static constexpr const char* FILLS[] = {"#d8d8d8", "#ffb060", "#60b870", "url(#hatch)"};
        const unsigned kind = isBeyond ? 3 : static_cast<unsigned>(where[i]);
        ++counts[kind];
        svg.Polygon({boxes[i][0], boxes[i][1], boxes[i][2], boxes[i][3]}, FILLS[kind], "1", "#505050", 1);
    }
    V corners[8];
    if (frustum.GetCorners(corners)) {
        // Those at the bottom; in z the view is as wide as high.
        svg.Polygon({corners[0], corners[1], corners[6], corners[5]}, "none", "0", "#203060", 2);
    }
    std::vector<V> hexagon;
    for (unsigned i = 0; i < 6; ++i) {
        const float angle = 1.0471976F * static_cast<float>(i);
        hexagon.emplace_back(15 + 6 * std::cos(angle), 19 + 6 * std::sin(angle), 0.0F, 0.0F);
    }
    svg.Polygon(hexagon, "none", "0", "#8080ff", 1);
    const std::vector<V> clipped = view.Clip(hexagon);
    svg.Polygon(clipped, "#4060ff", "0.35", "#2030c0", 2);
    svg.Legend(SIDE, 0,
               "Green: inside. Orange: on a border. Hatched: outside, though behind none of the planes by itself.");
    svg.Legend(SIDE, 1, "Blue: the hexagon as the frustum's planes cut it.");
    std::printf("frustum: %u boxes inside, %u on a border, %u outside, %u of them behind no plane by itself; "
                "a hexagon is cut to %u corners\n",
                counts[2], counts[1], counts[0] + counts[3], counts[3], static_cast<unsigned>(clipped.size()));
    return svg.Finish();
}
