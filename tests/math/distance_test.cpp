#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <string_view>
#include <zelk_core/math/geometry/distance.h>

namespace {

using Z4::VectorSIMD4f;
namespace Fast = Z4::Geometry;
namespace Consistent = Z4::Geometry::Consistent;

struct Plain {
    float v[4];
};

Plain operator+(const Plain& a, const Plain& b) {
    return {{a.v[0] + b.v[0], a.v[1] + b.v[1], a.v[2] + b.v[2], a.v[3] + b.v[3]}};
}
Plain operator-(const Plain& a, const Plain& b) {
    return {{a.v[0] - b.v[0], a.v[1] - b.v[1], a.v[2] - b.v[2], a.v[3] - b.v[3]}};
}
Plain operator*(float s, const Plain& a) {
    return {{s * a.v[0], s * a.v[1], s * a.v[2], s * a.v[3]}};
}

using DotFunction = float (*)(const Plain& a, const Plain& b);

float LeftToRight(const Plain& a, const Plain& b) {
    return a.v[0] * b.v[0] + a.v[1] * b.v[1] + a.v[2] * b.v[2];
}
float LastFirst(const Plain& a, const Plain& b) {
    return a.v[0] * b.v[0] + (a.v[1] * b.v[1] + a.v[2] * b.v[2]);
}
float InPlane(const Plain& a, const Plain& b) {
    return a.v[0] * b.v[0] + a.v[1] * b.v[1];
}

Plain Cross(const Plain& a, const Plain& b) {
    return {{a.v[1] * b.v[2] - a.v[2] * b.v[1], a.v[2] * b.v[0] - a.v[0] * b.v[2], a.v[0] * b.v[1] - a.v[1] * b.v[0],
             0.0F}};
}

float ZeroToOne(float x) {
    const float raised = x > 0.0F ? x : 0.0F;
    return raised < 1.0F ? raised : 1.0F;
}

float OverSquare(float x, float square) {
    return x / (square > std::numeric_limits<float>::min() ? square : std::numeric_limits<float>::min());
}

struct Input {
    Plain p[5];
    float eps;
};

/// What a query wrote and returned, in that order.
struct Output {
    float values[16] = {};
    int count = 0;

    void Add(float value) { values[count++] = value; }
    void Add(const Plain& value) {
        for (const float lane : value.v) {
            Add(lane);
        }
    }
    void Add(const VectorSIMD4f& value) {
        Plain lanes;
        value.Store(lanes.v);
        Add(lanes);
    }
    template <class First, class Second, class... More>
    void Add(const First& first, const Second& second, const More&... more) {
        Add(first);
        Add(second, more...);
    }

    Output Last() const {
        Output last;
        last.Add(values[count - 1]);
        return last;
    }

    /// NaNs are all alike: which of two operands lends its sign is up to the compiler.
    std::uint32_t Bits(int i) const {
        return std::isnan(values[i]) ? 0x7FC00000 : std::bit_cast<std::uint32_t>(values[i]);
    }
};

/// The queries as plain scalar code.
namespace Scalar {

Output Segment(const Plain& p, const Plain& a, const Plain& b, float eps, DotFunction dot) {
    const Plain d = p - a;
    const Plain e = b - a;
    const float n = dot(d, e);
    Output out;
    if (!(eps < n)) {
        out.Add(a, 0.0F, dot(d, d));
        return out;
    }
    const float l = dot(e, e);
    if (l - n <= eps) {
        out.Add(b, 1.0F, dot(d - e, d - e));
        return out;
    }
    const float t = n / l;
    const Plain residual = d - t * e;
    out.Add(a + t * e, t, dot(residual, residual));
    return out;
}

Output Line(const Plain& p, const Plain& a, const Plain& b, DotFunction dot) {
    const Plain e = b - a;
    bool isPoint = true;
    for (const float lane : e.v) {
        isPoint = isPoint && std::fabs(lane) <= 1e-6F;
    }
    const float lengthSqr = dot(e, e);
    const Plain u = isPoint || lengthSqr == 0.0F ? Plain{} : (1.0F / std::sqrt(lengthSqr)) * e;
    const Plain nearest = a + dot(u, p - a) * u;
    Output out;
    out.Add(nearest, dot(nearest - p, nearest - p));
    return out;
}

Output BetweenLines(const Plain* p, DotFunction dot) {
    const Plain p13 = p[0] - p[2];
    const Plain p43 = p[3] - p[2];
    const Plain p21 = p[1] - p[0];
    const float denom = dot(p21, p21) * dot(p43, p43) - dot(p43, p21) * dot(p43, p21);
    Output out;
    if (std::fabs(denom) < 0.0001F) {
        // What the outputs hold before.
        const Plain before = {{7, 7, 7, 7}};
        out.Add(before, before, 7.0F, 7.0F, 0.0F, 0.0F, 7.0F, 7.0F);
        return out;
    }
    const float mua = (dot(p13, p43) * dot(p43, p21) - dot(p13, p21) * dot(p43, p43)) / denom;
    const float mub = (dot(p13, p43) + mua * dot(p43, p21)) / dot(p43, p43);
    Plain pa = p[0] + mua * p21;
    Plain pb = p[2] + mub * p43;
    pa.v[3] = pb.v[3] = 0.0F;
    out.Add(pa, pb, mua, mub, 1.0F, 1.0F, mua, mub);
    return out;
}

/// `crossed` is the dot product of two cross products with a common first factor.
Output Segments(const Plain* p, DotFunction dot, float (*crossed)(const Plain& a, const Plain& b, const Plain& c)) {
    const Plain r = p[0] - p[2];
    const Plain d1 = p[1] - p[0];
    const Plain d2 = p[3] - p[2];
    const float lineT = ZeroToOne(OverSquare(crossed(d1, r, d2), crossed(d1, d2, d2)));
    const float s = ZeroToOne(OverSquare(dot(d1, lineT * d2 - r), dot(d1, d1)));
    const Plain toFirst = r + s * d1;
    const float t = ZeroToOne(OverSquare(dot(d2, toFirst), dot(d2, d2)));
    Output out;
    out.Add(s, t, dot(toFirst - t * d2, toFirst - t * d2));
    return out;
}

Plain Triangle(const Plain& p, const Plain& a, const Plain& b, const Plain& c) {
    const auto along = [&](const Plain& to, const Plain& corner) { return LastFirst(to - a, p - corner); };
    const float d1 = along(b, a), d2 = along(c, a), d3 = along(b, b), d4 = along(c, b), d5 = along(b, c),
                d6 = along(c, c);
    const float vc = d1 * d4 - d3 * d2, vb = d5 * d2 - d1 * d6, va = d3 * d6 - d5 * d4;
    if (d1 <= 0 && d2 <= 0) {
        return a;
    }
    if (d3 >= 0 && d4 - d3 <= 0) {
        return b;
    }
    if (d6 >= 0 && d5 - d6 <= 0) {
        return c;
    }
    if (vc <= 0 && d1 >= 0 && d3 <= 0) {
        return a + d1 / (d1 - d3) * (b - a);
    }
    if (va <= 0 && d4 - d3 >= 0 && d5 - d6 >= 0) {
        return b + (d4 - d3) / ((d4 - d3) + (d5 - d6)) * (c - b);
    }
    if (vb <= 0 && d2 >= 0 && d6 <= 0) {
        return a + d2 / (d2 - d6) * (c - a);
    }
    const float sum = va + vb + vc;
    return va / sum * a + vb / sum * b + vc / sum * c;
}

} // namespace Scalar

float CrossedInSpace(const Plain& a, const Plain& b, const Plain& c, DotFunction dot) {
    return dot(Cross(a, b), Cross(a, c));
}
float CrossedLeftToRight(const Plain& a, const Plain& b, const Plain& c) {
    return CrossedInSpace(a, b, c, LeftToRight);
}
float CrossedLastFirst(const Plain& a, const Plain& b, const Plain& c) {
    return CrossedInSpace(a, b, c, LastFirst);
}
float CrossedInPlane(const Plain& a, const Plain& b, const Plain& c) {
    return (a.v[0] * b.v[1] - a.v[1] * b.v[0]) * (a.v[0] * c.v[1] - a.v[1] * c.v[0]);
}

/// The arguments of a query, and what it writes, which starts as 7.
struct Call {
    explicit Call(const Input& input) {
        for (int i = 0; i < 5; ++i) {
            p[i] = VectorSIMD4f::Load(input.p[i].v);
        }
    }

    VectorSIMD4f p[5];
    VectorSIMD4f va = VectorSIMD4f::Broadcast(7);
    VectorSIMD4f vb = VectorSIMD4f::Broadcast(7);
    float fa = 7;
    float fb = 7;
    float fc = 7;
    Output out;
};

using PointToSegment = float (*)(VectorSIMD4f&, const VectorSIMD4f&, const VectorSIMD4f&, const VectorSIMD4f&, float&);
template <PointToSegment FUNCTION>
Output OwnSegment(const Input& input) {
    Call c(input);
    const float distanceSqr = FUNCTION(c.va, c.p[0], c.p[1], c.p[2], c.fa);
    c.out.Add(c.va, c.fa, distanceSqr);
    return c.out;
}

using PointDistance = float (*)(const VectorSIMD4f&, const VectorSIMD4f&, const VectorSIMD4f&);
template <PointDistance FUNCTION>
Output OwnDistance(const Input& input) {
    Call c(input);
    c.out.Add(FUNCTION(c.p[0], c.p[1], c.p[2]));
    return c.out;
}

using BetweenLines = bool (*)(const VectorSIMD4f&, const VectorSIMD4f&, const VectorSIMD4f&, const VectorSIMD4f&,
                              VectorSIMD4f&, VectorSIMD4f&, float&, float&);
using BetweenLinesParameters = bool (*)(const VectorSIMD4f&, const VectorSIMD4f&, const VectorSIMD4f&,
                                        const VectorSIMD4f&, float&, float&);
template <BetweenLines POINTS, BetweenLinesParameters PARAMETERS>
Output OwnBetweenLines(const Input& input) {
    Call c(input);
    const bool exists = POINTS(c.p[0], c.p[1], c.p[2], c.p[3], c.va, c.vb, c.fa, c.fb);
    c.out.Add(c.va, c.vb, c.fa, c.fb, exists ? 1.0F : 0.0F);
    Call d(input);
    c.out.Add(PARAMETERS(d.p[0], d.p[1], d.p[2], d.p[3], d.fa, d.fb) ? 1.0F : 0.0F);
    c.out.Add(d.fa, d.fb);
    return c.out;
}

using Segments = float (*)(const VectorSIMD4f&, const VectorSIMD4f&, const VectorSIMD4f&, const VectorSIMD4f&, float&,
                           float&);
template <Segments FUNCTION>
Output OwnSegments(const Input& input) {
    Call c(input);
    const float distanceSqr = FUNCTION(c.p[0], c.p[1], c.p[2], c.p[3], c.fa, c.fb);
    c.out.Add(c.fa, c.fb, distanceSqr);
    return c.out;
}

/// A query beside its plain form, where it has one, and the digest of its results.
const struct Query {
    const char* name;
    Output (*own)(const Input& input);
    Output (*plain)(const Input& input);
    std::uint64_t digest;
} QUERIES[] = {
    {"ClosestPointToSegment", OwnSegment<Fast::ClosestPointToSegment>,
     [](const Input& i) { return Scalar::Segment(i.p[0], i.p[1], i.p[2], 0, LastFirst); }, 0xC96ED3201AAFC806},
    {"ClosestPointToSegment2D", OwnSegment<Fast::ClosestPointToSegment2D>,
     [](const Input& i) { return Scalar::Segment(i.p[0], i.p[1], i.p[2], 0, InPlane); }, 0xF7CF664EE504211B},
    {"Consistent::ClosestPointToSegment", OwnSegment<Consistent::ClosestPointToSegment>,
     [](const Input& i) { return Scalar::Segment(i.p[0], i.p[1], i.p[2], 0, LeftToRight); }, 0x857FA6D73636505D},
    {"Consistent::ClosestPointToSegment2D",
     [](const Input& i) {
         Call c(i);
         const VectorSIMD4f distanceSqr =
             Consistent::ClosestPointToSegment2D(c.va, c.p[0], c.p[1], c.p[2], c.vb, i.eps);
         c.out.Add(c.va, c.vb, distanceSqr);
         return c.out;
     },
     [](const Input& i) {
         const Output nearest = Scalar::Segment(i.p[0], i.p[1], i.p[2], i.eps, InPlane);
         Output out;
         for (const int value : {0, 1, 2, 3, 4, 4, 4, 4, 5, 5, 5, 5}) {
             out.Add(nearest.values[value]);
         }
         return out;
     },
     0x53D7C137EC7B47AA},
    {"Consistent::DistancePointToSegment2DSqr",
     [](const Input& i) {
         Call c(i);
         const float distanceSqr = Consistent::DistancePointToSegment2DSqr(c.p[0], c.p[1], c.p[2], c.fa);
         c.out.Add(c.fa, distanceSqr);
         return c.out;
     },
     [](const Input& i) {
         const Output nearest = Scalar::Segment(i.p[0], i.p[1], i.p[2], 0, InPlane);
         Output out;
         out.Add(nearest.values[4], nearest.values[5]);
         return out;
     },
     0x7E1987C7D992F168},
    {"ClosestPointToLine",
     [](const Input& i) {
         Call c(i);
         const float distanceSqr = Fast::ClosestPointToLine(c.va, c.p[0], c.p[1], c.p[2]);
         c.out.Add(c.va, distanceSqr);
         return c.out;
     },
     [](const Input& i) { return Scalar::Line(i.p[0], i.p[1], i.p[2], LastFirst); }, 0x2708049A4FA26761},
    {"DistancePointToLineSqr", OwnDistance<Fast::DistancePointToLineSqr>,
     [](const Input& i) { return Scalar::Line(i.p[0], i.p[1], i.p[2], LastFirst).Last(); }, 0x1C05FA00605259D8},
    {"DistancePointToLine2DSqr", OwnDistance<Fast::DistancePointToLine2DSqr>,
     [](const Input& i) { return Scalar::Line(i.p[0], i.p[1], i.p[2], InPlane).Last(); }, 0xFB498DFA9A6F11E6},
    {"Consistent::DistancePointToLineSqr", OwnDistance<Consistent::DistancePointToLineSqr>,
     [](const Input& i) { return Scalar::Line(i.p[0], i.p[1], i.p[2], LeftToRight).Last(); }, 0x6AA3BA772A2D203A},
    {"ClosestDistToSegment", OwnDistance<Fast::ClosestDistToSegment>,
     [](const Input& i) {
         Output out;
         out.Add(std::sqrt(Scalar::Segment(i.p[0], i.p[1], i.p[2], 0, LastFirst).Last().values[0]));
         return out;
     },
     0xEEB145DF9DB8EBCD},
    {"GetShortestSegmentBetweenLines",
     OwnBetweenLines<Fast::GetShortestSegmentBetweenLines, Fast::GetShortestSegmentBetweenLines>,
     [](const Input& i) { return Scalar::BetweenLines(i.p, LastFirst); }, 0x67FDF4502ACB1BED},
    {"Consistent::GetShortestSegmentBetweenLines",
     OwnBetweenLines<Consistent::GetShortestSegmentBetweenLines, Consistent::GetShortestSegmentBetweenLines>,
     [](const Input& i) { return Scalar::BetweenLines(i.p, LeftToRight); }, 0x9A205A29418D320A},
    {"DistanceSegmentToSegmentSqr", OwnSegments<Fast::DistanceSegmentToSegmentSqr>,
     [](const Input& i) { return Scalar::Segments(i.p, LastFirst, CrossedLastFirst); }, 0x19D7C7F9BFBED4A4},
    {"Consistent::DistanceSegmentToSegmentSqr", OwnSegments<Consistent::DistanceSegmentToSegmentSqr>,
     [](const Input& i) { return Scalar::Segments(i.p, LeftToRight, CrossedLeftToRight); }, 0x5C63EF582D68E307},
    {"Consistent::DistanceSegmentToSegment2DSqr", OwnSegments<Consistent::DistanceSegmentToSegment2DSqr>,
     [](const Input& i) { return Scalar::Segments(i.p, InPlane, CrossedInPlane); }, 0x783AF4EE4F2362A5},
    {"DistanceSegmentToRectangleSqr",
     [](const Input& i) {
         Call c(i);
         const float distanceSqr =
             Fast::DistanceSegmentToRectangleSqr(c.p[0], c.p[1], c.p[2], c.p[3], c.p[4], c.fa, c.fb, c.fc);
         c.out.Add(c.fa, c.fb, c.fc, distanceSqr);
         return c.out;
     },
     nullptr, 0x5EF6A2235CCEA058},
    {"DistancePointToRectangleSqr",
     [](const Input& i) {
         Call c(i);
         const float distanceSqr = Fast::DistancePointToRectangleSqr(c.p[0], c.p[1], c.p[2], c.p[3], c.fa, c.fb);
         c.out.Add(c.fa, c.fb, distanceSqr);
         return c.out;
     },
     nullptr, 0x2A789353C13134A1},
    {"DistanceLineToTriangleSqr",
     [](const Input& i) {
         Call c(i);
         float params[3];
         const float distanceSqr = Fast::DistanceLineToTriangleSqr(c.p[0], c.p[1], c.p[2], c.p[3], c.p[4], params);
         c.out.Add(params[0], params[1], params[2], distanceSqr);
         return c.out;
     },
     nullptr, 0x3255B506E21765C4},
    {"ClosestTrianglePointToPoint",
     [](const Input& i) {
         Call c(i);
         c.out.Add(Fast::ClosestTrianglePointToPoint(c.p[0], c.p[1], c.p[2], c.p[3]));
         return c.out;
     },
     nullptr, 0xA8C8F14BEECC3E78},
    {"DistancePointToAABB2DSqr",
     [](const Input& i) {
         Call c(i);
         const auto corner = [&](int k) { return Z4::Vector2f(i.p[k].v[0], i.p[k].v[1]); };
         c.out.Add(Fast::DistancePointToAABB2DSqr(corner(0), corner(1), corner(2)));
         return c.out;
     },
     nullptr, 0xC111935417BE8428},
};

/// Random numbers whose bits are the same with every compiler.
class Generator {
public:
    explicit Generator(unsigned seed) : m_engine(seed) {}

    unsigned Below(unsigned limit) { return static_cast<unsigned>(m_engine()) % limit; }

    /// Points among which equal, parallel and collinear ones are frequent; some with numbers that are none.
    Input Next() {
        const unsigned kind = Below(16);
        Input input;
        for (Plain& p : input.p) {
            for (float& lane : p.v) {
                lane = Number(kind);
            }
        }
        Plain* const p = input.p;
        switch (Below(8)) {
        case 0:
            p[1] = p[Below(2) * 2];
            break;
        case 1:
            p[3] = p[2] + (p[1] - p[0]);
            break;
        case 2:
            p[2] = p[0] + Number(kind) * (p[1] - p[0]);
            break;
        case 3:
            p[4] = p[3] = p[2] + Number(1) * (p[1] - p[0]);
            break;
        default:
            break;
        }
        const float tolerances[] = {0, 1e-6F, 0.5F, -1e-6F};
        input.eps = tolerances[Below(4)];
        return input;
    }

private:
    float Number(unsigned kind) {
        static const float SPECIAL[] = {0.0F,
                                        -0.0F,
                                        1e-45F,
                                        -1e-38F,
                                        3.4e38F,
                                        1e-6F,
                                        -1.1e-6F,
                                        1e19F,
                                        std::numeric_limits<float>::infinity(),
                                        std::numeric_limits<float>::quiet_NaN()};
        const float unit = static_cast<float>(static_cast<std::int32_t>(m_engine())) / 2147483648.0F;
        switch (kind) {
        case 0:
            return std::bit_cast<float>(static_cast<std::uint32_t>(m_engine()));
        case 1:
        case 2:
            return static_cast<float>(static_cast<int>(Below(7)) - 3);
        case 3:
            return std::ldexp(unit, static_cast<int>(Below(80)) - 40);
        case 4:
            return Below(4) == 0 ? SPECIAL[Below(10)] : unit;
        case 5:
            return 0.01F * unit;
        default:
            return 10.0F * unit;
        }
    }

    std::mt19937 m_engine;
};

constexpr unsigned SEED = 4302;
constexpr int ROUNDS = 120000;

TEST(Distance, EqualsPlainCodeToTheBit) {
    for (const Query& query : QUERIES) {
        Generator generator(SEED);
        std::uint64_t digest = 0xCBF29CE484222325;
        for (int round = 0; round < ROUNDS; ++round) {
            const Input input = generator.Next();
            const Output own = query.own(input);
            const Output plain = query.plain != nullptr ? query.plain(input) : own;
            ASSERT_EQ(own.count, plain.count) << query.name;
            for (int i = 0; i < own.count; ++i) {
                ASSERT_EQ(own.Bits(i), plain.Bits(i))
                    << query.name << ", value " << i << ", round " << round << " of seed " << SEED;
                digest = (digest ^ own.Bits(i)) * 0x100000001B3;
            }
        }
        // The same in every build: compilers and processors must agree.
        EXPECT_EQ(digest, query.digest) << query.name << std::hex << " 0x" << digest;
    }
}

TEST(Distance, TriangleTakesTheFirstRegionThatHolds) {
    Generator generator(SEED);
    int compared = 0;
    for (int round = 0; round < ROUNDS; ++round) {
        const Input input = generator.Next();
        const Call c(input);
        const Plain* const p = input.p;
        const Plain plain = Scalar::Triangle(p[0], p[1], p[2], p[3]);
        const Plain n = Cross(p[2] - p[1], p[3] - p[1]);
        float greatest = 0;
        for (const Plain& difference : {p[0] - p[1], p[2] - p[1], p[3] - p[1]}) {
            greatest = std::fmax(greatest, LastFirst(difference, difference));
        }
        // Of others, rounding may have spoiled the face's weights.
        if (!(LastFirst(n, n) > 0.01F * greatest * greatest && greatest > 1e-9F && greatest < 1e9F)) {
            continue;
        }
        ++compared;
        Plain own;
        Fast::ClosestTrianglePointToPoint(c.p[0], c.p[1], c.p[2], c.p[3]).Store(own.v);
        for (int lane = 0; lane < 4; ++lane) {
            ASSERT_EQ(std::bit_cast<std::uint32_t>(own.v[lane]), std::bit_cast<std::uint32_t>(plain.v[lane]))
                << "round " << round << " of seed " << SEED;
        }
    }
    EXPECT_GT(compared, 20000);
}

TEST(Distance, OfNanIsNan) {
    const struct {
        const char* query;
        int arguments;
        int lanes;
    } counted[] = {
        {"ClosestPointToLine", 3, 3},
        {"DistancePointToLine2DSqr", 3, 2},
        {"DistanceSegmentToSegmentSqr", 4, 3},
        {"Consistent::DistanceSegmentToSegment2DSqr", 4, 2},
        {"DistanceSegmentToRectangleSqr", 5, 3},
        {"DistancePointToRectangleSqr", 4, 3},
        {"DistanceLineToTriangleSqr", 5, 3},
        {"ClosestTrianglePointToPoint", 4, 3},
        {"ClosestPointToSegment", 2, 3},
    };
    for (const auto& row : counted) {
        const Query* const query = std::find_if(std::begin(QUERIES), std::end(QUERIES),
                                                [&](const Query& q) { return q.name == std::string_view(row.query); });
        Generator generator(SEED);
        for (int round = 0; round < 1000; ++round) {
            Input input;
            do {
                input = generator.Next();
            } while (!std::isfinite(query->own(input).Last().values[0]));
            const unsigned argument = generator.Below(static_cast<unsigned>(row.arguments));
            const unsigned lane = generator.Below(static_cast<unsigned>(row.lanes));
            input.p[argument].v[lane] = std::numeric_limits<float>::quiet_NaN();
            ASSERT_TRUE(std::isnan(query->own(input).Last().values[0]))
                << row.query << ", argument " << argument << ", round " << round;
        }
    }
}

TEST(Distance, LinesAreParallelBelowTheLimit) {
    constexpr float LIMIT = 0.0001F;
    const VectorSIMD4f origin = VectorSIMD4f::Broadcast(0);
    int atLimit = 0;
    int below = 0;
    for (float x = 0.5F; x < 2; x += 0.001F) {
        const float y = 0.01F / x;
        const float denom = (x * x) * (y * y);
        float mua = 7;
        float mub = 7;
        const bool found = Fast::GetShortestSegmentBetweenLines(origin, {x, 0, 0, 0}, origin, {0, y, 0, 0}, mua, mub);
        EXPECT_EQ(found, denom >= LIMIT);
        EXPECT_EQ(mua, found ? 0.0F : 7.0F);
        EXPECT_EQ(mub, found ? 0.0F : 7.0F);
        atLimit += denom == LIMIT ? 1 : 0;
        below += denom < LIMIT ? 1 : 0;
    }
    EXPECT_GT(atLimit, 0);
    EXPECT_GT(below, 0);
}

TEST(Distance, WritesMayOverlapReads) {
    Generator generator(SEED);
    for (int round = 0; round < 1000; ++round) {
        const Input input = generator.Next();
        Call apart(input);
        Call same(input);
        Fast::ClosestPointToSegment(apart.va, apart.p[0], apart.p[1], apart.p[2], apart.fa);
        Fast::ClosestPointToSegment(same.p[0], same.p[0], same.p[1], same.p[2], same.fa);
        Output expected;
        Output actual;
        expected.Add(apart.va, apart.fa);
        actual.Add(same.p[0], same.fa);
        same = Call(input);
        apart.va = apart.p[0];
        apart.vb = apart.p[3];
        EXPECT_EQ(Fast::GetShortestSegmentBetweenLines(apart.p[0], apart.p[1], apart.p[2], apart.p[3], apart.va,
                                                       apart.vb, apart.fa, apart.fb),
                  Fast::GetShortestSegmentBetweenLines(same.p[0], same.p[1], same.p[2], same.p[3], same.p[0], same.p[3],
                                                       same.fa, same.fb));
        expected.Add(apart.va, apart.vb, apart.fb);
        actual.Add(same.p[0], same.p[3], same.fb);
        for (int i = 0; i < expected.count; ++i) {
            ASSERT_EQ(actual.Bits(i), expected.Bits(i)) << i << ", round " << round;
        }
    }
}

TEST(Distance, FromBoxes) {
    const Fast::GeometryAABB box({-1, -1, -1, -1}, {1, 2, 3, 4});
    EXPECT_EQ(Fast::ClosestAABBPointToPoint({0.5F, 0.5F, 2.5F, 3.5F}, box), VectorSIMD4f(0.5F, 0.5F, 2.5F, 3.5F));
    EXPECT_EQ(Fast::ClosestAABBPointToPoint({-7, 7, 3, 9}, box), VectorSIMD4f(-1, 2, 3, 4));
    // Without an inside, it is min.
    EXPECT_EQ(Fast::ClosestAABBPointToPoint({0, 0, 0, 0}, Fast::GeometryAABB({1, 1, 1, 1}, {-1, -1, -1, -1})),
              VectorSIMD4f(1, 1, 1, 1));

    // Exact in small integers.
    for (int i = 0; i < 9 * 9; ++i) {
        const int x = i % 9 - 4;
        const int y = i / 9 - 4;
        const int dx = x < -1 ? -1 - x : std::max(x - 3, 0);
        const int dy = y < 0 ? -y : std::max(y - 2, 0);
        EXPECT_EQ(Fast::DistancePointToAABB2DSqr({static_cast<float>(x), static_cast<float>(y)}, {-1, 0}, {3, 2}),
                  static_cast<float>(dx * dx + dy * dy));
    }
}

} // namespace
