// Scatters segments, triangles, boxes and points over a plane, asks for the nearest point of each shape to each point
// and for the boxes that contain a point or overlap, and writes it all as a picture in which every distance can be
// checked with a ruler: the unit of the numbers is the grid's.
#include "picture.h"
#include "svg.h"

#include <cstdio>
#include <limits>
#include <random>
#include <vector>
#include <zelk_core/zelk_core.h>

using Z4::VectorSIMD4f;
using Z4::Geometry::GeometryAABB;
using Z4::Geometry::GeometryOBB;

namespace {

constexpr int CELLS_ACROSS = 4;
constexpr int CELLS_DOWN = 3;
constexpr float CELL = 10;
constexpr float PIXELS_PER_UNIT = 26;

enum class Kind : unsigned char {
    SEGMENT,
    TRIANGLE,
    ALIGNED_BOX,
    ORIENTED_BOX
};

struct Shape {
    Kind kind;
    std::vector<VectorSIMD4f> corners; // in drawing order
    GeometryAABB aligned;
    GeometryOBB oriented;
    bool isOverlapping = false;
};

struct Nearest {
    VectorSIMD4f point;
    float distance;
};

/// Shapes with z = 0; boxes reach from -1 to 1 in z.
class Scatter {
public:
    explicit Scatter(unsigned seed) : m_engine(seed) {}

    VectorSIMD4f Place(float x, float y, float reach) {
        const float dx = Number(-reach, reach);
        return {x + dx, y + Number(-reach, reach), 0, 0};
    }
    Shape Make(Kind kind, float x, float y) {
        Shape shape;
        shape.kind = kind;
        const VectorSIMD4f middle = Place(x, y, 1);
        const float angle = Number(0, 6.28F);
        const float width = Number(1.5F, 3);
        const float height = Number(0.8F, 2);
        const GeometryOBB turned(middle, VectorSIMD4f(width, height, 1, 0), VectorSIMD4f(0, 0, angle, 0));
        const GeometryOBB straight(middle, VectorSIMD4f(width, height, 1, 0), VectorSIMD4f(0, 0, 0, 0));
        const GeometryOBB& box = kind == Kind::ALIGNED_BOX ? straight : turned;
        // The four corners of the side that looks at us.
        const VectorSIMD4f around[] = {box[4], box[5], box[6], box[7]};
        for (unsigned i = 0; i < CornerCount(kind); ++i) {
            shape.corners.push_back(And(around[kind == Kind::SEGMENT ? 2 * i : i], VectorSIMD4f::MASK_2D));
        }
        shape.oriented = box;
        shape.aligned = box.ToAABox();
        return shape;
    }

private:
    static unsigned CornerCount(Kind kind) { return kind == Kind::SEGMENT ? 2 : kind == Kind::TRIANGLE ? 3 : 4; }
    float Number(float low, float high) {
        return low + (high - low) * static_cast<float>(static_cast<double>(m_engine()) / 4294967296.0);
    }

    std::mt19937 m_engine;
};

bool IsInside(const Shape& shape, const VectorSIMD4f& p) {
    return shape.kind == Kind::ALIGNED_BOX ? shape.aligned.Contains(p)
                                           : shape.kind == Kind::ORIENTED_BOX && shape.oriented.Contains(p);
}

Nearest FindNearest(const Shape& shape, const VectorSIMD4f& p) {
    Nearest nearest{p, 0};
    switch (shape.kind) {
    case Kind::SEGMENT: {
        float t;
        Z4::Geometry::ClosestPointToSegment(nearest.point, p, shape.corners[0], shape.corners[1], t);
        break;
    }
    case Kind::TRIANGLE:
        nearest.point =
            Z4::Geometry::ClosestTrianglePointToPoint(p, shape.corners[0], shape.corners[1], shape.corners[2]);
        break;
    case Kind::ALIGNED_BOX:
        nearest.point = Z4::Geometry::ClosestAABBPointToPoint(p, shape.aligned);
        break;
    case Kind::ORIENTED_BOX: {
        // As the aligned box that it is, seen from its own axes.
        const Z4::MatrixSIMD44f out = shape.oriented.GetMatrix();
        const VectorSIMD4f extent = shape.oriented.GetExtent();
        const VectorSIMD4f local = TransformPoint(p, InverseAffine(out));
        nearest.point =
            TransformPoint(Z4::Geometry::ClosestAABBPointToPoint(local, GeometryAABB(-extent, extent)), out);
        break;
    }
    }
    nearest.distance = Z4::Length3(nearest.point - p).X();
    return nearest;
}

bool IsBox(const Shape& shape) {
    return shape.kind == Kind::ALIGNED_BOX || shape.kind == Kind::ORIENTED_BOX;
}

void MarkOverlaps(std::vector<Shape>& shapes) {
    for (Shape& a : shapes) {
        for (const Shape& b : shapes) {
            if (&a == &b || !IsBox(a) || !IsBox(b)) {
                continue;
            }
            const bool areAligned = a.kind == Kind::ALIGNED_BOX && b.kind == Kind::ALIGNED_BOX;
            a.isOverlapping |= areAligned ? a.aligned.Intersect(b.aligned) : a.oriented.Intersect(b.oriented);
        }
    }
}

/// With the grid and the words below it.
class Map : public Svg {
public:
    explicit Map(const char* path)
        : Svg(path, CELLS_ACROSS * CELL * PIXELS_PER_UNIT + MARGIN, CELLS_DOWN * CELL * PIXELS_PER_UNIT + LEGEND,
              PIXELS_PER_UNIT) {
        for (int x = 0; x <= CELLS_ACROSS * static_cast<int>(CELL); ++x) {
            Line(static_cast<float>(x), 0, static_cast<float>(x), CELLS_DOWN * CELL, "#e0e0e0", 1);
        }
        for (int y = 0; y <= CELLS_DOWN * static_cast<int>(CELL); ++y) {
            Line(0, static_cast<float>(y), CELLS_ACROSS * CELL, static_cast<float>(y), "#e0e0e0", 1);
        }
        Legend(CELLS_DOWN * CELL, 0,
               "One square of the grid is 1. Red: from each point to the nearest point of the nearest shape.");
        Legend(CELLS_DOWN * CELL, 1, "Orange boxes overlap another box; green points lie inside a box.");
    }
    void Add(const Shape& shape) {
        const char* const fill = shape.isOverlapping ? "#ffd9a8" : IsBox(shape) ? "#dde8f8" : "#e8e8e8";
        Polygon(shape.corners, fill, "0.7", "#30507a", 2);
    }

private:
    static constexpr float LEGEND = 50;
    static constexpr float MARGIN = 40; // for numbers at the right
};

} // namespace

bool DrawDistances(const char* path, unsigned seed) {
    Scatter scatter(seed);
    std::vector<Shape> shapes;
    std::vector<VectorSIMD4f> points;
    for (int i = 0; i < CELLS_ACROSS * CELLS_DOWN; ++i) {
        const float x = (static_cast<float>(i % CELLS_ACROSS) + 0.5F) * CELL;
        const float y = (static_cast<float>(i / CELLS_ACROSS) + 0.5F) * CELL;
        // Four kinds by turns, another one in each column of the next row; every third place has a second, oriented
        // box.
        shapes.push_back(scatter.Make(static_cast<Kind>((i + i / CELLS_ACROSS) % 4), x, y));
        if (i % 3 == 0) {
            shapes.push_back(scatter.Make(Kind::ORIENTED_BOX, x + 2, y + 2));
        }
        points.push_back(scatter.Place(x, y, CELL / 2 - 0.5F));
        points.push_back(scatter.Place(x, y, CELL / 2 - 0.5F));
    }
    MarkOverlaps(shapes);

    Map map(path);
    for (const Shape& shape : shapes) {
        map.Add(shape);
    }
    unsigned inside = 0;
    for (const VectorSIMD4f& p : points) {
        Nearest best{p, std::numeric_limits<float>::infinity()};
        bool isInBox = false;
        for (const Shape& shape : shapes) {
            const Nearest nearest = FindNearest(shape, p);
            best = nearest.distance < best.distance ? nearest : best;
            isInBox |= IsInside(shape, p);
        }
        map.Line(p[0], p[1], best.point[0], best.point[1], "#d02020", 2);
        map.Dot(best.point, 3, "#d02020");
        map.Dot(p, 4.5F, isInBox ? "#109030" : "black");
        map.Number(p, best.distance);
        inside += isInBox ? 1U : 0U;
    }
    unsigned overlapping = 0;
    for (const Shape& shape : shapes) {
        overlapping += shape.isOverlapping ? 1U : 0U;
    }
    std::printf("picture: %u shapes, of which %u boxes overlap; %u points, of which %u lie in a box\n",
                static_cast<unsigned>(shapes.size()), overlapping, static_cast<unsigned>(points.size()), inside);
    return map.Finish();
}
