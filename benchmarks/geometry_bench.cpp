// Every row `query/zelk` stands beside the same algorithm on plain floats and on glm's vectors, and, named so, a
// shorter one that is less exact. One iteration is as many queries as the row's size says. They fall into all regions
// in random order; of the few the processor soon remembers every branch, of the many it cannot.
#include <algorithm>
#include <array>
#include <benchmark/benchmark.h>
#include <cmath>
#include <glm/geometric.hpp>
#include <glm/vec3.hpp>
#include <limits>
#include <random>
#include <tuple>
#include <vector>
#include <zelk_core/math/geometry/intersectpair.h>
#include <zelk_core/math/geometry/shapedistance.h>

namespace {

using Z4::VectorSIMD4f;

constexpr unsigned FEW = 1024;
constexpr unsigned MANY = 65536;

struct Plain {
    float x, y, z;
};
Plain operator+(const Plain& a, const Plain& b) {
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}
Plain operator-(const Plain& a, const Plain& b) {
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}
Plain operator*(float s, const Plain& a) {
    return {s * a.x, s * a.y, s * a.z};
}
float dot(const Plain& a, const Plain& b) {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}
Plain cross(const Plain& a, const Plain& b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

/// The peers, as section 5.1 of Ericson's "Real-Time Collision Detection" has them.
template <class Vector>
float SegmentPoint(Vector& closest, const Vector& p, const Vector& a, const Vector& b, float& t) {
    const Vector d = p - a;
    const Vector e = b - a;
    const float n = dot(d, e);
    if (!(n > 0.0F)) {
        closest = a;
        t = 0.0F;
        return dot(d, d);
    }
    const float lengthSqr = dot(e, e);
    if (lengthSqr - n <= 0.0F) {
        closest = b;
        t = 1.0F;
        const Vector residual = d - e;
        return dot(residual, residual);
    }
    t = n / lengthSqr;
    const Vector offset = t * e;
    closest = a + offset;
    const Vector residual = d - offset;
    return dot(residual, residual);
}

/// What one who needs no certainty would write: it divides once, by what is wrong for thin triangles.
template <class Vector>
Vector ShortTrianglePoint(const Vector& p, const Vector& a, const Vector& b, const Vector& c) {
    const Vector ab = b - a;
    const Vector ac = c - a;
    const Vector ap = p - a;
    const float d1 = dot(ab, ap);
    const float d2 = dot(ac, ap);
    if (d1 <= 0 && d2 <= 0) {
        return a;
    }
    const Vector bp = p - b;
    const float d3 = dot(ab, bp);
    const float d4 = dot(ac, bp);
    if (d3 >= 0 && d4 <= d3) {
        return b;
    }
    const float vc = d1 * d4 - d3 * d2;
    if (vc <= 0 && d1 >= 0 && d3 <= 0) {
        return a + d1 / (d1 - d3) * ab;
    }
    const Vector cp = p - c;
    const float d5 = dot(ab, cp);
    const float d6 = dot(ac, cp);
    if (d6 >= 0 && d5 <= d6) {
        return c;
    }
    const float vb = d5 * d2 - d1 * d6;
    if (vb <= 0 && d2 >= 0 && d6 <= 0) {
        return a + d2 / (d2 - d6) * ac;
    }
    const float va = d3 * d6 - d5 * d4;
    if (va <= 0 && d4 - d3 >= 0 && d5 - d6 >= 0) {
        return b + (d4 - d3) / ((d4 - d3) + (d5 - d6)) * (c - b);
    }
    const float scale = 1.0F / (va + vb + vc);
    return a + vb * scale * ab + vc * scale * ac;
}

/// The nearest point of the nearest edge, for triangles that are too thin to have a face.
template <class Vector>
[[gnu::noinline]] Vector ThinTrianglePoint(const Vector& p, const Vector& a, const Vector& b, const Vector& c) {
    Vector nearest = a;
    float distanceSqr = dot(p - a, p - a);
    const Vector* const edges[][2] = {{&a, &b}, {&b, &c}, {&c, &a}};
    for (const auto& edge : edges) {
        Vector point = a;
        float t = 0;
        const float other = SegmentPoint(point, p, *edge[0], *edge[1], t);
        if (other < distanceSqr) {
            nearest = point;
            distanceSqr = other;
        }
    }
    return nearest;
}

/// As exact as ours: vertices before edges, each weight divided by itself, and thin triangles told apart.
template <class Vector>
Vector TrianglePoint(const Vector& p, const Vector& a, const Vector& b, const Vector& c) {
    const Vector ab = b - a;
    const Vector ac = c - a;
    const Vector ap = p - a;
    const float d1 = dot(ab, ap);
    const float d2 = dot(ac, ap);
    if (d1 <= 0 && d2 <= 0) {
        return a;
    }
    const Vector bp = p - b;
    const float d3 = dot(ab, bp);
    const float d4 = dot(ac, bp);
    if (d3 >= 0 && d4 - d3 <= 0) {
        return b;
    }
    const Vector cp = p - c;
    const float d5 = dot(ab, cp);
    const float d6 = dot(ac, cp);
    if (d6 >= 0 && d5 - d6 <= 0) {
        return c;
    }
    const float vc = d1 * d4 - d3 * d2;
    if (vc <= 0 && d1 >= 0 && d3 <= 0 && d1 - d3 > 0) {
        return a + d1 / (d1 - d3) * ab;
    }
    const float va = d3 * d6 - d5 * d4;
    const float lengthBc = (d4 - d3) + (d5 - d6);
    if (va <= 0 && d4 - d3 >= 0 && d5 - d6 >= 0 && lengthBc > 0) {
        return b + (d4 - d3) / lengthBc * (c - b);
    }
    const float vb = d5 * d2 - d1 * d6;
    if (vb <= 0 && d2 >= 0 && d6 <= 0 && d2 - d6 > 0) {
        return a + d2 / (d2 - d6) * ac;
    }
    const float sum = va + vb + vc;
    const Vector normal = cross(ab, ac);
    const float normalSqr = dot(normal, normal);
    if (std::fabs(sum - normalSqr) >= normalSqr / 1024) {
        return ThinTrianglePoint(p, a, b, c);
    }
    return va / sum * a + vb / sum * b + vc / sum * c;
}

/// Section 5.1.9 as it stands: its determinant loses what it has at angles of 3e-4.
template <class Vector>
float ShortSegments(const Vector& a0, const Vector& a1, const Vector& b0, const Vector& b1, float& s, float& t) {
    const Vector d1 = a1 - a0;
    const Vector d2 = b1 - b0;
    const Vector r = a0 - b0;
    const float a = dot(d1, d1);
    const float e = dot(d2, d2);
    const float f = dot(d2, r);
    const float c = dot(d1, r);
    const float b = dot(d1, d2);
    const float denom = a * e - b * b;
    s = denom != 0 ? std::clamp((b * f - c * e) / denom, 0.0F, 1.0F) : 0.0F;
    const float onLine = b * s + f;
    if (onLine < 0) {
        t = 0;
        s = std::clamp(-c / a, 0.0F, 1.0F);
    } else if (onLine > e) {
        t = 1;
        s = std::clamp((b - c) / a, 0.0F, 1.0F);
    } else {
        t = onLine / e;
    }
    const Vector residual = r + s * d1 - t * d2;
    return dot(residual, residual);
}

float Quotient(float x, float square) {
    return std::min(std::max(x / std::max(square, std::numeric_limits<float>::min()), 0.0F), 1.0F);
}

/// As exact as ours: with the cross product of the directions for the determinant.
template <class Vector>
float Segments(const Vector& a0, const Vector& a1, const Vector& b0, const Vector& b1, float& s, float& t) {
    const Vector d1 = a1 - a0;
    const Vector d2 = b1 - b0;
    const Vector r = a0 - b0;
    const Vector n = cross(d1, d2);
    t = Quotient(dot(cross(d1, r), n), dot(n, n));
    s = Quotient(dot(d1, t * d2 - r), dot(d1, d1));
    const Vector toFirst = r + s * d1;
    t = Quotient(dot(d2, toFirst), dot(d2, d2));
    const Vector residual = toFirst - t * d2;
    return dot(residual, residual);
}

/// The crossing, both ends and the three edges.
float SegmentTriangle(const Plain& a, const Plain& b, const Plain& t0, const Plain& t1, const Plain& t2, float& t) {
    const Plain normal = cross(t1 - t0, t2 - t0);
    const float slope = dot(b - a, normal);
    const float crossing = slope != 0 ? std::clamp(dot(t0 - a, normal) / slope, 0.0F, 1.0F) : 0.0F;
    float least = std::numeric_limits<float>::infinity();
    for (const float s : {crossing, 0.0F, 1.0F}) {
        const Plain p = a + s * (b - a);
        const Plain residual = p - TrianglePoint(p, t0, t1, t2);
        const float distanceSqr = dot(residual, residual);
        if (distanceSqr < least) {
            least = distanceSqr;
            t = s;
        }
    }
    const Plain* const edges[][2] = {{&t0, &t1}, {&t1, &t2}, {&t2, &t0}};
    for (const auto& edge : edges) {
        float s = 0;
        float other = 0;
        const float distanceSqr = Segments(a, b, *edge[0], *edge[1], s, other);
        if (distanceSqr < least) {
            least = distanceSqr;
            t = s;
        }
    }
    return least;
}

/// As ours, through the sides' planes, but for as few of them as will do.
float SegmentBox(const Plain& a, const Plain& b, const Plain& min, const Plain& max, float& t) {
    const float start[] = {a.x, a.y, a.z};
    const float way[] = {b.x - a.x, b.y - a.y, b.z - a.z};
    const float low[] = {min.x, min.y, min.z};
    const float high[] = {max.x, max.y, max.z};
    const auto excess = [&](unsigned k, float s) {
        const float at = start[k] + s * way[k];
        return at < low[k] ? at - low[k] : (at > high[k] ? at - high[k] : 0.0F);
    };
    const auto slope = [&](float s) { return way[0] * excess(0, s) + way[1] * excess(1, s) + way[2] * excess(2, s); };
    float fallT = 0;
    float riseT = 1;
    float fall = slope(0);
    float rise = slope(1);
    if (fall >= 0) {
        t = 0;
    } else if (rise <= 0) {
        t = 1;
    } else {
        for (unsigned k = 0; k < 3; ++k) {
            const float inverse = way[k] != 0 ? 1 / way[k] : 0;
            for (const float side : {low[k], high[k]}) {
                const float s = (side - start[k]) * inverse;
                if (s > fallT && s < riseT) {
                    const float there = slope(s);
                    (there <= 0 ? fallT : riseT) = s;
                    (there <= 0 ? fall : rise) = there;
                }
            }
        }
        t = fallT + (riseT - fallT) * (fall / (fall - rise));
    }
    const float d[] = {excess(0, t), excess(1, t), excess(2, t)};
    return d[0] * d[0] + d[1] * d[1] + d[2] * d[2];
}

float Along(const Plain& p, unsigned axis) {
    return axis == 0 ? p.x : (axis == 1 ? p.y : p.z);
}

/// As in T. Akenine-Moeller's "Fast 3D Triangle-Box Overlap Testing", 2001; what decides most often comes first.
bool TriangleBox(const Plain& a, const Plain& b, const Plain& c, const Plain& min, const Plain& max) {
    const Plain h = 0.5F * (max - min);
    const Plain center = min + h;
    const Plain v[] = {a - center, b - center, c - center};
    for (unsigned k = 0; k < 3; ++k) {
        const float reach = Along(h, k);
        const auto [low, high] = std::minmax({Along(v[0], k), Along(v[1], k), Along(v[2], k)});
        if (low > reach || high < -reach) {
            return false;
        }
    }
    const Plain edges[] = {v[1] - v[0], v[2] - v[1], v[0] - v[2]};
    const Plain n = cross(edges[0], edges[1]);
    if (std::fabs(dot(n, v[0])) > std::fabs(n.x) * h.x + std::fabs(n.y) * h.y + std::fabs(n.z) * h.z) {
        return false;
    }
    for (unsigned i = 0; i < 3; ++i) {
        const Plain& e = edges[i];
        const Plain& p = v[i];
        const Plain& q = v[(i + 2) % 3];
        const Plain size = {std::fabs(e.x), std::fabs(e.y), std::fabs(e.z)};
        const auto apart = [](float s, float t, float reach) {
            return std::min(s, t) > reach || std::max(s, t) < -reach;
        };
        if (apart(e.z * p.y - e.y * p.z, e.z * q.y - e.y * q.z, size.z * h.y + size.y * h.z) ||
            apart(e.x * p.z - e.z * p.x, e.x * q.z - e.z * q.x, size.z * h.x + size.x * h.z) ||
            apart(e.y * p.x - e.x * p.y, e.y * q.x - e.x * q.y, size.y * h.x + size.x * h.y)) {
            return false;
        }
    }
    return true;
}

/// The part of the line that two planes share which lies in the triangle with these heights over the other's plane.
struct LinePart {
    LinePart(const float (&heights)[3], const float (&along)[3]) {
        // The corner that is alone on its side.
        const unsigned alone = heights[0] * heights[1] > 0 ? 2 : (heights[0] * heights[2] > 0 ? 1 : 0);
        const unsigned p = (alone + 1) % 3;
        const unsigned q = (alone + 2) % 3;
        const auto crossing = [&](unsigned i) {
            return along[i] + (along[alone] - along[i]) * heights[i] / (heights[i] - heights[alone]);
        };
        std::tie(low, high) = std::minmax({crossing(p), crossing(q)});
    }

    float low, high;
};

/// As in T. Moeller's "A Fast Triangle-Triangle Intersection Test", 1997, without the case of one plane, which the
/// scene does not have.
bool TriangleTriangle(const Plain (&a)[3], const Plain (&b)[3]) {
    const auto heights = [](const Plain(&t)[3], const Plain& n, const Plain(&of)[3], float(&result)[3]) {
        const float d = -dot(n, t[0]);
        for (unsigned i = 0; i < 3; ++i) {
            result[i] = dot(n, of[i]) + d;
        }
        return (result[0] > 0 && result[1] > 0 && result[2] > 0) || (result[0] < 0 && result[1] < 0 && result[2] < 0);
    };
    float heightsA[3];
    float heightsB[3];
    const Plain m = cross(b[1] - b[0], b[2] - b[0]);
    if (heights(b, m, a, heightsA)) {
        return false;
    }
    const Plain n = cross(a[1] - a[0], a[2] - a[0]);
    if (heights(a, n, b, heightsB)) {
        return false;
    }
    const Plain way = cross(n, m);
    const float size[] = {std::fabs(way.x), std::fabs(way.y), std::fabs(way.z)};
    const unsigned axis = size[0] > size[1] ? (size[0] > size[2] ? 0 : 2) : (size[1] > size[2] ? 1 : 2);
    const LinePart inA(heightsA, {Along(a[0], axis), Along(a[1], axis), Along(a[2], axis)});
    const LinePart inB(heightsB, {Along(b[0], axis), Along(b[1], axis), Along(b[2], axis)});
    return inA.low <= inB.high && inB.low <= inA.high;
}

VectorSIMD4f Make(float x, float y, float z, const VectorSIMD4f&) {
    return {x, y, z, 0.0F};
}
template <class Vector>
Vector Make(float x, float y, float z, const Vector&) {
    return {x, y, z};
}

/// Random points, the same for all types, and what a query made of them.
template <class Vector>
struct Scene {
    explicit Scene(unsigned count) : p(count), closest(count), parameters(count), distanceSqr(count) {
        std::mt19937 random(1);
        const auto number = [&] { return static_cast<float>(random() % 20001) / 10000.0F - 1.0F; };
        for (auto& points : p) {
            for (Vector& point : points) {
                const float x = number();
                const float y = number();
                point = Make(x, y, number(), Vector());
            }
        }
    }

    std::vector<std::array<Vector, 6>> p;
    std::vector<Vector> closest;
    std::vector<std::array<float, 2>> parameters;
    std::vector<float> distanceSqr;
};

/// Answers all queries of a scene; `query` takes the scene and an index.
template <class Vector, class Query>
void Measure(benchmark::State& state, Query query) {
    const auto count = static_cast<unsigned>(state.range(0));
    static Scene<Vector> scene(MANY);
    for (auto _ : state) {
        for (unsigned i = 0; i < count; ++i) {
            query(scene, i);
        }
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * count);
}

template <class Vector, float (*FUNCTION)(Vector&, const Vector&, const Vector&, const Vector&, float&)>
void PointToSegment(benchmark::State& state) {
    Measure<Vector>(state, [](Scene<Vector>& scene, unsigned i) {
        const auto& p = scene.p[i];
        scene.distanceSqr[i] = FUNCTION(scene.closest[i], p[0], p[1], p[2], scene.parameters[i][0]);
    });
}
BENCHMARK(PointToSegment<VectorSIMD4f, Z4::Geometry::ClosestPointToSegment>)
    ->Name("closest_segment/zelk")
    ->Arg(FEW)
    ->Arg(MANY);
BENCHMARK(PointToSegment<VectorSIMD4f, Z4::Geometry::Consistent::ClosestPointToSegment>)
    ->Name("closest_segment/zelk_consistent")
    ->Arg(FEW)
    ->Arg(MANY);
BENCHMARK(PointToSegment<Plain, SegmentPoint>)->Name("closest_segment/scalar")->Arg(FEW)->Arg(MANY);
BENCHMARK(PointToSegment<glm::vec3, SegmentPoint>)->Name("closest_segment/glm")->Arg(FEW)->Arg(MANY);

template <class Vector, Vector (*FUNCTION)(const Vector&, const Vector&, const Vector&, const Vector&)>
void PointToTriangle(benchmark::State& state) {
    Measure<Vector>(state, [](Scene<Vector>& scene, unsigned i) {
        const auto& p = scene.p[i];
        scene.closest[i] = FUNCTION(p[0], p[1], p[2], p[3]);
    });
}
BENCHMARK(PointToTriangle<VectorSIMD4f, Z4::Geometry::ClosestTrianglePointToPoint>)
    ->Name("closest_triangle/zelk")
    ->Arg(FEW)
    ->Arg(MANY);
BENCHMARK(PointToTriangle<Plain, TrianglePoint>)->Name("closest_triangle/scalar")->Arg(FEW)->Arg(MANY);
BENCHMARK(PointToTriangle<glm::vec3, TrianglePoint>)->Name("closest_triangle/glm")->Arg(FEW)->Arg(MANY);
BENCHMARK(PointToTriangle<Plain, ShortTrianglePoint>)->Name("closest_triangle/scalar_less_exact")->Arg(FEW)->Arg(MANY);

template <class Vector, float (*FUNCTION)(const Vector&, const Vector&, const Vector&, const Vector&, float&, float&)>
void SegmentToSegment(benchmark::State& state) {
    Measure<Vector>(state, [](Scene<Vector>& scene, unsigned i) {
        const auto& p = scene.p[i];
        auto& parameters = scene.parameters[i];
        scene.distanceSqr[i] = FUNCTION(p[0], p[1], p[2], p[3], parameters[0], parameters[1]);
    });
}
BENCHMARK(SegmentToSegment<VectorSIMD4f, Z4::Geometry::DistanceSegmentToSegmentSqr>)
    ->Name("segment_segment/zelk")
    ->Arg(FEW)
    ->Arg(MANY);
BENCHMARK(SegmentToSegment<Plain, Segments>)->Name("segment_segment/scalar")->Arg(FEW)->Arg(MANY);
BENCHMARK(SegmentToSegment<glm::vec3, Segments>)->Name("segment_segment/glm")->Arg(FEW)->Arg(MANY);
BENCHMARK(SegmentToSegment<Plain, ShortSegments>)->Name("segment_segment/scalar_less_exact")->Arg(FEW)->Arg(MANY);

float Narrowed(float size) {
    return size * 0.5F + 0.5F;
}
/// The third point and, somewhat above it, the fourth make the box.
void SegmentToBox(benchmark::State& state) {
    Measure<VectorSIMD4f>(state, [](Scene<VectorSIMD4f>& scene, unsigned i) {
        const auto& p = scene.p[i];
        const VectorSIMD4f size = p[3] * 0.5F + 0.5F;
        scene.distanceSqr[i] = Z4::Geometry::DistanceSegmentToAABBSqr(
            p[0], p[1], Z4::Geometry::GeometryAABB(p[2], p[2] + size), scene.parameters[i][0], scene.closest[i]);
    });
}
BENCHMARK(SegmentToBox)->Name("segment_box/zelk")->Arg(FEW)->Arg(MANY);
void SegmentToBoxScalar(benchmark::State& state) {
    Measure<Plain>(state, [](Scene<Plain>& scene, unsigned i) {
        const auto& p = scene.p[i];
        const Plain max = p[2] + Plain{Narrowed(p[3].x), Narrowed(p[3].y), Narrowed(p[3].z)};
        float& t = scene.parameters[i][0];
        scene.distanceSqr[i] = SegmentBox(p[0], p[1], p[2], max, t);
        const Plain at = p[0] + t * (p[1] - p[0]);
        scene.closest[i] = {std::clamp(at.x, p[2].x, max.x), std::clamp(at.y, p[2].y, max.y),
                            std::clamp(at.z, p[2].z, max.z)};
    });
}
BENCHMARK(SegmentToBoxScalar)->Name("segment_box/scalar")->Arg(FEW)->Arg(MANY);

void SegmentToTriangle(benchmark::State& state) {
    Measure<VectorSIMD4f>(state, [](Scene<VectorSIMD4f>& scene, unsigned i) {
        const auto& p = scene.p[i];
        float uv[2];
        scene.distanceSqr[i] = Z4::Geometry::DistanceSegmentToTriangleSqr(p[0], p[1], p[2], p[3], p[4],
                                                                          scene.parameters[i][0], uv[0], uv[1]);
    });
}
BENCHMARK(SegmentToTriangle)->Name("segment_triangle/zelk")->Arg(FEW)->Arg(MANY);
void SegmentToTriangleScalar(benchmark::State& state) {
    Measure<Plain>(state, [](Scene<Plain>& scene, unsigned i) {
        const auto& p = scene.p[i];
        scene.distanceSqr[i] = SegmentTriangle(p[0], p[1], p[2], p[3], p[4], scene.parameters[i][0]);
    });
}
BENCHMARK(SegmentToTriangleScalar)->Name("segment_triangle/scalar")->Arg(FEW)->Arg(MANY);

/// `query` tells whether the shapes of scene and index meet; `hits` is the share that does, alike in all rows of a
/// query.
template <class Vector, class Query>
void MeasureHits(benchmark::State& state, Query query) {
    unsigned hits = 0;
    Measure<Vector>(state, [&](Scene<Vector>& scene, unsigned i) {
        const bool isHit = query(scene.p[i].data());
        scene.distanceSqr[i] = isHit ? 1.0F : 0.0F;
        hits += isHit ? 1U : 0U;
    });
    state.counters["hits"] = static_cast<double>(hits) / static_cast<double>(state.iterations() * state.range(0));
}

void TriangleToBox(benchmark::State& state) {
    MeasureHits<VectorSIMD4f>(state, [](const VectorSIMD4f* p) {
        const Z4::Geometry::GeometryAABB box(p[3], p[3] + (p[4] * 0.5F + 0.5F));
        return IntersectTriangleAABB(p[0], p[1], p[2], box);
    });
}
BENCHMARK(TriangleToBox)->Name("triangle_box/zelk")->Arg(FEW)->Arg(MANY);
void TriangleToBoxScalar(benchmark::State& state) {
    MeasureHits<Plain>(state, [](const Plain* p) {
        const Plain max = p[3] + Plain{Narrowed(p[4].x), Narrowed(p[4].y), Narrowed(p[4].z)};
        return TriangleBox(p[0], p[1], p[2], p[3], max);
    });
}
BENCHMARK(TriangleToBoxScalar)->Name("triangle_box/scalar")->Arg(FEW)->Arg(MANY);

void TriangleToTriangle(benchmark::State& state) {
    MeasureHits<VectorSIMD4f>(state, [](const VectorSIMD4f* p) {
        return Z4::Geometry::IntersectTriangleTriangle(p[0], p[1], p[2], p[3], p[4], p[5]);
    });
}
BENCHMARK(TriangleToTriangle)->Name("triangle_triangle/zelk")->Arg(FEW)->Arg(MANY);
void TriangleToTriangleScalar(benchmark::State& state) {
    MeasureHits<Plain>(state, [](const Plain* p) { return TriangleTriangle({p[0], p[1], p[2]}, {p[3], p[4], p[5]}); });
}
BENCHMARK(TriangleToTriangleScalar)->Name("triangle_triangle/scalar")->Arg(FEW)->Arg(MANY);

} // namespace

BENCHMARK_MAIN();
