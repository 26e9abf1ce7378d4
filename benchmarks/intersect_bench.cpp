// Rays and segments against boxes, triangles and spheres, and what a frustum sees of boxes: every row `query/zelk`
// beside a peer's own query of the same figures. A ray is used for 16 figures, and its preparation counts. One
// iteration asks PASSES times about the COUNT figures, each time with other rays or another view: processors learn a
// row of a few thousand answers by heart, and then foresee each branch. All rows of a query must hit equally often, but
// for the figures that rounding decides.
#include <benchmark/benchmark.h>
#include <BulletCollision/BroadphaseCollision/btDbvt.h>
#include <cglm/cglm.h>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <glm/glm.hpp>
#include <glm/gtx/intersect.hpp>
#include <LinearMath/btAabbUtil2.h>
#include <random>
#include <vector>
#include <zelk_core/math/geometry/cull.h>
#include <zelk_core/math/geometry/group4.h>
#include <zelk_core/math/geometry/intersectray.h>
#include <zelk_core/math/geometry/intersectsegment.h>

namespace {

using Z4::VectorSIMD4f;
using Z4::Geometry::Containment;
using Z4::Geometry::GeometryAABB;
using Z4::Geometry::GeometryAABB4;
using Z4::Geometry::GeometryFrustum;
using Z4::Geometry::GeometryRay;
using Z4::Geometry::GeometryTriangle4;

constexpr unsigned COUNT = 4096;
constexpr unsigned PASSES = 16;
constexpr unsigned PER_RAY = 16;
constexpr unsigned RAYS = PASSES * COUNT / PER_RAY;

VectorSIMD4f Ours(const glm::vec3& v) {
    return {v.x, v.y, v.z, 0.0F};
}
btVector3 Bullets(const glm::vec3& v) {
    return {v.x, v.y, v.z};
}

struct Scene {
    Scene() {
        std::mt19937 random(1);
        const auto number = [&](float size) { return (static_cast<float>(random() % 20001) / 10000.0F - 1.0F) * size; };
        const auto point = [&](float size) {
            const float x = number(size);
            const float y = number(size);
            return glm::vec3(x, y, number(size));
        };
        for (unsigned i = 0; i < RAYS; ++i) {
            origins[i] = point(1) + 3.0F * glm::normalize(point(1) + glm::vec3(0.0F, 0.0F, 1e-3F));
            directions[i] = glm::normalize(point(1) - origins[i]);
        }
        for (unsigned i = 0; i < COUNT; ++i) {
            const glm::vec3 center = point(1);
            const glm::vec3 extent = glm::abs(point(1)) + 0.2F;
            low[i] = center - extent;
            high[i] = center + extent;
            boxes[i] = GeometryAABB(Ours(low[i]), Ours(high[i]));
            boxes4[i / 4].Set(i % 4, boxes[i]);
            bulletBounds[i] = btDbvtAabbMm::FromMM(Bullets(low[i]), Bullets(high[i]));
            bulletBoxes[i][0] = Bullets(low[i]);
            bulletBoxes[i][1] = Bullets(high[i]);
            for (int axis = 0; axis < 3; ++axis) {
                cglmBoxes[i][0][axis] = low[i][axis];
                cglmBoxes[i][1][axis] = high[i][axis];
            }
            for (unsigned k = 0; k < 3; ++k) {
                corners[i][k] = point(2);
                ourCorners[i][k] = Ours(corners[i][k]);
            }
            triangles4[i / 4].Set(i % 4, ourCorners[i][0], ourCorners[i][1], ourCorners[i][2]);
            centers[i] = center;
            ourCenters[i] = Ours(center);
            radii[i] = 0.3F + std::fabs(number(0.7F));
        }
    }

    glm::vec3 origins[RAYS], directions[RAYS];
    glm::vec3 low[COUNT], high[COUNT], corners[COUNT][3], centers[COUNT];
    GeometryAABB boxes[COUNT];
    GeometryAABB4 boxes4[COUNT / 4];
    btVector3 bulletBoxes[COUNT][2];
    btDbvtAabbMm bulletBounds[COUNT];
    vec3 cglmBoxes[COUNT][2];
    VectorSIMD4f ourCorners[COUNT][3], ourCenters[COUNT];
    GeometryTriangle4 triangles4[COUNT / 4];
    float radii[COUNT];
    float nearest[RAYS];
    bool isMet[COUNT];
    Containment where[COUNT];
    std::uint32_t visible[COUNT / 32];
};

Scene& TheScene() {
    static Scene scene;
    return scene;
}

void Lower(float& nearest, float t) {
    nearest = t < nearest ? t : nearest;
}

/// How often the rows of one query hit: the first tells the others.
void Compare(benchmark::State& state, int& expected, int hits) {
    if (expected < 0) {
        expected = hits;
    }
    if (std::abs(hits - expected) > static_cast<int>(4 * PASSES)) {
        state.SkipWithError("hits more or less often than its peer");
    }
    state.SetItemsProcessed(state.iterations() * COUNT * PASSES);
    state.counters["hits"] = static_cast<double>(hits) / (COUNT * PASSES);
}

/// `prepare` makes a ray of origin and direction; `query` tells how many of the figures `i` to `i + STEP - 1` it hits,
/// and lowers `nearest` to the least t: callers branch on a hit.
template <unsigned STEP, class Prepare, class Query>
void Measure(benchmark::State& state, int& expected, Prepare prepare, Query query) {
    Scene& scene = TheScene();
    int hits = 0;
    for (auto _ : state) {
        hits = 0;
        for (unsigned k = 0; k < RAYS; ++k) {
            const auto ray = prepare(scene.origins[k], scene.directions[k]);
            const unsigned first = k * PER_RAY % COUNT;
            float nearest = 3e38F;
            for (unsigned i = first; i < first + PER_RAY; i += STEP) {
                hits += query(scene, ray, i, nearest);
            }
            scene.nearest[k] = nearest;
        }
        benchmark::DoNotOptimize(hits);
        benchmark::ClobberMemory();
    }
    Compare(state, expected, hits);
}

// What prepares a ray is a lambda, so that it is compiled into the rows.
constexpr auto PREPARE_OURS = [](const glm::vec3& origin, const glm::vec3& direction) {
    return GeometryRay(Ours(origin), Ours(direction));
};

/// Of four bits, without the call that counting makes on old processors.
int CountBits(unsigned bits) {
    static constexpr unsigned char COUNTS[] = {0, 1, 1, 2, 1, 2, 2, 3, 1, 2, 2, 3, 2, 3, 3, 4};
    return COUNTS[bits];
}

// Against boxes there are two uses. `ray_box` marks the boxes that are met; `ray_box_nearest` branches on each answer,
// which processors cannot foresee: most of its time is theirs.
int g_boxHits = -1;
void RayBox(benchmark::State& state) {
    Measure<1>(state, g_boxHits, PREPARE_OURS, [](Scene& scene, const GeometryRay& ray, unsigned i, float&) {
        float t = 0;
        const bool isMet = IntersectRayAABB(ray, scene.boxes[i], t);
        scene.isMet[i] = isMet;
        return static_cast<int>(isMet);
    });
}
BENCHMARK(RayBox)->Name("ray_box/zelk");
void RayBoxFour(benchmark::State& state) {
    Measure<4>(state, g_boxHits, PREPARE_OURS, [](Scene& scene, const GeometryRay& ray, unsigned i, float& nearest) {
        VectorSIMD4f t;
        const unsigned hits = IntersectRayAABB4(ray, scene.boxes4[i / 4], t);
        const VectorSIMD4f pairs = Min(t, VectorSIMD4f(Z4::Lanes::Shuffle<2, 3, 0, 1>(t.Native())));
        Lower(nearest, Min(pairs, pairs.BroadcastY()).X());
        return CountBits(hits);
    });
}
BENCHMARK(RayBoxFour)->Name("ray_box/zelk/four");
struct BulletRay {
    btVector3 origin, inverse;
    unsigned signs[3];
};
constexpr auto PREPARE_BULLET = [](const glm::vec3& origin, const glm::vec3& d) {
    const btVector3 inverse(1.0F / d.x, 1.0F / d.y, 1.0F / d.z);
    return BulletRay{Bullets(origin), inverse, {inverse.x() < 0, inverse.y() < 0, inverse.z() < 0}};
};
void RayBoxBullet(benchmark::State& state) {
    Measure<1>(state, g_boxHits, PREPARE_BULLET, [](Scene& scene, const BulletRay& ray, unsigned i, float&) {
        float t = 0;
        const bool isMet = btRayAabb2(ray.origin, ray.inverse, ray.signs, scene.bulletBoxes[i], t, 0.0F, 3e38F);
        scene.isMet[i] = isMet;
        return static_cast<int>(isMet);
    });
}
BENCHMARK(RayBoxBullet)->Name("ray_box/bullet");

void RayBoxNearest(benchmark::State& state) {
    Measure<1>(state, g_boxHits, PREPARE_OURS, [](Scene& scene, const GeometryRay& ray, unsigned i, float& nearest) {
        float t = 0;
        if (!IntersectRayAABB(ray, scene.boxes[i], t)) {
            return 0;
        }
        Lower(nearest, t);
        return 1;
    });
}
BENCHMARK(RayBoxNearest)->Name("ray_box_nearest/zelk");
void RayBoxNearestBullet(benchmark::State& state) {
    Measure<1>(state, g_boxHits, PREPARE_BULLET, [](Scene& scene, const BulletRay& ray, unsigned i, float& nearest) {
        float t = 0;
        if (!btRayAabb2(ray.origin, ray.inverse, ray.signs, scene.bulletBoxes[i], t, 0.0F, 3e38F)) {
            return 0;
        }
        Lower(nearest, t);
        return 1;
    });
}
BENCHMARK(RayBoxNearestBullet)->Name("ray_box_nearest/bullet");

struct GlmRay {
    glm::vec3 origin, direction;
};
constexpr auto PREPARE_GLM = [](const glm::vec3& origin, const glm::vec3& direction) {
    return GlmRay{origin, direction};
};

int g_triangleHits = -1;
void RayTriangle(benchmark::State& state) {
    Measure<1>(state, g_triangleHits, PREPARE_OURS,
               [](Scene& scene, const GeometryRay& ray, unsigned i, float& nearest) {
                   const auto& p = scene.ourCorners[i];
                   float t = 0;
                   float u = 0;
                   float v = 0;
                   if (!IntersectRayTriangle(ray, p[0], p[1], p[2], t, u, v)) {
                       return 0;
                   }
                   benchmark::DoNotOptimize(u + v);
                   Lower(nearest, t);
                   return 1;
               });
}
BENCHMARK(RayTriangle)->Name("ray_triangle/zelk");
void RayTriangleFour(benchmark::State& state) {
    Measure<4>(state, g_triangleHits, PREPARE_OURS,
               [](Scene& scene, const GeometryRay& ray, unsigned i, float& nearest) {
                   VectorSIMD4f t;
                   const unsigned hits = IntersectRayTriangle4(ray, scene.triangles4[i / 4], t);
                   const VectorSIMD4f pairs = Min(t, VectorSIMD4f(Z4::Lanes::Shuffle<2, 3, 0, 1>(t.Native())));
                   Lower(nearest, Min(pairs, pairs.BroadcastY()).X());
                   return CountBits(hits);
               });
}
BENCHMARK(RayTriangleFour)->Name("ray_triangle/zelk/four");
/// Not watertight; it takes hits behind the start, too, which the row leaves out as ours does.
void RayTriangleGlm(benchmark::State& state) {
    Measure<1>(state, g_triangleHits, PREPARE_GLM, [](Scene& scene, const GlmRay& ray, unsigned i, float& nearest) {
        const auto& p = scene.corners[i];
        glm::vec2 weights;
        float t = 0;
        if (!glm::intersectRayTriangle(ray.origin, ray.direction, p[0], p[1], p[2], weights, t) || t < 0) {
            return 0;
        }
        benchmark::DoNotOptimize(weights.x + weights.y);
        Lower(nearest, t);
        return 1;
    });
}
BENCHMARK(RayTriangleGlm)->Name("ray_triangle/glm");

int g_sphereHits = -1;
void RaySphere(benchmark::State& state) {
    Measure<1>(state, g_sphereHits, PREPARE_OURS, [](Scene& scene, const GeometryRay& ray, unsigned i, float& nearest) {
        float t = 0;
        if (!IntersectRaySphere(ray, scene.ourCenters[i], scene.radii[i], t)) {
            return 0;
        }
        Lower(nearest, t);
        return 1;
    });
}
BENCHMARK(RaySphere)->Name("ray_sphere/zelk");
void RaySphereGlm(benchmark::State& state) {
    Measure<1>(state, g_sphereHits, PREPARE_GLM, [](Scene& scene, const GlmRay& ray, unsigned i, float& nearest) {
        const float radius = scene.radii[i];
        float t = 0;
        if (!glm::intersectRaySphere(ray.origin, ray.direction, scene.centers[i], radius * radius, t)) {
            return 0;
        }
        Lower(nearest, t);
        return 1;
    });
}
BENCHMARK(RaySphereGlm)->Name("ray_sphere/glm/unit_direction");

/// Segments, of which most end among the boxes.
template <class Point>
struct Segment {
    Point from, to;
};
template <class Point>
Segment<Point> MakeSegment(const glm::vec3& origin, const glm::vec3& direction, Point (*convert)(const glm::vec3&)) {
    return {convert(origin), convert(origin + 3.0F * direction)};
}

int g_segmentHits = -1;
void SegmentBox(benchmark::State& state) {
    const auto prepare = [](const glm::vec3& o, const glm::vec3& d) { return MakeSegment(o, d, Ours); };
    Measure<1>(state, g_segmentHits, prepare,
               [](Scene& scene, const Segment<VectorSIMD4f>& segment, unsigned i, float& nearest) {
                   if (!IntersectSegmentAABB(segment.from, segment.to, scene.boxes[i])) {
                       return 0;
                   }
                   Lower(nearest, static_cast<float>(i));
                   return 1;
               });
}
BENCHMARK(SegmentBox)->Name("segment_box/zelk");
/// It tells where, too, and of which side.
void SegmentBoxBullet(benchmark::State& state) {
    const auto prepare = [](const glm::vec3& o, const glm::vec3& d) { return MakeSegment(o, d, Bullets); };
    Measure<1>(state, g_segmentHits, prepare,
               [](Scene& scene, const Segment<btVector3>& segment, unsigned i, float& nearest) {
                   float t = 1;
                   btVector3 normal(0, 0, 0);
                   const auto& box = scene.bulletBoxes[i];
                   if (!btRayAabb(segment.from, segment.to, box[0], box[1], t, normal)) {
                       return 0;
                   }
                   Lower(nearest, static_cast<float>(i));
                   return 1;
               });
}
BENCHMARK(SegmentBoxBullet)->Name("segment_box/bullet/with_t");

int g_segmentTriangleHits = -1;
void SegmentTriangle(benchmark::State& state) {
    const auto prepare = [](const glm::vec3& o, const glm::vec3& d) { return MakeSegment(o, d, Ours); };
    Measure<1>(state, g_segmentTriangleHits, prepare,
               [](Scene& scene, const Segment<VectorSIMD4f>& segment, unsigned i, float& nearest) {
                   const auto& p = scene.ourCorners[i];
                   float t = 0;
                   if (!Z4::Geometry::IntersectSegmentTriangle(segment.from, segment.to, p[0], p[1], p[2], t)) {
                       return 0;
                   }
                   Lower(nearest, t);
                   return 1;
               });
}
BENCHMARK(SegmentTriangle)->Name("segment_triangle/zelk");
/// Its ray, cut off at the segment's end.
void SegmentTriangleGlm(benchmark::State& state) {
    const auto same = [](const glm::vec3& o, const glm::vec3& d) { return Segment<glm::vec3>{o, o + 3.0F * d}; };
    Measure<1>(
        state, g_segmentTriangleHits, same,
        [](Scene& scene, const Segment<glm::vec3>& segment, unsigned i, float& nearest) {
            const auto& p = scene.corners[i];
            glm::vec2 weights;
            float t = 0;
            if (!glm::intersectRayTriangle(segment.from, segment.to - segment.from, p[0], p[1], p[2], weights, t) ||
                t < 0 || t > 1) {
                return 0;
            }
            Lower(nearest, t);
            return 1;
        });
}
BENCHMARK(SegmentTriangleGlm)->Name("segment_triangle/glm");

/// The views from the origin along z, turned about y from one to the next. Some of the boxes are in each.
const GeometryFrustum& View(unsigned pass) {
    static const auto views = [] {
        std::vector<GeometryFrustum> made;
        for (unsigned i = 0; i < PASSES; ++i) {
            const float angle = 0.4F * static_cast<float>(i);
            const float x = std::sin(angle);
            const float z = std::cos(angle);
            const Z4::MatrixSIMD44f matrix{VectorSIMD4f(z, 0, 1.05F * x, x), VectorSIMD4f(0, 1, 0, 0),
                                           VectorSIMD4f(-x, 0, 1.05F * z, z), VectorSIMD4f(0, 0, -0.1F, 0)};
            made.emplace_back(matrix, Z4::Geometry::DepthRange::ZERO_TO_ONE);
        }
        return made;
    }();
    return views[pass];
}
/// `prepare` makes of a view what the row needs; `count` tells of all boxes how many are at least partly inside.
template <class Prepare, class Count>
void MeasureCull(benchmark::State& state, int& expected, Prepare prepare, Count count) {
    Scene& scene = TheScene();
    std::vector<decltype(prepare(View(0)))> views;
    for (unsigned i = 0; i < PASSES; ++i) {
        views.push_back(prepare(View(i)));
    }
    int seen = 0;
    for (auto _ : state) {
        seen = 0;
        for (const auto& view : views) {
            seen += count(scene, view);
            benchmark::ClobberMemory();
        }
        benchmark::DoNotOptimize(seen);
    }
    Compare(state, expected, seen);
}
GeometryFrustum AsItIs(const GeometryFrustum& frustum) {
    return frustum;
}

int g_seen = -1;
void Classify(benchmark::State& state) {
    MeasureCull(state, g_seen, AsItIs, [](Scene& scene, const GeometryFrustum& view) {
        int seen = 0;
        for (unsigned i = 0; i < COUNT; ++i) {
            scene.where[i] = ClassifyAABBByFrustum(view, scene.boxes[i]);
            seen += scene.where[i] != Containment::OUTSIDE ? 1 : 0;
        }
        return seen;
    });
}
BENCHMARK(Classify)->Name("classify_box/zelk");
void ClassifyMany(benchmark::State& state) {
    MeasureCull(state, g_seen, AsItIs, [](Scene& scene, const GeometryFrustum& view) {
        ClassifyAABBsByFrustum(view, scene.boxes, COUNT, scene.where);
        int seen = 0;
        for (const Containment where : scene.where) {
            seen += where != Containment::OUTSIDE ? 1 : 0;
        }
        return seen;
    });
}
BENCHMARK(ClassifyMany)->Name("classify_box/zelk/many");
struct BulletFrustum {
    btVector3 normals[6];
    btScalar offsets[6];
    int signs[6];
};
/// Plane by plane, as its trees do, until one has the box behind it.
void ClassifyBullet(benchmark::State& state) {
    const auto prepare = [](const GeometryFrustum& view) {
        BulletFrustum made;
        for (unsigned i = 0; i < 6; ++i) {
            const VectorSIMD4f plane = view.GetPlane(i);
            made.normals[i] = btVector3(plane.X(), plane.Y(), plane.Z());
            made.offsets[i] = plane.W();
            made.signs[i] = (plane.X() >= 0 ? 1 : 0) + (plane.Y() >= 0 ? 2 : 0) + (plane.Z() >= 0 ? 4 : 0);
        }
        return made;
    };
    MeasureCull(state, g_seen, prepare, [](Scene& scene, const BulletFrustum& view) {
        int seen = 0;
        for (unsigned i = 0; i < COUNT; ++i) {
            auto where = Containment::INSIDE;
            for (unsigned k = 0; k < 6; ++k) {
                const int side = scene.bulletBounds[i].Classify(view.normals[k], view.offsets[k], view.signs[k]);
                if (side < 0) {
                    where = Containment::OUTSIDE;
                    break;
                }
                where = side == 0 ? Containment::INTERSECTING : where;
            }
            scene.where[i] = where;
            seen += where != Containment::OUTSIDE ? 1 : 0;
        }
        return seen;
    });
}
BENCHMARK(ClassifyBullet)->Name("classify_box/bullet");

void Visible(benchmark::State& state) {
    MeasureCull(state, g_seen, AsItIs, [](Scene& scene, const GeometryFrustum& view) {
        return static_cast<int>(CullAABBsByFrustum(view, scene.boxes, COUNT, scene.visible));
    });
}
BENCHMARK(Visible)->Name("visible_boxes/zelk");
void VisibleGroups(benchmark::State& state) {
    MeasureCull(state, g_seen, AsItIs, [](Scene& scene, const GeometryFrustum& view) {
        return static_cast<int>(CullAABBsByFrustum(view, scene.boxes4, COUNT / 4, scene.visible));
    });
}
BENCHMARK(VisibleGroups)->Name("visible_boxes/zelk/four");
struct CglmFrustum {
    vec4 planes[6];
};
void VisibleCglm(benchmark::State& state) {
    const auto prepare = [](const GeometryFrustum& view) {
        CglmFrustum made;
        for (unsigned i = 0; i < 6; ++i) {
            view.GetPlane(i).Store(made.planes[i]);
        }
        return made;
    };
    MeasureCull(state, g_seen, prepare, [](Scene& scene, const CglmFrustum& view) {
        CglmFrustum planes = view; // which it takes as not constant
        int seen = 0;
        for (unsigned i = 0; i < COUNT; ++i) {
            const unsigned bit = glm_aabb_frustum(scene.cglmBoxes[i], planes.planes) ? 1 : 0;
            scene.visible[i / 32] = i % 32 == 0 ? bit : scene.visible[i / 32] | bit << (i % 32);
            seen += static_cast<int>(bit);
        }
        return seen;
    });
}
BENCHMARK(VisibleCglm)->Name("visible_boxes/cglm");

} // namespace

BENCHMARK_MAIN();
