// Every row `query/zelk/spread` stands beside `query/scalar/spread`: the same algorithm as plain code with early exits,
// on the same 8,192 boxes. The size is how far they are spread: at 1 hardly any pair is apart, at 2 half of them, at 10
// nearly all; of the points, at 1 most lie in their box, at 4 few.
#include <benchmark/benchmark.h>
#include <cmath>
#include <cstdio>
#include <random>
#include <vector>
#include <zelk_core/math/geometry/aabb.h>
#include <zelk_core/math/geometry/obb.h>

using Z4::MatrixSIMD44f;
using Z4::VectorSIMD4f;
using Z4::Geometry::GeometryAABB;
using Z4::Geometry::GeometryOBB;

namespace {

struct PlainBox {
    float center[3];
    float axes[3][3];
    float extent[3];
};

float Dot(const float* a, const float* b) {
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

bool PlainContains(const PlainBox& box, const float* point) {
    const float d[3] = {point[0] - box.center[0], point[1] - box.center[1], point[2] - box.center[2]};
    return std::fabs(Dot(box.axes[0], d)) <= box.extent[0] && std::fabs(Dot(box.axes[1], d)) <= box.extent[1] &&
           std::fabs(Dot(box.axes[2], d)) <= box.extent[2];
}

/// C. Ericson, Real-Time Collision Detection, 2005, section 4.4.1, with what an axis needs calculated only when its
/// turn comes.
bool PlainOverlap(const PlainBox& a, const PlainBox& b) {
    const float d[3] = {b.center[0] - a.center[0], b.center[1] - a.center[1], b.center[2] - a.center[2]};
    float r[3][3];
    float absolute[3][3];
    float t[3];
    for (int i = 0; i < 3; ++i) {
        t[i] = Dot(d, a.axes[i]);
        for (int j = 0; j < 3; ++j) {
            r[i][j] = Dot(a.axes[i], b.axes[j]);
            absolute[i][j] = std::fabs(r[i][j]) + 1e-6F;
        }
        if (std::fabs(t[i]) > a.extent[i] + Dot(b.extent, absolute[i])) {
            return false;
        }
    }
    for (int j = 0; j < 3; ++j) {
        const float reach =
            a.extent[0] * absolute[0][j] + a.extent[1] * absolute[1][j] + a.extent[2] * absolute[2][j] + b.extent[j];
        if (std::fabs(t[0] * r[0][j] + t[1] * r[1][j] + t[2] * r[2][j]) > reach) {
            return false;
        }
    }
    for (int i = 0; i < 3; ++i) {
        const int i1 = (i + 1) % 3;
        const int i2 = (i + 2) % 3;
        for (int j = 0; j < 3; ++j) {
            const int j1 = (j + 1) % 3;
            const int j2 = (j + 2) % 3;
            const float reach = a.extent[i1] * absolute[i2][j] + a.extent[i2] * absolute[i1][j] +
                                b.extent[j1] * absolute[i][j2] + b.extent[j2] * absolute[i][j1];
            if (std::fabs(t[i2] * r[i1][j] - t[i1] * r[i2][j]) > reach) {
                return false;
            }
        }
    }
    return true;
}

PlainBox ToPlain(const GeometryOBB& box) {
    PlainBox plain;
    for (unsigned i = 0; i < 3; ++i) {
        plain.center[i] = box.GetCenter()[i];
        plain.extent[i] = box.GetExtent()[i];
        for (unsigned j = 0; j < 3; ++j) {
            plain.axes[i][j] = box.GetAxisDir()[i][j];
        }
    }
    return plain;
}

// More queries than the branch predictor can learn by heart.
constexpr unsigned COUNT = 8192;

/// Boxes of about size 2 whose centres lie up to `spread` from the origin on each axis, and points in the same cube.
struct Scene {
    explicit Scene(float spread) {
        std::mt19937 engine(1);
        const auto number = [&engine](float low, float high) {
            return std::uniform_real_distribution<float>(low, high)(engine);
        };
        for (unsigned i = 0; i < COUNT; ++i) {
            const VectorSIMD4f center(number(-spread, spread), number(-spread, spread), number(-spread, spread), 0);
            const VectorSIMD4f extent(number(0.5F, 1.5F), number(0.5F, 1.5F), number(0.5F, 1.5F), 0);
            const VectorSIMD4f rotation(number(-3, 3), number(-3, 3), number(-3, 3), 0);
            boxes.emplace_back(center, extent, rotation);
            plainBoxes.push_back(ToPlain(boxes.back()));
            points.emplace_back(number(-spread, spread), number(-spread, spread), number(-spread, spread), 0.0F);
            plainPoints.push_back({{points.back()[0], points.back()[1], points.back()[2]}});
        }
    }
    struct PlainPoint {
        float xyz[3];
    };
    std::vector<GeometryOBB> boxes;
    std::vector<PlainBox> plainBoxes;
    std::vector<VectorSIMD4f> points;
    std::vector<PlainPoint> plainPoints;
};

template <class Query>
void Run(benchmark::State& state, Query query) {
    const auto spread = static_cast<float>(state.range(0));
    const Scene scene(spread);
    unsigned hits = 0;
    for (auto _ : state) {
        hits = 0;
        for (unsigned i = 0; i + 1 < COUNT; ++i) {
            hits += query(scene, i) ? 1U : 0U;
        }
        benchmark::DoNotOptimize(hits);
    }
    state.counters["hit"] = static_cast<double>(hits) / COUNT;
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) * (COUNT - 1));
}

void ContainsZelk(benchmark::State& state) {
    Run(state, [](const Scene& scene, unsigned i) { return scene.boxes[i].Contains(scene.points[i]); });
}
void ContainsScalar(benchmark::State& state) {
    Run(state,
        [](const Scene& scene, unsigned i) { return PlainContains(scene.plainBoxes[i], scene.plainPoints[i].xyz); });
}
void OverlapZelk(benchmark::State& state) {
    Run(state, [](const Scene& scene, unsigned i) { return scene.boxes[i].Intersect(scene.boxes[i + 1]); });
}
void OverlapScalar(benchmark::State& state) {
    Run(state,
        [](const Scene& scene, unsigned i) { return PlainOverlap(scene.plainBoxes[i], scene.plainBoxes[i + 1]); });
}

// By how far the centres are spread: hardly any, half and nearly all of the pairs are apart.
BENCHMARK(ContainsZelk)->Name("contains/zelk")->Arg(1)->Arg(4);
BENCHMARK(ContainsScalar)->Name("contains/scalar")->Arg(1)->Arg(4);
BENCHMARK(OverlapZelk)->Name("overlap/zelk")->Arg(1)->Arg(2)->Arg(10);
BENCHMARK(OverlapScalar)->Name("overlap/scalar")->Arg(1)->Arg(2)->Arg(10);

} // namespace

BENCHMARK_MAIN();
