#include <zelk_core/math/geometry/clip.h>

#include <algorithm>
#include <limits>

namespace Z4 {

namespace {

/// A plane, of which one side is kept.
template <SumOrder ORDER>
class Cut {
public:
    explicit Cut(const VectorSIMD4f& plane) : m_plane(plane) {}
    /// Keeps what is behind. Negating is exact, so that both sides see the same heights.
    Cut Back() const {
        Cut result(*this);
        result.m_keepsBack = true;
        return result;
    }

    bool KeepsBack() const { return m_keepsBack; }
    /// Above 0 on the side that is kept.
    float HeightOf(const VectorSIMD4f& p) const {
        const float height = Height(p).X();
        return m_keepsBack ? -height : height;
    }
    /// Where the edge between two points, one to be kept and one not, is cut.
    VectorSIMD4f Crossing(const VectorSIMD4f& kept, const VectorSIMD4f& lost) const {
        return m_keepsBack ? Between(lost, kept) : Between(kept, lost);
    }

private:
    VectorSIMD4f Height(const VectorSIMD4f& p) const { return Dot3<ORDER>(p, m_plane) + m_plane.BroadcastW(); }
    VectorSIMD4f Between(const VectorSIMD4f& front, const VectorSIMD4f& back) const {
        const VectorSIMD4f height = Height(front);
        return front + height / (height - Height(back)) * (back - front);
    }

    VectorSIMD4f m_plane;
    bool m_keepsBack = false;
};

/// From the highest corner both ways to the first that is lost, which leaves two new corners at most, whatever the
/// polygon and however its heights are rounded.
template <SumOrder ORDER>
unsigned long Clip(const VectorSIMD4f* polygon, unsigned long count, const Cut<ORDER>& cut, VectorSIMD4f* clipped) {
    if (count < 3) {
        return 0;
    }
    unsigned long top = 0;
    float highest = -std::numeric_limits<float>::infinity();
    float lowest = -highest;
    for (unsigned long i = 0; i < count; ++i) {
        const float height = cut.HeightOf(polygon[i]);
        if (height != height) {
            return 0;
        }
        top = height > highest ? i : top;
        highest = height > highest ? height : highest;
        lowest = height < lowest ? height : lowest;
    }
    if (lowest >= 0 && (highest > 0 || !cut.KeepsBack())) {
        std::copy_n(polygon, count, clipped);
        return count;
    }
    if (!(highest > 0)) {
        return 0;
    }
    const auto before = [count](unsigned long i) { return (i != 0 ? i : count) - 1; };
    unsigned long i = top;
    while (cut.HeightOf(polygon[before(i)]) >= 0) {
        i = before(i);
    }
    unsigned long size = 0;
    const auto addCrossing = [&](const VectorSIMD4f& kept, const VectorSIMD4f& lost) {
        if (cut.HeightOf(kept) > 0) {
            clipped[size++] = cut.Crossing(kept, lost);
        }
    };
    addCrossing(polygon[i], polygon[before(i)]);
    while (cut.HeightOf(polygon[i]) >= 0) {
        clipped[size++] = polygon[i];
        i = i + 1 != count ? i + 1 : 0;
    }
    addCrossing(polygon[before(i)], polygon[i]);
    return size;
}

template <SumOrder ORDER>
void Split(const VectorSIMD4f* polygon, unsigned long count, const VectorSIMD4f& plane, VectorSIMD4f* front,
           unsigned long& frontCount, VectorSIMD4f* back, unsigned long& backCount) {
    const Cut<ORDER> cut(plane);
    frontCount = Clip(polygon, count, cut, front);
    backCount = Clip(polygon, count, cut.Back(), back);
}

template <SumOrder ORDER>
unsigned long ClipByConvex(const VectorSIMD4f* polygon, unsigned long count, const VectorSIMD4f* planes,
                           unsigned long planeCount, VectorSIMD4f* clipped, VectorSIMD4f* scratch) {
    if (planeCount == 0) {
        std::copy_n(polygon, count, clipped);
        return count;
    }
    // Back and forth, so that the last result lies in `clipped`.
    for (unsigned long i = 0; i < planeCount; ++i) {
        VectorSIMD4f* const target = (planeCount - i) % 2 != 0 ? clipped : scratch;
        count = Clip(polygon, count, Cut<ORDER>(planes[i]), target);
        polygon = target;
    }
    return count;
}

template <SumOrder ORDER>
bool Clip(VectorSIMD4f& a, VectorSIMD4f& b, const VectorSIMD4f* planes, unsigned long count) {
    VectorSIMD4f start = a;
    VectorSIMD4f end = b;
    for (unsigned long i = 0; i < count; ++i) {
        const Cut<ORDER> cut(planes[i]);
        const float startHeight = cut.HeightOf(start);
        const float endHeight = cut.HeightOf(end);
        if (startHeight != startHeight || endHeight != endHeight || (startHeight < 0 && endHeight < 0)) {
            return false;
        }
        if (startHeight < 0) {
            start = cut.Crossing(end, start);
        } else if (endHeight < 0) {
            end = cut.Crossing(start, end);
        }
    }
    a = start;
    b = end;
    return true;
}

} // namespace

namespace Geometry {

unsigned long ClipPolygon(const VectorSIMD4f* polygon, unsigned long count, const VectorSIMD4f& plane,
                          VectorSIMD4f* clipped) {
    return Clip(polygon, count, Cut<SumOrder::FAST>(plane), clipped);
}

void SplitPolygon(const VectorSIMD4f* polygon, unsigned long count, const VectorSIMD4f& plane, VectorSIMD4f* front,
                  unsigned long& frontCount, VectorSIMD4f* back, unsigned long& backCount) {
    Split<SumOrder::FAST>(polygon, count, plane, front, frontCount, back, backCount);
}

unsigned long ClipPolygonByConvex(const VectorSIMD4f* polygon, unsigned long count, const VectorSIMD4f* planes,
                                  unsigned long planeCount, VectorSIMD4f* clipped, VectorSIMD4f* scratch) {
    return ClipByConvex<SumOrder::FAST>(polygon, count, planes, planeCount, clipped, scratch);
}

bool ClipSegment(VectorSIMD4f& a, VectorSIMD4f& b, const VectorSIMD4f* planes, unsigned long count) {
    return Clip<SumOrder::FAST>(a, b, planes, count);
}

namespace Consistent {

unsigned long ClipPolygon(const VectorSIMD4f* polygon, unsigned long count, const VectorSIMD4f& plane,
                          VectorSIMD4f* clipped) {
    return Clip(polygon, count, Cut<SumOrder::CONSISTENT>(plane), clipped);
}

void SplitPolygon(const VectorSIMD4f* polygon, unsigned long count, const VectorSIMD4f& plane, VectorSIMD4f* front,
                  unsigned long& frontCount, VectorSIMD4f* back, unsigned long& backCount) {
    Split<SumOrder::CONSISTENT>(polygon, count, plane, front, frontCount, back, backCount);
}

unsigned long ClipPolygonByConvex(const VectorSIMD4f* polygon, unsigned long count, const VectorSIMD4f* planes,
                                  unsigned long planeCount, VectorSIMD4f* clipped, VectorSIMD4f* scratch) {
    return ClipByConvex<SumOrder::CONSISTENT>(polygon, count, planes, planeCount, clipped, scratch);
}

bool ClipSegment(VectorSIMD4f& a, VectorSIMD4f& b, const VectorSIMD4f* planes, unsigned long count) {
    return Clip<SumOrder::CONSISTENT>(a, b, planes, count);
}

} // namespace Consistent
} // namespace Geometry
} // namespace Z4
