#include <cmath>
#include <cstddef>
#include <zelk_core/services/random/ziggurat.h>

namespace Z4::Private {

template <>
struct Layout<Ziggurat> {
    static_assert(offsetof(Ziggurat, m_seeded) == 0);
    static_assert(offsetof(Ziggurat, m_jz) == 4);
    static_assert(offsetof(Ziggurat, m_jsr) == 8);
    static_assert(offsetof(Ziggurat, m_hz) == 12);
    static_assert(offsetof(Ziggurat, m_iz) == 16);
    static_assert(offsetof(Ziggurat, m_kn) == 20);
    static_assert(offsetof(Ziggurat, m_ke) == 532);
    static_assert(offsetof(Ziggurat, m_wn) == 1556);
    static_assert(offsetof(Ziggurat, m_fn) == 2068);
    static_assert(offsetof(Ziggurat, m_we) == 2580);
    static_assert(offsetof(Ziggurat, m_fe) == 3604);
    static_assert(sizeof(Ziggurat) == 4628);
};

namespace {

/// Where the base layer's rectangle ends and the tail begins, the area of each layer, and the scale of a draw.
constexpr double NORMAL_EDGE = 3.442619855899;
constexpr double NORMAL_AREA = 9.91256303526217e-3;
constexpr double NORMAL_SCALE = 2147483648.0;
constexpr double EXPONENTIAL_EDGE = 7.697117470131487;
constexpr double EXPONENTIAL_AREA = 3.949659822581572e-3;
constexpr double EXPONENTIAL_SCALE = 4294967296.0;

/// Drops the fraction and saturates at the end of the signed range; no value is below 0. That range is too small for
/// the exponential thresholds: all but the one that is 0 saturate at 0x7FFFFFFF. In the layers above the base it only
/// costs time, since a draw that the threshold turns away passes the exact test of EFix() just as well. In the base
/// layer, however, EFix() takes whatever comes for the tail: half of the layer's draws go there instead of 11.5 %. So 1
/// of 506 values lies beyond the edge where 1 of 2202 should, and the rectangle is filled up to 4.349, half its width,
/// only.
std::uint32_t Threshold(double value) {
    constexpr double HIGHEST = 2147483647.0;
    return static_cast<std::uint32_t>(value > HIGHEST ? HIGHEST : value);
}

double NormalDensity(double x) {
    return std::exp(-0.5 * x * x);
}

} // namespace

void Ziggurat::Seed(std::uint32_t seed) {
    m_jsr ^= seed;
    if (m_seeded == 0) {
        m_seeded = 1;
        BuildNormalTables();
        BuildExponentialTables();
    }
}

void Ziggurat::BuildNormalTables() {
    constexpr unsigned LAST = NORMAL_LAYERS - 1;
    double edge = NORMAL_EDGE;
    double outerEdge = edge;
    const double baseWidth = NORMAL_AREA / NormalDensity(edge);
    m_kn[0] = Threshold(edge / baseWidth * NORMAL_SCALE);
    m_kn[1] = 0;
    m_wn[0] = static_cast<float>(baseWidth / NORMAL_SCALE);
    m_wn[LAST] = static_cast<float>(edge / NORMAL_SCALE);
    m_fn[0] = 1;
    m_fn[LAST] = static_cast<float>(NormalDensity(edge));
    for (unsigned i = LAST - 1; i >= 1; --i) {
        edge = std::sqrt(-2.0 * std::log(NORMAL_AREA / edge + NormalDensity(edge)));
        m_kn[i + 1] = Threshold(edge / outerEdge * NORMAL_SCALE);
        outerEdge = edge;
        m_fn[i] = static_cast<float>(NormalDensity(edge));
        m_wn[i] = static_cast<float>(edge / NORMAL_SCALE);
    }
}

void Ziggurat::BuildExponentialTables() {
    constexpr unsigned LAST = EXPONENTIAL_LAYERS - 1;
    double edge = EXPONENTIAL_EDGE;
    double outerEdge = edge;
    const double baseWidth = EXPONENTIAL_AREA / std::exp(-edge);
    m_ke[0] = Threshold(edge / baseWidth * EXPONENTIAL_SCALE);
    m_ke[1] = 0;
    m_we[0] = static_cast<float>(baseWidth / EXPONENTIAL_SCALE);
    m_we[LAST] = static_cast<float>(edge / EXPONENTIAL_SCALE);
    m_fe[0] = 1;
    m_fe[LAST] = static_cast<float>(std::exp(-edge));
    for (unsigned i = LAST - 1; i >= 1; --i) {
        edge = -std::log(EXPONENTIAL_AREA / edge + std::exp(-edge));
        m_ke[i + 1] = Threshold(edge / outerEdge * EXPONENTIAL_SCALE);
        outerEdge = edge;
        m_fe[i] = static_cast<float>(std::exp(-edge));
        m_we[i] = static_cast<float>(edge / EXPONENTIAL_SCALE);
    }
}

namespace {

// Logarithms and exponentials are taken in double; what is kept between steps is rounded to float.
double NegativeLog(float uniform) {
    return -std::log(static_cast<double>(uniform));
}

} // namespace

float Ziggurat::NFix() {
    constexpr float EDGE = 3.44262F;
    for (;;) {
        float x = NormalCandidate();
        if (m_iz == 0) {
            float y;
            do {
                x = static_cast<float>(NegativeLog(Uni()) * 0.2904764);
                y = static_cast<float>(NegativeLog(Uni()));
            } while (y + y < x * x);
            return m_hz >= 0 ? EDGE + x : -EDGE - x;
        }
        const float height = m_fn[m_iz] + Uni() * (m_fn[m_iz - 1] - m_fn[m_iz]);
        if (height < NormalDensity(x)) {
            return x;
        }
        DrawNormal();
        if (IsInsideNormal()) {
            return NormalCandidate();
        }
    }
}

float Ziggurat::EFix() {
    for (;;) {
        if (m_iz == 0) {
            return static_cast<float>(7.69711 + NegativeLog(Uni()));
        }
        const float x = ExponentialCandidate();
        const float uniform = Uni();
        // Half of all draws come here (see Threshold), most of them from where the layer lies under the curve and every
        // height passes. That costs no exponential; the margin is many times what the rounding of edge and heights can
        // shift. The inner edge of the top layer is 0, and its neighbour's width is the base layer's.
        constexpr float MARGIN = 1e-5F;
        if (m_iz > 1 && x + MARGIN < m_we[m_iz - 1] * static_cast<float>(EXPONENTIAL_SCALE)) {
            return x;
        }
        const float height = m_fe[m_iz] + uniform * (m_fe[m_iz - 1] - m_fe[m_iz]);
        if (height < std::exp(-static_cast<double>(x))) {
            return x;
        }
        DrawExponential();
        if (IsInsideExponential()) {
            return ExponentialCandidate();
        }
    }
}

} // namespace Z4::Private
