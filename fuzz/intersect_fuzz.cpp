// Geometry of any numbers, NaN and infinities among them: queries write on a hit only and within the ray's bounds, many
// at once answer as one does, and what is clipped keeps to its room.
#include "body.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <tests/math/rayqueries.h>
#include <vector>
#include <zelk_core/math/geometry/clip.h>
#include <zelk_core/math/geometry/cull.h>
#include <zelk_core/math/geometry/group4.h>
#include <zelk_core/math/geometry/plane.h>
#include <zelk_core/math/geometry/sweep.h>

namespace {

using namespace Z4::Geometry;
using V = Z4::VectorSIMD4f;

constexpr float UNWRITTEN = ZelkTest::RayAnswer::UNWRITTEN;

void Require(bool holds) {
    if (!holds) {
        std::abort();
    }
}

bool SameBits(const V& a, const V& b) {
    return std::memcmp(&a, &b, sizeof a) == 0;
}

/// Numbers from the input, over and over: four bytes to a float, or one to a multiple of an eighth, which makes figures
/// that meet and touch.
class Numbers {
public:
    Numbers(const std::uint8_t* data, std::size_t size) : m_data(data), m_size(size) {}

    std::uint8_t Byte() {
        m_at = m_at < m_size ? m_at : 0;
        return m_data[m_at++];
    }
    float Number() {
        if (m_areCoarse) {
            return static_cast<float>(Byte() % 64) / 8 - 4;
        }
        std::uint8_t bytes[4] = {Byte(), Byte(), Byte(), Byte()};
        float number;
        std::memcpy(&number, bytes, sizeof number);
        return number;
    }
    V Point() {
        const float x = Number();
        const float y = Number();
        const float z = Number();
        return {x, y, z, Number()};
    }
    void Begin() { m_areCoarse = Byte() % 4 != 0; }

private:
    const std::uint8_t* m_data;
    std::size_t m_size;
    std::size_t m_at = 0;
    bool m_areCoarse = false;
};

void CheckRays(const GeometryRay& ray, const V* p) {
    for (const auto& forms : ZelkTest::RAY_QUERIES) {
        for (const ZelkTest::RayQuery& query : forms) {
            const ZelkTest::RayAnswer answer = query(ray, p);
            const float t = answer.written[0];
            Require(answer.isHit ? ray.GetFirst() <= t && t <= ray.GetLast()
                                 : t == UNWRITTEN && answer.written[1] == UNWRITTEN && answer.written[2] == UNWRITTEN);
        }
    }
}

void CheckGroups(const GeometryRay& ray, Numbers& numbers) {
    GeometryAABB boxes[4];
    std::vector<GeometryTriangle4> triangles(1 + numbers.Byte() % 3);
    for (GeometryTriangle4& group : triangles) {
        for (unsigned long i = 0; i < 4; ++i) {
            const V a = numbers.Point();
            const V b = numbers.Point();
            group.Set(i, a, b, numbers.Point());
            boxes[i] = GeometryAABB(a, b);
        }
    }
    V entries;
    const unsigned met = IntersectRayAABB4(ray, GeometryAABB4(boxes), entries);
    for (unsigned i = 0; i < 4; ++i) {
        float t = entries[i];
        Require(IntersectRayAABB(ray, boxes[i], t) == ((met >> i & 1) != 0) && t == entries[i]);
    }
    const auto groups = static_cast<unsigned long>(triangles.size());
    for (const Sides sides : {Sides::BOTH, Sides::FRONT}) {
        unsigned long nearest = 4 * groups;
        float best[3] = {ray.GetLast(), UNWRITTEN, UNWRITTEN};
        for (unsigned long i = 0; i < 4 * groups; ++i) {
            V a;
            V b;
            V c;
            triangles[i / 4].Get(i % 4, a, b, c);
            float alone[3] = {ray.GetLast(), 0, 0};
            const bool isHit = IntersectRayTriangle(ray, a, b, c, alone[0], alone[1], alone[2], sides);
            V t = V::Broadcast(ray.GetLast());
            Require((IntersectRayTriangle4(ray, triangles[i / 4], t, sides) >> i % 4 & 1) == (isHit ? 1U : 0U));
            Require(!isHit || t[i % 4] == alone[0]);
            if (isHit && (nearest == 4 * groups || alone[0] < best[0])) {
                nearest = i;
                std::copy(alone, alone + 3, best);
            }
            const bool isTwin = Consistent::IntersectRayTriangle(ray, a, b, c, alone[0], alone[1], alone[2], sides);
            const unsigned twins = Consistent::IntersectRayTriangle4(ray, triangles[i / 4], t, sides);
            Require((twins >> i % 4 & 1) == (isTwin ? 1U : 0U) && (!isTwin || t[i % 4] == alone[0]));
        }
        float found[3] = {UNWRITTEN, UNWRITTEN, UNWRITTEN};
        best[0] = nearest == 4 * groups ? UNWRITTEN : best[0];
        Require(IntersectRayTriangles(ray, triangles.data(), groups, found[0], found[1], found[2], sides) == nearest);
        Require(std::equal(found, found + 3, best));
        Require(IntersectRayAnyTriangle(ray, triangles.data(), groups, sides) == (nearest != 4 * groups));
    }
}

/// Of `count` figures, sees those that `isSeen` tells of, and no bit beyond them in its last word.
template <class Cull, class IsSeen>
void CheckSeen(unsigned long count, Cull cull, IsSeen isSeen) {
    std::vector<std::uint32_t> visible((count + 31) / 32, 0xFFFFFFFF);
    unsigned long sum = cull(visible.data());
    for (unsigned long i = 0; i < 32 * visible.size(); ++i) {
        const bool isBit = (visible[i / 32] >> (i % 32) & 1) != 0;
        Require(isBit == (i < count && isSeen(i)));
        sum -= isBit ? 1 : 0;
    }
    Require(sum == 0);
}

void CheckCulling(Numbers& numbers) {
    V planes[6];
    for (V& plane : planes) {
        plane = numbers.Point();
    }
    const GeometryFrustum frustum(planes);
    std::vector<GeometryAABB> boxes(numbers.Byte() % 40);
    std::vector<GeometryAABB4> groups((boxes.size() + 3) / 4);
    std::vector<GeometryOBB> oriented;
    std::vector<V> spheres;
    for (std::size_t i = 0; i < boxes.size(); ++i) {
        const V low = numbers.Point();
        boxes[i] = GeometryAABB(low, numbers.Point());
        groups[i / 4].Set(i % 4, boxes[i]);
        oriented.emplace_back(low, planes, boxes[i].GetMax());
        spheres.push_back(low);
    }
    const auto count = static_cast<unsigned long>(boxes.size());
    std::vector<Containment> where(boxes.size());
    ClassifyAABBsByFrustum(frustum, boxes.data(), count, where.data());
    const auto isBoxSeen = [&](unsigned long i) {
        Require(where[i] == ClassifyAABBByFrustum(frustum, boxes[i]));
        return where[i] != Containment::OUTSIDE;
    };
    CheckSeen(
        count, [&](std::uint32_t* out) { return CullAABBsByFrustum(frustum, boxes.data(), count, out); }, isBoxSeen);
    CheckSeen(
        count, [&](std::uint32_t* out) { return CullAABBsByFrustum(frustum, groups.data(), (count + 3) / 4, out); },
        isBoxSeen);
    CheckSeen(
        count, [&](std::uint32_t* out) { return CullOBBsByFrustum(frustum, oriented.data(), count, out); },
        [&](unsigned long i) { return ClassifyOBBByFrustum(frustum, oriented[i]) != Containment::OUTSIDE; });
    CheckSeen(
        count, [&](std::uint32_t* out) { return CullSpheresByFrustum(frustum, spheres.data(), count, out); },
        [&](unsigned long i) {
            return ClassifySphereByFrustum(frustum, spheres[i], spheres[i].W()) != Containment::OUTSIDE;
        });
}

void CheckClipping(Numbers& numbers) {
    std::vector<V> polygon(numbers.Byte() % 12);
    for (V& corner : polygon) {
        corner = numbers.Point();
    }
    std::vector<V> planes(numbers.Byte() % 5);
    for (V& plane : planes) {
        plane = numbers.Point();
    }
    const auto count = static_cast<unsigned long>(polygon.size());
    const auto planeCount = static_cast<unsigned long>(planes.size());
    const V plane = numbers.Point();
    // Rooms of exactly the size that is asked for.
    std::vector<V> front(polygon.size() + 1);
    std::vector<V> back(polygon.size() + 1);
    const auto check = [&](auto split, auto clip) {
        unsigned long counts[2];
        split(polygon.data(), count, plane, front.data(), counts[0], back.data(), counts[1]);
        for (const unsigned long part : counts) {
            Require(part == 0 || (part >= 3 && part <= count + 1));
        }
        Require(clip(polygon.data(), count, plane, back.data()) == counts[0]);
        for (unsigned long i = 0; i < counts[0]; ++i) {
            Require(SameBits(front[i], back[i]) || front[i] != front[i]);
        }
    };
    check(SplitPolygon, ClipPolygon);
    check(Consistent::SplitPolygon, Consistent::ClipPolygon);
    std::vector<V> clipped(polygon.size() + planes.size());
    std::vector<V> scratch(clipped);
    const unsigned long left =
        ClipPolygonByConvex(polygon.data(), count, planes.data(), planeCount, clipped.data(), scratch.data());
    std::vector<V> expected = polygon;
    for (const V& each : planes) {
        scratch.resize(expected.size() + 1);
        scratch.resize(ClipPolygon(expected.data(), static_cast<unsigned long>(expected.size()), each, scratch.data()));
        expected.swap(scratch);
    }
    Require(left == expected.size());
    for (unsigned long i = 0; i < left; ++i) {
        Require(SameBits(clipped[i], expected[i]) || clipped[i] != clipped[i]);
    }
    const V ends[] = {numbers.Point(), numbers.Point()};
    V a = ends[0];
    V b = ends[1];
    if (!ClipSegment(a, b, planes.data(), planeCount) || planes.empty()) {
        Require(SameBits(a, ends[0]) && SameBits(b, ends[1]));
    }
}

void CheckSweeps(const V* p) {
    const V unwritten = V::Broadcast(UNWRITTEN);
    const GeometryAABB box(p[2], p[3]);
    const auto check = [&](auto sweep) {
        float t = UNWRITTEN;
        V point = unwritten;
        Require(sweep(t, point) ? t >= 0 && t <= 1 : t == UNWRITTEN && point == unwritten);
    };
    const float radius = p[4].X();
    check([&](float& t, V&) { return IntersectSweptSpherePlane(p[0], radius, p[1], p[2], t); });
    check([&](float& t, V&) { return IntersectSweptSphereSphere(p[0], radius, p[1], p[2], p[2].W(), t); });
    check([&](float& t, V& contact) {
        return IntersectSweptSphereTriangle(p[0], radius, p[1], p[2], p[3], p[4], t, contact);
    });
    check([&](float& t, V& contact) { return IntersectSweptSphereAABB(p[0], radius, p[1], box, t, contact); });
    check([&](float& t, V& contact) {
        return IntersectSweptSphereOBB(p[0], radius, p[1], GeometryOBB(p[2], p + 2, p[4]), t, contact);
    });
    check([&](float& t, V& normal) { return IntersectSweptAABBAABB(box, p[1], GeometryAABB(p[0], p[4]), t, normal); });
}

void CheckPlanes(const V* p) {
    const V unwritten = V::Broadcast(UNWRITTEN);
    V plane = unwritten;
    Require(MakePlane(plane, p[0], p[1], p[2]) || plane == unwritten);
    plane = unwritten;
    Require(MakePlane(plane, p, 5) || plane == unwritten);
    plane = p[0];
    Require(NormalizePlane(plane) || SameBits(plane, p[0]));
    V point = unwritten;
    V direction = unwritten;
    Require(IntersectPlanePlane(p[0], p[1], point, direction) || (point == unwritten && direction == unwritten));
    point = unwritten;
    Require(IntersectPlanes(p[0], p[1], p[2], point) || point == unwritten);
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) {
        return 0;
    }
    Numbers numbers(data, size);
    numbers.Begin();
    V p[5];
    for (V& point : p) {
        point = numbers.Point();
    }
    const V origin = numbers.Point();
    const V target = numbers.Point();
    const float last = numbers.Number();
    const GeometryRay ray(origin, target - origin, last, numbers.Number());
    CheckRays(ray, p);
    CheckPlanes(p);
    CheckSweeps(p);
    CheckGroups(ray, numbers);
    CheckCulling(numbers);
    CheckClipping(numbers);
    return 0;
}
