// Rays against boxes, triangles and spheres: every row `query/zelk` beside a peer's own query of the same figures. One
// iteration is COUNT queries in random order; a ray is used for 16 figures, and its preparation counts. All rows of a
// query must hit equally often, but for the figures that rounding decides.
#include <benchmark/benchmark.h>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <glm/glm.hpp>
#include <glm/gtx/intersect.hpp>
#include <LinearMath/btAabbUtil2.h>
#include <random>
#include <zelk_core/math/geometry/group4.h>
#include <zelk_core/math/geometry/intersectray.h>

namespace {

using Z4::VectorSIMD4f;
using Z4::Geometry::GeometryAABB;
using Z4::Geometry::GeometryAABB4;
using Z4::Geometry::GeometryRay;
using Z4::Geometry::GeometryTriangle4;

constexpr unsigned COUNT = 4096;
constexpr unsigned PER_RAY = 16;

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
        for (unsigned i = 0; i < COUNT / PER_RAY; ++i) {
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
            bulletBoxes[i][0] = Bullets(low[i]);
            bulletBoxes[i][1] = Bullets(high[i]);
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

    glm::vec3 origins[COUNT / PER_RAY], directions[COUNT / PER_RAY];
    glm::vec3 low[COUNT], high[COUNT], corners[COUNT][3], centers[COUNT];
    GeometryAABB boxes[COUNT];
    GeometryAABB4 boxes4[COUNT / 4];
    btVector3 bulletBoxes[COUNT][2];
    VectorSIMD4f ourCorners[COUNT][3], ourCenters[COUNT];
    GeometryTriangle4 triangles4[COUNT / 4];
    float radii[COUNT];
    float t[COUNT];
};

Scene& TheScene() {
    static Scene scene;
    return scene;
}

/// How often the rows of one query hit: the first tells the others.
void Compare(benchmark::State& state, int& expected, int hits) {
    if (expected < 0) {
        expected = hits;
    }
    if (std::abs(hits - expected) > 4) {
        state.SkipWithError("hits more or less often than its peer");
    }
    state.counters["hits"] = static_cast<double>(hits) / COUNT;
}

/// `prepare` makes a ray of origin and direction; `query` tells how many of the figures `i` to `i + STEP - 1` it hits.
template <unsigned STEP, class Prepare, class Query>
void Measure(benchmark::State& state, int& expected, Prepare prepare, Query query) {
    Scene& scene = TheScene();
    int hits = 0;
    for (auto _ : state) {
        hits = 0;
        for (unsigned first = 0; first < COUNT; first += PER_RAY) {
            const auto ray = prepare(scene.origins[first / PER_RAY], scene.directions[first / PER_RAY]);
            for (unsigned i = first; i < first + PER_RAY; i += STEP) {
                hits += query(scene, ray, i);
            }
        }
        benchmark::DoNotOptimize(hits);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * COUNT);
    Compare(state, expected, hits);
}

GeometryRay PrepareOurs(const glm::vec3& origin, const glm::vec3& direction) {
    return {Ours(origin), Ours(direction)};
}

int g_boxHits = -1;
void RayBox(benchmark::State& state) {
    Measure<1>(state, g_boxHits, PrepareOurs, [](Scene& scene, const GeometryRay& ray, unsigned i) {
        return IntersectRayAABB(ray, scene.boxes[i], scene.t[i]) ? 1 : 0;
    });
}
BENCHMARK(RayBox)->Name("ray_box/zelk");
void RayBoxFour(benchmark::State& state) {
    Measure<4>(state, g_boxHits, PrepareOurs, [](Scene& scene, const GeometryRay& ray, unsigned i) {
        VectorSIMD4f t;
        const unsigned hits = IntersectRayAABB4(ray, scene.boxes4[i / 4], t);
        t.Store(scene.t + i);
        return __builtin_popcount(hits);
    });
}
BENCHMARK(RayBoxFour)->Name("ray_box/zelk/four");
struct BulletRay {
    btVector3 origin, inverse;
    unsigned signs[3];
};
void RayBoxBullet(benchmark::State& state) {
    const auto prepare = [](const glm::vec3& origin, const glm::vec3& d) {
        const btVector3 inverse(1.0F / d.x, 1.0F / d.y, 1.0F / d.z);
        return BulletRay{Bullets(origin), inverse, {inverse.x() < 0, inverse.y() < 0, inverse.z() < 0}};
    };
    Measure<1>(state, g_boxHits, prepare, [](Scene& scene, const BulletRay& ray, unsigned i) {
        return btRayAabb2(ray.origin, ray.inverse, ray.signs, scene.bulletBoxes[i], scene.t[i], 0.0F, 3e38F) ? 1 : 0;
    });
}
BENCHMARK(RayBoxBullet)->Name("ray_box/bullet");

struct GlmRay {
    glm::vec3 origin, direction;
};
GlmRay PrepareGlm(const glm::vec3& origin, const glm::vec3& direction) {
    return {origin, direction};
}

int g_triangleHits = -1;
void RayTriangle(benchmark::State& state) {
    Measure<1>(state, g_triangleHits, PrepareOurs, [](Scene& scene, const GeometryRay& ray, unsigned i) {
        const auto& p = scene.ourCorners[i];
        float u = 0;
        float v = 0;
        const bool isHit = IntersectRayTriangle(ray, p[0], p[1], p[2], scene.t[i], u, v);
        benchmark::DoNotOptimize(u + v);
        return isHit ? 1 : 0;
    });
}
BENCHMARK(RayTriangle)->Name("ray_triangle/zelk");
void RayTriangleFour(benchmark::State& state) {
    Measure<4>(state, g_triangleHits, PrepareOurs, [](Scene& scene, const GeometryRay& ray, unsigned i) {
        VectorSIMD4f t;
        const unsigned hits = IntersectRayTriangle4(ray, scene.triangles4[i / 4], t);
        t.Store(scene.t + i);
        return __builtin_popcount(hits);
    });
}
BENCHMARK(RayTriangleFour)->Name("ray_triangle/zelk/four");
/// Not watertight; it takes hits behind the start, too, which the row leaves out as ours does.
void RayTriangleGlm(benchmark::State& state) {
    Measure<1>(state, g_triangleHits, PrepareGlm, [](Scene& scene, const GlmRay& ray, unsigned i) {
        const auto& p = scene.corners[i];
        glm::vec2 weights;
        const bool isHit = glm::intersectRayTriangle(ray.origin, ray.direction, p[0], p[1], p[2], weights, scene.t[i]);
        benchmark::DoNotOptimize(weights.x + weights.y);
        return isHit && scene.t[i] >= 0 ? 1 : 0;
    });
}
BENCHMARK(RayTriangleGlm)->Name("ray_triangle/glm");

int g_sphereHits = -1;
void RaySphere(benchmark::State& state) {
    Measure<1>(state, g_sphereHits, PrepareOurs, [](Scene& scene, const GeometryRay& ray, unsigned i) {
        return IntersectRaySphere(ray, scene.ourCenters[i], scene.radii[i], scene.t[i]) ? 1 : 0;
    });
}
BENCHMARK(RaySphere)->Name("ray_sphere/zelk");
void RaySphereGlm(benchmark::State& state) {
    Measure<1>(state, g_sphereHits, PrepareGlm, [](Scene& scene, const GlmRay& ray, unsigned i) {
        const float radius = scene.radii[i];
        return glm::intersectRaySphere(ray.origin, ray.direction, scene.centers[i], radius * radius, scene.t[i]) ? 1
                                                                                                                 : 0;
    });
}
BENCHMARK(RaySphereGlm)->Name("ray_sphere/glm/unit_direction");

} // namespace

BENCHMARK_MAIN();
