// A scene as rays find it: solids of all kinds and a mesh on a chequered floor, two lights with hard shadows, a mirror.
#include "mesh.h"
#include "picture.h"
#include "png.h"

#include <cmath>
#include <cstdio>
#include <functional>

using namespace Z4::Geometry;
using V = Z4::VectorSIMD4f;

namespace {

constexpr unsigned WIDTH = 640;
constexpr unsigned HEIGHT = 400;
constexpr float TURN = 6.2831853F;
constexpr float MIRRORED = 0.75F;

struct Figure {
    /// Whether and where the ray meets it, and the unit normal there.
    std::function<bool(const GeometryRay& ray, float& t, V& normal)> meet;
    std::function<V(const V& p)> color;
    bool isMirror = false;
};

std::function<V(const V&)> Plain(float red, float green, float blue) {
    return [color = V(red, green, blue, 0)](const V&) { return color; };
}

Figure Floor() {
    return {[plane = V(0, 1, 0, 0)](const GeometryRay& ray, float& t, V& normal) {
                normal = plane;
                return IntersectRayPlane(ray, plane, t);
            },
            [](const V& p) {
                const int field = static_cast<int>(std::floor(p.X())) + static_cast<int>(std::floor(p.Z()));
                // Far away the fields are smaller than pixels: there the floor has their mean.
                const float distance = Length3(p).X() / 25;
                const float contrast = distance < 1 ? 0.29F * (1 - distance) : 0.0F;
                return V(0.55F, 0.56F, 0.56F, 0) + (field % 2 == 0 ? contrast : -contrast);
            }};
}
Figure Sphere(const V& center, float radius) {
    return {[=](const GeometryRay& ray, float& t, V& normal) {
                if (!IntersectRaySphere(ray, center, radius, t)) {
                    return false;
                }
                normal = Normalize3(ray.At(t) - center);
                return true;
            },
            Plain(0.85F, 0.35F, 0.3F)};
}
Figure Box(const GeometryOBB& box) {
    return {[box](const GeometryRay& ray, float& t, V& normal) {
                if (!IntersectRayOBB(ray, box, t)) {
                    return false;
                }
                // Of the side that the point is on, or nearest.
                float farthest = 0;
                const V way = ray.At(t) - box.GetCenter();
                for (unsigned k = 0; k < 3; ++k) {
                    const V& axis = box.GetAxisDir()[k];
                    const float part = Dot3(way, axis).X() / box.GetExtent()[k];
                    if (std::fabs(part) > farthest) {
                        farthest = std::fabs(part);
                        normal = part > 0 ? axis : -axis;
                    }
                }
                return true;
            },
            Plain(0.3F, 0.55F, 0.8F)};
}
Figure AlignedBox(const GeometryAABB& box) {
    const Figure asAny = Box(box.ToOOBox());
    return {[=](const GeometryRay& ray, float& t, V& normal) {
                return IntersectRayAABB(ray, box, t) && asAny.meet(ray, t, normal);
            },
            Plain(0.9F, 0.7F, 0.25F)};
}
/// From the axis to the point, of a capsule and of a cylinder's wall.
V NormalAround(const V& p, const V& a, const V& b) {
    V nearest;
    float t;
    ClosestPointToSegment(nearest, p, a, b, t);
    return Normalize3(p - nearest);
}
Figure Capsule(const V& a, const V& b, float radius) {
    return {[=](const GeometryRay& ray, float& t, V& normal) {
                if (!IntersectRayCapsule(ray, a, b, radius, t)) {
                    return false;
                }
                normal = NormalAround(ray.At(t), a, b);
                return true;
            },
            Plain(0.45F, 0.75F, 0.4F)};
}
Figure Cylinder(const V& a, const V& b, float radius) {
    return {[=](const GeometryRay& ray, float& t, V& normal) {
                if (!IntersectRayCylinder(ray, a, b, radius, t)) {
                    return false;
                }
                const V p = ray.At(t);
                const V axis = Normalize3(b - a);
                const float height = Dot3(p - a, axis).X();
                const float length = Length3(b - a).X();
                constexpr float NEAR = 1e-4F;
                normal = height < NEAR ? -axis : (height > length - NEAR ? axis : NormalAround(p, a, b));
                return true;
            },
            Plain(0.7F, 0.45F, 0.75F)};
}

struct Torus {
    static constexpr unsigned AROUND = 96;
    static constexpr unsigned ACROSS = 48;

    /// `i` and `k` may be between the corners, which are at whole numbers.
    V At(float i, float k, float thickness) const {
        const float angle = TURN * i / AROUND;
        const float tube = TURN * k / ACROSS;
        const float out = radius + thickness * std::cos(tube);
        return center + V(out * std::cos(angle), thickness * std::sin(tube), out * std::sin(angle), 0);
    }
    V Corner(unsigned i, unsigned k) const {
        return At(static_cast<float>(i % AROUND), static_cast<float>(k % ACROSS), width);
    }
    std::vector<Triangle> Triangles() const {
        std::vector<Triangle> triangles;
        for (unsigned i = 0; i < AROUND; ++i) {
            for (unsigned k = 0; k < ACROSS; ++k) {
                triangles.push_back({{Corner(i, k), Corner(i + 1, k), Corner(i, k + 1)}});
                triangles.push_back({{Corner(i + 1, k), Corner(i + 1, k + 1), Corner(i, k + 1)}});
            }
        }
        return triangles;
    }

    V center;
    float radius;
    float width;
};
Figure Lattice(const Mesh& mesh, const Torus& torus) {
    return {[&mesh, torus](const GeometryRay& ray, float& t, V& normal) {
                float u = 0;
                float v = 0;
                if (mesh.FindFirst(ray, t, u, v) == nullptr) {
                    return false;
                }
                // Round, from the middle of the tube.
                const V way = ray.At(t) - torus.center;
                const V flat = Normalize3(V(way.X(), 0, way.Z(), 0));
                normal = Normalize3(way - torus.radius * flat);
                return true;
            },
            Plain(0.95F, 0.6F, 0.35F)};
}

class Scene {
public:
    Scene(std::vector<Figure> figures, const Mesh& mesh) : m_figures(std::move(figures)), m_mesh(&mesh) {}

    /// The color that comes along a ray.
    V Trace(const GeometryRay& ray, unsigned reflections = 3) const {
        ++m_rays;
        GeometryRay rest = ray;
        const Figure* first = nullptr;
        V normal(0, 0, 0, 0);
        for (const Figure& figure : m_figures) {
            float t = 0;
            V found;
            if (figure.meet(rest, t, found)) {
                rest.SetLast(t);
                first = &figure;
                normal = found;
            }
        }
        if (first == nullptr) {
            const float up = 0.5F + 0.5F * Normalize3(ray.GetDirection()).Y();
            return V(0.9F, 0.93F, 0.97F, 0) - up * V(0.5F, 0.35F, 0.1F, 0);
        }
        const V p = rest.At(rest.GetLast()) + 1e-3F * normal;
        if (first->isMirror && reflections != 0) {
            const V& direction = ray.GetDirection();
            const GeometryRay mirrored(p, direction - 2 * Dot3(direction, normal) * normal);
            return MIRRORED * Trace(mirrored, reflections - 1);
        }
        return Light(p, normal) * first->color(p);
    }
    unsigned long Rays() const { return m_rays; }

private:
    V Light(const V& p, const V& normal) const {
        static const V LIGHTS[] = {V(-6, 9, -5, 0), V(7, 6, -3, 0)};
        V sum = V::Broadcast(0.25F);
        for (const V& light : LIGHTS) {
            const float slope = Dot3(Normalize3(light - p), normal).X();
            if (slope > 0 && !IsInShadow(GeometryRay::FromSegment(p, light))) {
                sum += 0.45F * slope;
            }
        }
        return sum;
    }
    bool IsInShadow(const GeometryRay& toLight) const {
        ++m_rays;
        if (m_mesh->IsMetBy(toLight)) {
            return true;
        }
        // All but the mesh, which comes last.
        for (std::size_t i = 0; i + 1 < m_figures.size(); ++i) {
            float t = 0;
            V normal;
            if (m_figures[i].meet(toLight, t, normal)) {
                return true;
            }
        }
        return false;
    }

    std::vector<Figure> m_figures;
    const Mesh* m_mesh;
    mutable unsigned long m_rays = 0;
};

/// Rays from the middle of the tube to each corner and to the middle of each edge: those that leave the closed mesh.
unsigned CountLeaks(const Mesh& mesh, const Torus& torus) {
    unsigned leaks = 0;
    for (unsigned i = 0; i < Torus::AROUND; ++i) {
        const V inside = torus.At(static_cast<float>(i) + 0.3F, 0, 0);
        for (unsigned k = 0; k < Torus::ACROSS; ++k) {
            const V corner = torus.Corner(i, k);
            for (const V& neighbour : {corner, torus.Corner(i + 1, k), torus.Corner(i, k + 1)}) {
                leaks += mesh.IsMetBy(GeometryRay(inside, 0.5F * (corner + neighbour) - inside)) ? 0U : 1U;
            }
        }
    }
    return leaks;
}

unsigned char ToByte(float value) {
    // Screens show the 2.2th power.
    return static_cast<unsigned char>(255 * std::pow(value < 1 ? value : 1.0F, 1 / 2.2F));
}

} // namespace

bool DrawScene(const char* path) {
    const Torus torus{{0.3F, 1.45F, 1.2F, 0}, 1.1F, 0.35F};
    const Mesh mesh(torus.Triangles());
    std::vector<Figure> figures;
    figures.push_back(Floor());
    figures.push_back(Sphere({-2.3F, 1.2F, 1.5F, 0}, 1.2F));
    figures.back().isMirror = true;
    figures.push_back(Sphere({-0.9F, 0.4F, -1.3F, 0}, 0.4F));
    figures.push_back(AlignedBox({V(-0.3F, 0, 0.6F, 0), V(0.9F, 1.0F, 1.8F, 0)}));
    figures.push_back(Box(GeometryOBB(V(2.6F, 0.6F, 1, 0), V(0.6F, 0.6F, 0.6F, 0), V(0, 0.6F, 0, 0))));
    figures.push_back(Capsule({0.8F, 0.3F, -1.2F, 0}, {1.7F, 0.3F, -0.7F, 0}, 0.3F));
    figures.push_back(Cylinder({-3.1F, 0, -0.8F, 0}, {-2.9F, 1.2F, -0.6F, 0}, 0.4F));
    figures.push_back(Lattice(mesh, torus));
    const Scene scene(std::move(figures), mesh);

    const V eye(-0.4F, 4.6F, -7.5F, 0);
    const V forward = Normalize3(V(-0.2F, 0.75F, 0.4F, 0) - eye);
    const V right = Normalize3(Cross3(V(0, 1, 0, 0), forward));
    const V up = Cross3(forward, right);
    constexpr float SLOPE = 1.0F / WIDTH;
    std::vector<unsigned char> pixels;
    pixels.reserve(std::size_t{3} * WIDTH * HEIGHT);
    Z4::StopWatch watch(true);
    for (unsigned y = 0; y < HEIGHT; ++y) {
        for (unsigned x = 0; x < WIDTH; ++x) {
            const float toRight = (static_cast<float>(x) - 0.5F * WIDTH) * SLOPE;
            const float toTop = (0.5F * HEIGHT - static_cast<float>(y)) * SLOPE;
            const V color = scene.Trace(GeometryRay(eye, forward + toRight * right + toTop * up));
            pixels.push_back(ToByte(color.X()));
            pixels.push_back(ToByte(color.Y()));
            pixels.push_back(ToByte(color.Z()));
        }
    }
    watch.Stop();
    const double seconds = static_cast<double>(watch.GetCumulUSec()) / 1e6;
    std::printf("scene: %lu rays in %.2f s, %.1f million a second; %u of %u at edges leave the closed mesh\n",
                scene.Rays(), seconds, static_cast<double>(scene.Rays()) / seconds / 1e6, CountLeaks(mesh, torus),
                3 * Torus::AROUND * Torus::ACROSS);
    return WritePng(path, WIDTH, HEIGHT, pixels);
}
