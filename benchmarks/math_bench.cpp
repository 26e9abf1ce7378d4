// Every row `what/zelk` stands beside the same work in plain scalar code (mathscalar.h) and in glm, with glm's own SIMD
// code and aligned types. One iteration is 64 operations, all in the nearest cache.
#define GLM_FORCE_INTRINSICS
#define GLM_FORCE_DEFAULT_ALIGNED_GENTYPES

#include "mathscalar.h"

#include <benchmark/benchmark.h>
#include <cstring>
#include <glm/mat4x4.hpp>
#include <glm/vec4.hpp>
#include <random>
#include <zelk_core/math/matrixsimd.h>

namespace {

constexpr unsigned COUNT = 64;

/// The same numbers in the types of each.
template <class Matrix, class Point>
struct Data {
    alignas(16) Matrix a[COUNT];
    alignas(16) Matrix b[COUNT];
    alignas(16) Matrix results[COUNT];
    alignas(16) Point points[COUNT];
    alignas(16) Point moved[COUNT];

    Data() {
        static_assert(sizeof(Matrix) == 64 && sizeof(Point) == 16);
        float numbers[COUNT * 36];
        std::mt19937 engine(1);
        for (float& number : numbers) {
            number = static_cast<float>(engine() % 2001) / 1000.0F - 1.0F;
        }
        std::memcpy(static_cast<void*>(a), numbers, sizeof(a));
        std::memcpy(static_cast<void*>(b), numbers + COUNT * 16, sizeof(b));
        std::memcpy(static_cast<void*>(points), numbers + COUNT * 32, sizeof(points));
    }
};

Data<Z4::MatrixSIMD44f, Z4::VectorSIMD4f> g_zelk;
Data<Scalar::Matrix, Scalar::Point> g_scalar;
Data<glm::mat4, glm::vec4> g_glm;

void ProductZelk(benchmark::State& state) {
    for (auto _ : state) {
        for (unsigned i = 0; i < COUNT; ++i) {
            g_zelk.results[i] = g_zelk.a[i] * g_zelk.b[i];
        }
        benchmark::ClobberMemory();
    }
}
BENCHMARK(ProductZelk)->Name("matrix_product/zelk");

void ProductScalar(benchmark::State& state) {
    for (auto _ : state) {
        Scalar::Multiply(g_scalar.a, g_scalar.b, g_scalar.results, COUNT);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(ProductScalar)->Name("matrix_product/scalar");

/// glm's matrices act on columns: the same product is the other way round.
void ProductGlm(benchmark::State& state) {
    for (auto _ : state) {
        for (unsigned i = 0; i < COUNT; ++i) {
            g_glm.results[i] = g_glm.b[i] * g_glm.a[i];
        }
        benchmark::ClobberMemory();
    }
}
BENCHMARK(ProductGlm)->Name("matrix_product/glm");

void PointZelk(benchmark::State& state) {
    for (auto _ : state) {
        for (unsigned i = 0; i < COUNT; ++i) {
            g_zelk.moved[i] = Z4::TransformPoint(g_zelk.points[i], g_zelk.a[0]);
        }
        benchmark::ClobberMemory();
    }
}
BENCHMARK(PointZelk)->Name("point_transform/zelk");

void PointScalar(benchmark::State& state) {
    for (auto _ : state) {
        Scalar::TransformPoints(g_scalar.points, g_scalar.a[0], g_scalar.moved, COUNT);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(PointScalar)->Name("point_transform/scalar");

void PointGlm(benchmark::State& state) {
    for (auto _ : state) {
        for (unsigned i = 0; i < COUNT; ++i) {
            g_glm.moved[i] = g_glm.a[0] * glm::vec4(glm::vec3(g_glm.points[i]), 1.0F);
        }
        benchmark::ClobberMemory();
    }
}
BENCHMARK(PointGlm)->Name("point_transform/glm");

void InverseZelk(benchmark::State& state) {
    for (auto _ : state) {
        for (unsigned i = 0; i < COUNT; ++i) {
            g_zelk.results[i] = Z4::Inverse(g_zelk.a[i]);
        }
        benchmark::ClobberMemory();
    }
}
BENCHMARK(InverseZelk)->Name("matrix_inverse/zelk");

void InverseGlm(benchmark::State& state) {
    for (auto _ : state) {
        for (unsigned i = 0; i < COUNT; ++i) {
            g_glm.results[i] = glm::inverse(g_glm.a[i]);
        }
        benchmark::ClobberMemory();
    }
}
BENCHMARK(InverseGlm)->Name("matrix_inverse/glm");

} // namespace

BENCHMARK_MAIN();
